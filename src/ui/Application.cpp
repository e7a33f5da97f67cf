#include "ui/Application.h"

#include "ui/Dialogs.h"

#include <QLocale>

namespace ui {

Application::Application(int &argc, char **argv) : QApplication(argc, argv)
{
    QLocale::setDefault(QLocale(QLocale::Spanish, QLocale::Uruguay));
    setApplicationName(QStringLiteral("Quronda"));
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
