// The login window on a fresh store: what a login reads, the two messages with their
// focus and selection, cancelling, the encoder and the login's error reporter.

#include "Controls.h"
#include "ScriptedDialogs.h"
#include "Session.h"
#include "TempStore.h"
#include "session/Usuario.h"
#include "session/frmLogin.h"
#include "session/modPrincipal.h"
#include "store/ErrorReporter.h"
#include "store/StoreError.h"
#include "ui/Application.h"

#include <QLineEdit>
#include <QPushButton>
#include <QTest>

#include <memory>

namespace {

const QString kWrongLogin = QStringLiteral("Código de empleado incorrecto!");
const QString kWrongPassword = QStringLiteral("Password incorrecta!");

void clearSession()
{
    tests::signIn(QStringLiteral("-"), QStringLiteral("-"), QStringLiteral("-"), 0);
}

// The session as "person/area/role".
QString currentSession()
{
    const core::Session &s = modPrincipal::session();
    return QStringLiteral("%1/%2/%3").arg(s.person, s.area).arg(s.role);
}

// The window as a user meets it: shown, typed into, clicked.
class LoginWindow {
public:
    LoginWindow() : w(std::make_unique<frmLogin>())
    {
        w->show();
        txtLogin = tests::child<QLineEdit>(w.get(), "txtLogin");
        txtPassword = tests::child<QLineEdit>(w.get(), "txtPassword");
        cmdOK = tests::child<QPushButton>(w.get(), "cmdOK");
        cmdCancel = tests::child<QPushButton>(w.get(), "cmdCancel");
    }

    void type(const QString &login, const QString &password)
    {
        tests::type(txtLogin, login);
        tests::type(txtPassword, password);
    }

    void attempt(const QString &login, const QString &password)
    {
        type(login, password);
        QTest::mouseClick(cmdOK, Qt::LeftButton);
    }

    std::unique_ptr<frmLogin> w;
    QLineEdit *txtLogin;
    QLineEdit *txtPassword;
    QPushButton *cmdOK;
    QPushButton *cmdCancel;
};

}  // namespace

class TestLogin : public QObject {
    Q_OBJECT

private slots:
    void init() { clearSession(); }

    void login_data();
    void login();
    void secondContract();
    void roleNotANumber_data();
    void roleNotANumber();
    void retryAfterFailure();
    void cancel_data();
    void cancel();
    void passwordEcho();
    void storeRefuses();
    void oldEncodingRewrittenAtLogin_data();
    void oldEncodingRewrittenAtLogin();
    void hashesAreSalted();
    void encoder_data();
    void encoder();
    void reportarError_data();
    void reportarError();
};

