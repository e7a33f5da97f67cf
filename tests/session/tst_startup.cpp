// The start-up after the login: the presentation window, the role's main window, and the
// quiet ends (login cancelled, a role without a window).

#include "Controls.h"
#include "ScriptedDialogs.h"
#include "TempStore.h"
#include "session/frmLogin.h"
#include "session/frmPresentacion.h"
#include "session/modPrincipal.h"
#include "ui/Application.h"

#include <QLabel>
#include <QLineEdit>
#include <QPointer>
#include <QPushButton>
#include <QTest>

#include <memory>

namespace {

// A real login on the store, the window then handed to the start-up as Main does.
std::unique_ptr<frmLogin> loggedIn(const QString &login, const QString &password)
{
    auto w = std::make_unique<frmLogin>();
    w->show();
    tests::type(w.get(), "txtLogin", login);
    tests::type(w.get(), "txtPassword", password);
    tests::click(w.get(), "cmdOK");
    return w;
}

QList<QWidget *> visibleWindows()
{
    QList<QWidget *> out;
    for (QWidget *w : QApplication::topLevelWidgets()) {
        if (w->isVisible())
            out << w;
    }
    return out;
}

frmPresentacion *presentation()
{
    for (QWidget *w : QApplication::topLevelWidgets()) {
        if (auto *p = qobject_cast<frmPresentacion *>(w))
            return p;
    }
    return nullptr;
}

// What the main window factory saw when Main called it.
struct FactoryCall {
    qint16 perId = 0;
    bool presentationVisible = false;
    bool loginGone = false;
};

}  // namespace

class TestStartup : public QObject {
    Q_OBJECT

private slots:
    void cleanup();

    void mainWindowOfEachRole_data();
    void mainWindowOfEachRole();
    void loginCancelled();
    void keyTakesPresentationAway_data();
    void keyTakesPresentationAway();
    void presentationContents();

private:
    QList<QPointer<QWidget>> m_made;
};

void TestStartup::cleanup()
{
    modPrincipal::setMainWindowFactory({});
    for (const QPointer<QWidget> &w : std::as_const(m_made))
        delete w.data();
    m_made.clear();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}

// Each role's main window is made while the presentation window is up, after the login
// window has gone. A role outside 5 to 8 has no main window: the presentation window comes
// and goes and nothing is left open, so the run ends without a word.
void TestStartup::mainWindowOfEachRole_data()
{
    QTest::addColumn<QString>("login");
    QTest::addColumn<int>("perId");  // 0: no main window is asked for
    QTest::newRow("common user") << "usuario" << 5;
    QTest::newRow("area chief") << "jefe" << 6;
    QTest::newRow("administrator") << "admin" << 7;
    QTest::newRow("super user") << "super" << 8;
    QTest::newRow("role without a window") << "otro" << 0;
}

void TestStartup::mainWindowOfEachRole()
{
    QFETCH(QString, login);
    QFETCH(int, perId);
    tests::TempStore store;
    store.execNative(QStringLiteral("INSERT INTO USUARIOS (UsuLogin, UsuPassword, FunCedula, PerId) "
                                    "VALUES ('otro', 'pusp', '11111111', 4)"));
    InstalledDialogs dialogs;

    std::unique_ptr<frmLogin> w = loggedIn(login, login);
    QVERIFY(w->LoginSucceeded);
    QPointer<frmLogin> loginWindow = w.get();
    QList<FactoryCall> calls;
    QPointer<QWidget> mainWindow;
    modPrincipal::setMainWindowFactory([&](qint16 role) -> QWidget * {
        calls << FactoryCall{role, presentation() && presentation()->isVisible(), loginWindow.isNull()};
        mainWindow = new QWidget;
        m_made << mainWindow;
        return mainWindow;
    });

    modPrincipal::continueStartUp(std::move(w));

    QCOMPARE(calls.size(), perId ? 1 : 0);
    if (perId) {
        QCOMPARE(int(calls.front().perId), perId);
        QVERIFY2(calls.front().presentationVisible, "the presentation window is up while the main window loads");
        QVERIFY2(calls.front().loginGone, "the login window is unloaded before");
    }
    QVERIFY(!presentation());
    QCOMPARE(visibleWindows(), perId ? QList<QWidget *>{mainWindow.data()} : QList<QWidget *>{});
    QVERIFY(!dialogs.endProgramCalled());
    QCOMPARE(dialogs.count(), 0);
}

