#include "ui/Application.h"

#include "ui/Dialogs.h"

#include <QDirIterator>
#include <QIcon>
#include <QLocale>

namespace ui {

Application::Application(int &argc, char **argv) : QApplication(argc, argv)
{
    QLocale::setDefault(QLocale(QLocale::Spanish, QLocale::Uruguay));
    setApplicationName(QStringLiteral("Quronda"));
    setDesktopFileName(QStringLiteral("uy.com.novadat.Tempalia"));
    // The program's icon in every size compiled in (:/icons/<n>x<n>/tempalia.png).
    QIcon icon;
    for (QDirIterator it(QStringLiteral(":/icons"), {QStringLiteral("tempalia.png")}, QDir::Files,
                         QDirIterator::Subdirectories);
         it.hasNext();)
        icon.addFile(it.next());
    setWindowIcon(icon);
}

void showError(const std::exception &error)
{
    setBusy(false);
    msgBox(QString::fromUtf8(error.what()), QString(), Icon::Exclamation);
}

bool Application::notify(QObject *receiver, QEvent *event)
{
    try {
        return QApplication::notify(receiver, event);
    } catch (const std::exception &e) {
        showError(e);
    }
    return false;
}

}  // namespace ui