void TestLogin::login_data()
{
    QTest::addColumn<QStringList>("setup");  // rows added to the demo store
    QTest::addColumn<QString>("login");
    QTest::addColumn<QString>("password");
    QTest::addColumn<QStringList>("boxes");  // texts of the boxes shown, in order
    QTest::addColumn<QString>("session");    // "person/area/role" once logged in; empty when refused
    QTest::addColumn<QString>("focused");    // after a refusal: the box that has the focus

    const QStringList none, wrongLogin{kWrongLogin}, wrongPassword{kWrongPassword};
    const QString noUser = QStringLiteral(
        "INSERT INTO USUARIOS (UsuLogin, UsuPassword, FunCedula, PerId) VALUES ('%1', %2, '%3', %4)");

    QTest::newRow("common user") << none << "usuario" << "usuario" << none << "11111111/DOC/5" << "";
    QTest::newRow("area chief") << none << "jefe" << "jefe" << none << "22222222/DOC/6" << "";
    QTest::newRow("administrator") << none << "admin" << "admin" << none << "33333333/ADM/7" << "";
    QTest::newRow("super user") << none << "super" << "super" << none << "44444444/ADM/8" << "";
    QTest::newRow("blanks around the login") << none << "  usuario " << "usuario" << none << "11111111/DOC/5" << "";

    QTest::newRow("unknown login") << none << "nadie" << "nadie" << wrongLogin << "" << "txtLogin";
    QTest::newRow("empty login") << none << "" << "usuario" << wrongLogin << "" << "txtLogin";
    QTest::newRow("login with an apostrophe") << none << "o'brien" << "x" << wrongLogin << "" << "txtLogin";
    // Statement text typed as the login stays a login that matches nobody.
    for (const char *sql : {"' OR '1'='1", "x'; DROP TABLE USUARIOS; --", "jefe\" OR \"\"=\"",
                            "' UNION SELECT * FROM USUARIOS --"})
        QTest::newRow(sql) << none << sql << "usuario" << wrongLogin << "" << "txtLogin";
    QTest::newRow("user without a contract")
        << QStringList{QStringLiteral("INSERT INTO FUNCIONARIOS (FunCedula, FunNombres, FunApellidos) "
                                      "VALUES ('12121212', 'Sin', 'Contrato')"),
                       noUser.arg("nuevo", "'dmbwf'", "12121212", "5")}
        << "nuevo" << "clave" << wrongLogin << "" << "txtLogin";

    QTest::newRow("wrong password") << none << "usuario" << "usuarioX" << wrongPassword << "" << "txtPassword";
    QTest::newRow("password in another case") << none << "usuario" << "Usuario" << wrongPassword << "" << "txtPassword";
    QTest::newRow("blanks around the password") << none << "usuario" << " usuario " << wrongPassword << "" << "txtPassword";
    QTest::newRow("null password never matches") << QStringList{noUser.arg("nulo", "NULL", "11111111", "5")} << "nulo" << ""
                                                 << wrongPassword << "" << "txtPassword";
    const QStringList emptyStored{noUser.arg("vacio", "''", "11111111", "5")};

    // A row in the old encoding: a character the encoder cannot take has its error
    // reported, then the empty result is compared like any other. Against a hash, the same
    // text is just a wrong password.
    const QString encoderError = QStringLiteral("La contraseña tiene un carácter que no se puede codificar.");
    const QStringList oldRow{noUser.arg("viejo", "'vtvbsjp'", "11111111", "5")};
    QTest::newRow("code 255 in the password, old row") << oldRow << "viejo" << QStringLiteral("usuari\u00ff")
                                                       << QStringList{encoderError, kWrongPassword} << "" << "txtPassword";
    QTest::newRow("character outside the single-byte set, old row") << oldRow << "viejo" << QStringLiteral("usuari\u20ac")
                                                                    << QStringList{encoderError, kWrongPassword} << "" << "txtPassword";
    QTest::newRow("code 255 in the password, hashed row") << none << "usuario" << QStringLiteral("usuari\u00ff")
                                                          << wrongPassword << "" << "txtPassword";
    const QString hash = Usuario::hashPassword(QStringLiteral("usuario"));
    QTest::newRow("the stored hash typed as the password")
        << QStringList{QStringLiteral("UPDATE USUARIOS SET UsuPassword = '%1' WHERE UsuLogin = 'usuario'").arg(hash)}
        << "usuario" << hash.left(12) << wrongPassword << "" << "txtPassword";
    QTest::newRow("code 255 against an empty stored password") << emptyStored << "vacio" << QStringLiteral("\u00ff")
                                                               << QStringList{encoderError} << "11111111/DOC/5" << "";

    QTest::newRow("role outside 5 to 8") << QStringList{noUser.arg("otro", "'pusp'", "11111111", "9")} << "otro" << "otro"
                                         << none << "11111111/DOC/9" << "";
}

void TestLogin::login()
{
    QFETCH(QStringList, setup);
    QFETCH(QString, login);
    QFETCH(QString, password);
    QFETCH(QStringList, boxes);
    QFETCH(QString, session);
    QFETCH(QString, focused);

    tests::TempStore store;
    for (const QString &sql : setup)
        store.execNative(sql);
    InstalledDialogs dialogs;

    const int users = store.count(QStringLiteral("USUARIOS"));
    LoginWindow w;
    w.attempt(login, password);

    QCOMPARE(dialogs.texts(), boxes);
    QCOMPARE(store.count(QStringLiteral("USUARIOS")), users);
    for (const ScriptedDialogs::Box &box : dialogs.shown()) {
        const bool refusal = box.text == kWrongLogin || box.text == kWrongPassword;
        QCOMPARE(box.buttons, ui::Buttons::Ok);
        QCOMPARE(box.title, refusal ? QStringLiteral("Login") : QStringLiteral("Quronda"));
        QCOMPARE(box.icon, refusal ? ui::Icon::None : ui::Icon::Exclamation);
    }
    const bool succeeded = !session.isEmpty();
    QCOMPARE(w.w->LoginSucceeded, succeeded);
    QCOMPARE(w.w->isVisible(), !succeeded);

    if (succeeded) {
        QCOMPARE(modPrincipal::session().login, login);  // as typed, blanks and all
        QCOMPARE(currentSession(), session);
    } else {
        // Nothing of the session is touched by a refusal.
        QCOMPARE(currentSession(), QStringLiteral("-/-/0"));
        QCOMPARE(modPrincipal::session().login, QStringLiteral("-"));
        // The refused text has the focus and is selected whole, so typing replaces it.
        QLineEdit *edit = w.w->findChild<QLineEdit *>(focused);
        QCOMPARE(w.w->focusWidget(), edit);
        QCOMPARE(edit->selectedText(), edit->text());
        QCOMPARE(edit->text(), focused == QLatin1String("txtLogin") ? login : password);
    }
}