// Cancel after failed tries: the program ends at once, no other window is created.
void TestStartup::loginCancelled()
{
    tests::TempStore store;
    InstalledDialogs dialogs;
    bool factoryCalled = false;
    modPrincipal::setMainWindowFactory([&](qint16) -> QWidget * {
        factoryCalled = true;
        return nullptr;
    });

    std::unique_ptr<frmLogin> w = loggedIn(QStringLiteral("usuario"), QStringLiteral("mal"));
    tests::click(w.get(), "cmdOK");
    tests::click(w.get(), "cmdCancel");
    modPrincipal::continueStartUp(std::move(w));

    QCOMPARE(dialogs.endProgramCount(), 1);
    QVERIFY(!factoryCalled);
    QVERIFY(!presentation());
    QCOMPARE(dialogs.texts(), (QStringList{QStringLiteral("Password incorrecta!"),
                                           QStringLiteral("Password incorrecta!")}));
}

// A key while the presentation window is up takes it away at once, wherever it lands;
// the main window still opens and the later unload does no harm.
void TestStartup::keyTakesPresentationAway_data()
{
    QTest::addColumn<QString>("target");
    QTest::newRow("the window") << "frmPresentacion";
    QTest::newRow("a label") << "lblVersion";
    QTest::newRow("a picture") << "imgLogo";
}

void TestStartup::keyTakesPresentationAway()
{
    QFETCH(QString, target);
    tests::TempStore store;
    InstalledDialogs dialogs;
    bool goneAfterKey = false;
    QPointer<QWidget> mainWindow;
    modPrincipal::setMainWindowFactory([&](qint16) -> QWidget * {
        frmPresentacion *p = presentation();
        if (!p)
            return nullptr;
        QWidget *receiver = target == QLatin1String("frmPresentacion") ? p : p->findChild<QWidget *>(target);
        if (!receiver)
            return nullptr;
        QTest::keyClick(receiver, Qt::Key_Space);
        goneAfterKey = !p->isVisible();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        mainWindow = new QWidget;
        m_made << mainWindow;
        return mainWindow;
    });

    modPrincipal::continueStartUp(loggedIn(QStringLiteral("jefe"), QStringLiteral("jefe")));

    QVERIFY(goneAfterKey);
    QVERIFY(mainWindow);
    QCOMPARE(visibleWindows(), QList<QWidget *>{mainWindow.data()});
    QVERIFY(!presentation());
}

void TestStartup::presentationContents()
{
    frmPresentacion p;
    auto text = [&p](const char *name) {
        const QLabel *l = p.findChild<QLabel *>(QString::fromLatin1(name));
        return l ? l->text() : QStringLiteral("<sin %1>").arg(QLatin1String(name));
    };
    QCOMPARE(text("lblProductName"), QStringLiteral("Quronda"));
    QCOMPARE(text("lblVersion"), QStringLiteral("Version 1.0.0"));
    QCOMPARE(text("lblPropaganda"), QStringLiteral("Quronda para Institutos"));
    for (const char *filled : {"lblCompany", "lblCopyright", "lblWarning"})
        QVERIFY2(!text(filled).isEmpty(), filled);
    for (const char *picture : {"imgLogo", "imgNovadat"}) {
        const QLabel *l = p.findChild<QLabel *>(QString::fromLatin1(picture));
        QVERIFY2(l && !l->pixmap().isNull(), picture);
    }
    QVERIFY(p.windowTitle().isEmpty());
    const Qt::WindowFlags flags = p.windowFlags();
    QVERIFY(flags & (Qt::CustomizeWindowHint | Qt::FramelessWindowHint));
    QVERIFY(!(flags & (Qt::WindowTitleHint | Qt::WindowCloseButtonHint | Qt::WindowMinMaxButtonsHint)));
}

TEMPALIA_TEST_MAIN(TestStartup)
#include "tst_startup.moc"
