#include "ui/Application.h"

#include "ui/Dialogs.h"
#include "ui/ScreenFit.h"

#include <QDirIterator>
#include <QIcon>
#include <QLibraryInfo>
#include <QLocale>
#include <QTranslator>

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
    loadToolkitTranslations();
    keepWindowsOnScreen(this);
}

// The toolkit's own texts (the menu of a text box, the print and file dialogs, standard
// buttons) in Spanish, from the translations installed with Qt.
bool Application::loadToolkitTranslations()
{
    const QString folder = QLibraryInfo::path(QLibraryInfo::TranslationsPath);
    bool loaded = false;
    for (const char *catalogue : {"qtbase", "qt"}) {
        auto *translator = new QTranslator(this);
        if (translator->load(QLocale(QLocale::Spanish), QString::fromLatin1(catalogue), QStringLiteral("_"), folder) &&
            installTranslator(translator)) {
            loaded = true;
            if (qstrcmp(catalogue, "qtbase") == 0)
                break;  // "qt" only gathers qtbase and the modules' catalogues
        } else {
            delete translator;
        }
    }
    return loaded;
}

void showError(const std::exception &error)
{
    setBusy(false);
    msgBox(QString::fromUtf8(error.what()), QString(), Icon::Exclamation);
}

}  // namespace ui
