#include "session/modPrincipal.h"

#include "session/FirstStartWindow.h"
#include "session/frmLogin.h"
#include "session/frmPresentacion.h"
#include "store/DataSources.h"
#include "store/ErrorReporter.h"
#include "store/StoreError.h"
#include "ui/Application.h"
#include "ui/Dialogs.h"

#include <QApplication>
#include <QPointer>
#include <QWidget>

namespace modPrincipal {

namespace {

core::Session &currentSession()
{
    static core::Session current;
    return current;
}

MainWindowFactory &mainWindowFactory()
{
    static MainWindowFactory factory;
    return factory;
}

StoreFiller &storeFiller()
{
    static StoreFiller filler;
    return filler;
}

// True once RRHHODBC is defined, through the first-start window when it was not.
bool dataSourceReady()
{
    if (store::datasources::defined(QLatin1String(store::datasources::kProgramDataSource)))
        return true;
    FirstStartWindow firstStart(storeFiller());
    return firstStart.exec() == QDialog::Accepted;
}

constexpr int kNoCurrentRow = 3021;

bool anyWindowOpen()
{
    const QWidgetList windows = QApplication::topLevelWidgets();
    for (const QWidget *w : windows) {
        if (w->isVisible())
            return true;
    }
    return false;
}

}  // namespace

void ReportarError(const std::exception &error)
{
    ui::setBusy(false);
    int number = 0;
    QString description;
    if (const auto *storeError = dynamic_cast<const store::StoreError *>(&error)) {
        number = storeError->number();
        description = storeError->description();
    } else {
        description = QString::fromUtf8(error.what());
    }
    if (number == kNoCurrentRow)
        ui::msgBox(QStringLiteral("Seleccione primero una empresa"), QString(), ui::Icon::None);
    else
        ui::msgBox(description, ui::programTitle(), ui::Icon::Exclamation);
}

const core::Session &session()
{
    return currentSession();
}

void setSession(const core::Session &session)
{
    currentSession() = session;
}

void setSessionPerson(const QString &funCedula)
{
    currentSession().person = funCedula;
}

void setMainWindowFactory(MainWindowFactory factory)
{
    mainWindowFactory() = std::move(factory);
}

void setStoreFiller(StoreFiller filler)
{
    storeFiller() = std::move(filler);
}

void Main()
{
    if (!dataSourceReady()) {
        ui::endProgram();
        return;
    }
    auto login = std::make_unique<frmLogin>();
    login->exec();  // returns when the window hides itself
    continueStartUp(std::move(login));
}

void continueStartUp(std::unique_ptr<frmLogin> login)
{
    if (!login->LoginSucceeded) {
        ui::endProgram();
        return;
    }
    login.reset();

    // The presentation window stays up while the main window loads; a key may take it
    // away earlier, and then there is nothing left to unload.
    QPointer<frmPresentacion> presentacion = new frmPresentacion;
    presentacion->show();
    presentacion->raise();
    presentacion->activateWindow();
    QCoreApplication::processEvents();
    if (presentacion)
        presentacion->repaint();

    const qint16 role = session().role;
    if (role >= 5 && role <= 8 && mainWindowFactory()) {
        if (QWidget *main = mainWindowFactory()(role))
            main->show();
    }

    delete presentacion.data();
}

int run(int argc, char *argv[])
{
    ui::Application app(argc, argv);
    store::setErrorReporter([](const std::exception &error) { ui::showError(error); });
    try {
        Main();
    } catch (const std::exception &error) {
        ui::showError(error);
    }
    // A role without a main window leaves nothing open: the run ends without a word.
    if (!anyWindowOpen())
        return 0;
    return app.exec();
}

}  // namespace modPrincipal