// A person with two contracts: the first row the login statement returns decides the area.
void TestLogin::secondContract()
{
    tests::TempStore store;
    store.execNative(QStringLiteral(
        "INSERT INTO USUARIOS (UsuLogin, UsuPassword, FunCedula, PerId) VALUES ('lucia', 'mvdjb', '55555555', 6)"));
    const store::ResultSet rows = store.select(QStringLiteral(
        "SELECT * FROM USUARIOS U, FUNCIONARIOS_INSTITUTOS FI WHERE U.FUNCEDULA=FI.FUNCEDULA AND U.USULOGIN='lucia'"));
    QCOMPARE(int(rows.rows.size()), 2);
    const QString firstArea = rows.rows.front().value(rows.columnIndex(QStringLiteral("AreId"))).toString();

    InstalledDialogs dialogs;
    LoginWindow w;
    w.attempt(QStringLiteral("lucia"), QStringLiteral("lucia"));

    QCOMPARE(dialogs.count(), 0);
    QVERIFY(w.w->LoginSucceeded);
    QVERIFY(firstArea == QLatin1String("DOC") || firstArea == QLatin1String("INV"));
    QCOMPARE(currentSession(), QStringLiteral("55555555/%1/6").arg(firstArea));
}

// A role that does not fit the 16-bit role variable is reported after the rest of the
// session is set; the window stays open with LoginSucceeded already true.
void TestLogin::roleNotANumber_data()
{
    QTest::addColumn<QString>("perId");
    QTest::addColumn<QString>("message");
    QTest::newRow("too large") << "70000" << "Desbordamiento";
    QTest::newRow("null") << "NULL" << "Uso no válido de Null";
}

void TestLogin::roleNotANumber()
{
    QFETCH(QString, perId);
    QFETCH(QString, message);

    tests::TempStore store;
    store.execNative(QStringLiteral("INSERT INTO USUARIOS (UsuLogin, UsuPassword, FunCedula, PerId) "
                                    "VALUES ('raro', 'sbsp', '11111111', %1)")
                         .arg(perId));
    InstalledDialogs dialogs;
    LoginWindow w;
    w.attempt(QStringLiteral("raro"), QStringLiteral("raro"));

    QCOMPARE(dialogs.texts(), QStringList{message});
    QCOMPARE(dialogs.last().icon, ui::Icon::Exclamation);
    QVERIFY(w.w->LoginSucceeded);
    QVERIFY(w.w->isVisible());
    QCOMPARE(modPrincipal::session().login, QStringLiteral("raro"));
    QCOMPARE(currentSession(), QStringLiteral("11111111/DOC/0"));
}

// No limit on attempts: after a wrong login and a wrong password, typing over the
// selected text logs in.
void TestLogin::retryAfterFailure()
{
    tests::TempStore store;
    InstalledDialogs dialogs;
    LoginWindow w;

    w.attempt(QStringLiteral("jefx"), QStringLiteral("mala"));
    QTest::keyClicks(w.txtLogin, QStringLiteral("jefe"));  // replaces the selection
    QCOMPARE(w.txtLogin->text(), QStringLiteral("jefe"));
    QTest::mouseClick(w.cmdOK, Qt::LeftButton);
    QTest::keyClicks(w.txtPassword, QStringLiteral("jefe"));
    QCOMPARE(w.txtPassword->text(), QStringLiteral("jefe"));
    QTest::keyClick(w.txtPassword, Qt::Key_Return);  // Enter is OK

    QCOMPARE(dialogs.texts(), (QStringList{kWrongLogin, kWrongPassword}));
    QVERIFY(w.w->LoginSucceeded);
    QVERIFY(!w.w->isVisible());
    QCOMPARE(modPrincipal::session().role, qint16(6));
}

void TestLogin::cancel_data()
{
    QTest::addColumn<QString>("how");
    QTest::newRow("cmdCancel") << "cmdCancel";
    QTest::newRow("Esc") << "Esc";
    QTest::newRow("close box") << "close";
}

void TestLogin::cancel()
{
    QFETCH(QString, how);
    tests::TempStore store;
    InstalledDialogs dialogs;
    LoginWindow w;
    w.attempt(QStringLiteral("usuario"), QStringLiteral("mal"));
    w.type(QStringLiteral("usuario"), QStringLiteral("usuario"));

    if (how == QLatin1String("cmdCancel"))
        QTest::mouseClick(w.cmdCancel, Qt::LeftButton);
    else if (how == QLatin1String("Esc"))
        QTest::keyClick(w.txtPassword, Qt::Key_Escape);
    else
        w.w->close();

    QVERIFY(!w.w->LoginSucceeded);
    QVERIFY(!w.w->isVisible());
    QCOMPARE(modPrincipal::session().login, QStringLiteral("-"));
    QCOMPARE(dialogs.texts(), QStringList{kWrongPassword});
}

void TestLogin::passwordEcho()
{
    tests::TempStore store;
    LoginWindow w;
    QCOMPARE(w.w->windowTitle(), QStringLiteral("Quronda - Login"));
    QCOMPARE(w.w->focusWidget(), w.txtLogin);
    QTest::keyClicks(w.txtPassword, QStringLiteral("clave"));
    QCOMPARE(w.txtPassword->displayText(), QStringLiteral("*****"));
    QCOMPARE(w.txtPassword->text(), QStringLiteral("clave"));
}

// A store that refuses the statement (here: it has no tables): the driver's message in
// ReportarError's box, and the window stays open for another try. The error of the
// window's load goes to the store's error reporter.
void TestLogin::storeRefuses()
{
    tests::TempStore store(tests::TempStore::Content::Empty);
    QStringList atLoad;
    store::setErrorReporter([&atLoad](const std::exception &e) { atLoad << QString::fromUtf8(e.what()); });
    InstalledDialogs dialogs;
    {
        LoginWindow w;
        QCOMPARE(atLoad.size(), 1);
        w.attempt(QStringLiteral("usuario"), QStringLiteral("usuario"));
        QCOMPARE(dialogs.count(), 1);
        QCOMPARE(dialogs.last().icon, ui::Icon::Exclamation);
        QCOMPARE(dialogs.last().title, QStringLiteral("Quronda"));
        QVERIFY2(dialogs.last().text.contains(QLatin1String("usuarios"), Qt::CaseInsensitive),
                 qPrintable(dialogs.last().text));
        QVERIFY(!w.w->LoginSucceeded);
        QVERIFY(w.w->isVisible());
    }
    store::setErrorReporter({});
}

// A row in the old encoding logs in once with its password and is rewritten as a hash
// at that moment; the same password logs in afterwards, and the old encoded text (which
// anyone who reads the store could type) no longer opens anything. A wrong password or a
// match that came only from the encoder's failure leaves the row as it was.
void TestLogin::oldEncodingRewrittenAtLogin_data()
{
    QTest::addColumn<QString>("stored");
    QTest::addColumn<QString>("typed");
    QTest::addColumn<bool>("rewritten");
    QTest::newRow("right password") << "vtvbsjp" << "usuario" << true;
    QTest::newRow("Latin-1 password") << QStringLiteral("\u00f2j\u00f0p") << QStringLiteral("\u00f1i\u00efo") << true;
    QTest::newRow("empty password") << "" << "" << true;
    QTest::newRow("wrong password") << "vtvbsjp" << "usuarix" << false;
    QTest::newRow("encoder failure against an empty row") << "" << QStringLiteral("\u00ff") << false;
}

void TestLogin::oldEncodingRewrittenAtLogin()
{
    QFETCH(QString, stored);
    QFETCH(QString, typed);
    QFETCH(bool, rewritten);

    tests::TempStore store;
    store.execNative(QStringLiteral("INSERT INTO USUARIOS (UsuLogin, UsuPassword, FunCedula, PerId) VALUES "
                                    "('viejo', ?, '11111111', 5)"),
                     {stored});
    const auto storedNow = [&] {
        return store.scalar(QStringLiteral("SELECT UsuPassword FROM USUARIOS WHERE UsuLogin = 'viejo'")).toString();
    };
    InstalledDialogs dialogs;
    {
        LoginWindow w;
        w.attempt(QStringLiteral("viejo"), typed);
        if (rewritten)  // logged in, as the row's person
            QCOMPARE(currentSession(), QStringLiteral("11111111/DOC/5"));
    }
    if (!rewritten) {
        QCOMPARE(storedNow(), stored);
        return;
    }
    QCOMPARE(dialogs.count(), 0);
    const QString hash = storedNow();
    QVERIFY2(Usuario::isPasswordHash(hash), qPrintable(hash));
    QCOMPARE(Usuario::checkPassword(typed, hash), Usuario::PasswordCheck::Right);

    // The same password again: through the hash; the row stays as it is.
    {
        LoginWindow w;
        w.attempt(QStringLiteral("viejo"), typed);
        QVERIFY(w.w->LoginSucceeded);
    }
    QCOMPARE(dialogs.count(), 0);
    QCOMPARE(storedNow(), hash);

    // The old stored text, typed as a password, is refused.
    if (!stored.isEmpty()) {
        LoginWindow w;
        w.attempt(QStringLiteral("viejo"), stored);
        QVERIFY(!w.w->LoginSucceeded);
        QCOMPARE(dialogs.texts(), QStringList{kWrongPassword});
    }
}

// Equal passwords give different stored texts (a salt per hash), each of which verifies
// only the password it was made from.
void TestLogin::hashesAreSalted()
{
    const QString a = Usuario::hashPassword(QStringLiteral("clave"));
    const QString b = Usuario::hashPassword(QStringLiteral("clave"));
    QVERIFY(a != b);
    QVERIFY(a.startsWith(QLatin1String("$argon2id$")));
    QVERIFY(a.size() <= 128);
    for (const QString &hash : {a, b}) {
        QCOMPARE(Usuario::checkPassword(QStringLiteral("clave"), hash), Usuario::PasswordCheck::Right);
        QCOMPARE(Usuario::checkPassword(QStringLiteral("Clave"), hash), Usuario::PasswordCheck::Wrong);
        QCOMPARE(Usuario::checkPassword(QStringLiteral("clave "), hash), Usuario::PasswordCheck::Wrong);
    }
    QCOMPARE(Usuario::checkPassword(QStringLiteral("clave"), QVariant()), Usuario::PasswordCheck::Wrong);
}

// The encoder as the windows call it: each character moves one up the single-byte set, in
// order; the caller's string is consumed; a character without a successor is reported and
// gives an empty result.
void TestLogin::encoder_data()
{
    QTest::addColumn<QString>("input");
    QTest::addColumn<QString>("expected");
    QTest::addColumn<bool>("reported");
    QTest::newRow("abc") << "abc" << "bcd" << false;
    QTest::newRow("empty") << "" << "" << false;
    QTest::newRow("order and length kept") << "Zz09 ~" << "[{1:!\x7f" << false;
    QTest::newRow("upper Latin-1") << QStringLiteral("\u00f1\u00fe") << QStringLiteral("\u00f2\u00ff") << false;
    QTest::newRow("code 255") << QStringLiteral("ab\u00ffc") << "" << true;
    QTest::newRow("non-Latin character") << QStringLiteral("\u0101") << "" << true;
}

void TestLogin::encoder()
{
    QFETCH(QString, input);
    QFETCH(QString, expected);
    QFETCH(bool, reported);
    InstalledDialogs dialogs;
    QString argument = input;
    QCOMPARE(Usuario::CodificarPassword(argument), expected);
    QVERIFY(argument.isEmpty());
    QCOMPARE(dialogs.count(), reported ? 1 : 0);
    if (reported)
        QCOMPARE(dialogs.last().icon, ui::Icon::Exclamation);
}

void TestLogin::reportarError_data()
{
    QTest::addColumn<int>("number");  // -1: not a store error
    QTest::addColumn<QString>("description");
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("icon");
    QTest::newRow("no current row") << 3021 << "No hay un registro actual." << "Seleccione primero una empresa"
                                    << int(ui::Icon::None);
    QTest::newRow("store error") << -2147467259 << "no such table: USUARIOS" << "no such table: USUARIOS"
                                 << int(ui::Icon::Exclamation);
    QTest::newRow("other error") << -1 << "algo falló" << "algo falló" << int(ui::Icon::Exclamation);
}

void TestLogin::reportarError()
{
    QFETCH(int, number);
    QFETCH(QString, description);
    QFETCH(QString, text);
    QFETCH(int, icon);
    InstalledDialogs dialogs;
    ui::setBusy(true);
    if (number == -1)
        modPrincipal::ReportarError(std::runtime_error(description.toStdString()));
    else
        modPrincipal::ReportarError(store::StoreError(store::StoreError::Kind::Store, number, description));
    QVERIFY(!ui::isBusy());
    QCOMPARE(dialogs.texts(), QStringList{text});
    QCOMPARE(int(dialogs.last().icon), icon);
    QCOMPARE(dialogs.last().title, QStringLiteral("Quronda"));
    QCOMPARE(dialogs.last().buttons, ui::Buttons::Ok);
    QVERIFY(!dialogs.last().busy);
}

TEMPALIA_TEST_MAIN(TestLogin)
#include "tst_login.moc"
