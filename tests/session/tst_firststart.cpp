// The first start on a machine where RRHHODBC is not defined: the first-start window's two
// choices and Cancel, through the window and through Main, each in a private ODBC setting
// (its own odbcinst.ini, user data source file and data folder). What exists already, a data
// source file or a store, must come out of every path byte for byte as it went in.

#include "Controls.h"
#include "ScriptedDialogs.h"
#include "StoreTool.h"
#include "TempStore.h"
#include "session/FirstStartWindow.h"
#include "session/frmLogin.h"
#include "session/modPrincipal.h"
#include "store/DataSources.h"
#include "store/StoreError.h"
#include "store/StoreSetup.h"
#include "ui/Application.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPointer>
#include <QPushButton>
#include <QRadioButton>
#include <QStackedWidget>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>

#include <memory>
#include <optional>

using tests::child;
using tests::click;
using tests::type;

namespace {

const QByteArray kOtherSources = "; data sources of this user\n[NOMINA]\nDriver=SQLite3\nDatabase=/srv/nomina.db";

// A user with no RRHHODBC: a user data source file (ODBCINI) and a data folder
// (XDG_DATA_HOME) of its own, and the test process's system data sources set aside (the
// driver manager reads ODBCSYSINI once per process, so the folder itself stays). All is
// put back when the object goes.
class NewUser {
public:
    NewUser()
    {
        for (const char *name : {"ODBCINI", "XDG_DATA_HOME"})
            m_saved.append({name, qgetenv(name)});
        QFile::rename(systemSources(), systemSources() + QStringLiteral(".aside"));
        qputenv("ODBCINI", QFile::encodeName(iniPath()));
        qputenv("XDG_DATA_HOME", QFile::encodeName(m_dir.path() + QStringLiteral("/data")));
    }
    ~NewUser()
    {
        for (const auto &[name, value] : m_saved)
            qputenv(name, value);
        QFile::rename(systemSources() + QStringLiteral(".aside"), systemSources());
    }

    static QString systemSources() { return tests::testOdbcDir() + QStringLiteral("/odbc.ini"); }

    QString iniPath() const { return m_dir.path() + QStringLiteral("/user-odbc.ini"); }
    QString storeFile() const { return m_dir.path() + QStringLiteral("/data/tempalia/rrhh.sqlite"); }
    QByteArray ini() const { return read(iniPath()); }
    void writeIni(const QByteArray &bytes) const { write(iniPath(), bytes); }

    static QByteArray read(const QString &path)
    {
        QFile f(path);
        return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray();
    }
    static void write(const QString &path, const QByteArray &bytes)
    {
        QDir().mkpath(QFileInfo(path).path());
        QFile f(path);
        QVERIFY(f.open(QIODevice::WriteOnly | QIODevice::Append));
        f.write(bytes);
    }

private:
    QTemporaryDir m_dir;
    QList<QPair<const char *, QByteArray>> m_saved;
};

void fillPersonal(QWidget *w, const QString &login, const QString &password, const QString &again)
{
    type(w, "txtLogin", login);
    type(w, "txtPassword", password);
    type(w, "txtConfirmar", again);
}

// Logs in through the real login window on whatever RRHHODBC now names.
bool logsIn(const QString &login, const QString &password)
{
    frmLogin w;
    w.show();
    QTest::keyClicks(child<QLineEdit>(&w, "txtLogin"), login);
    QTest::keyClicks(child<QLineEdit>(&w, "txtPassword"), password);
    click(&w, "cmdOK");
    return w.LoginSucceeded && modPrincipal::session().role == 7;
}

int permissions(const QString &path)
{
    return int(QFileInfo(path).permissions() & (QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner |
                                                 QFile::ReadGroup | QFile::WriteGroup | QFile::ExeGroup |
                                                 QFile::ReadOther | QFile::WriteOther | QFile::ExeOther));
}

}  // namespace

class TestFirstStart : public QObject {
    Q_OBJECT

private slots:
    void cleanup();

    void personalStore_data();
    void personalStore();
    void refused_data();
    void refused();
    void sharedServer();
    void mainStartUp_data();
    void mainStartUp();
};

void TestFirstStart::cleanup()
{
    modPrincipal::setMainWindowFactory({});
    modPrincipal::setStoreFiller({});
}

// Choice (a): the store is made, the data source is added after what the user's file
// held, and the login typed here opens it as administrator.
void TestFirstStart::personalStore_data()
{
    QTest::addColumn<QByteArray>("before");
    QTest::newRow("no data source file yet") << QByteArray();
    QTest::newRow("a file with other data sources") << kOtherSources;
}

void TestFirstStart::personalStore()
{
    QFETCH(QByteArray, before);
    NewUser user;
    if (!before.isEmpty())
        user.writeIni(before);
    InstalledDialogs dialogs;

    FirstStartWindow w(storetool::createWithAdministrator);
    w.show();
    QCOMPARE(w.storeFile(), user.storeFile());
    QVERIFY(child<QRadioButton>(&w, "optPersonal")->isChecked());
    fillPersonal(&w, QStringLiteral(" directora "), QStringLiteral("s3creta"), QStringLiteral("s3creta"));
    click(&w, "cmdContinuar");

    QCOMPARE(w.result(), int(QDialog::Accepted));
    QVERIFY(!w.isVisible());
    QCOMPARE(dialogs.count(), 1);
    QVERIFY2(dialogs.last().text.contains(user.storeFile()) && dialogs.last().text.contains(QStringLiteral("directora")),
             qPrintable(dialogs.last().text));
    QVERIFY(user.ini().startsWith(before));
    QVERIFY(user.ini().contains("[RRHHODBC]\n"));
    QVERIFY(user.ini().contains("Database=" + QFile::encodeName(user.storeFile()) + "\n"));
    QVERIFY(store::datasources::defined(QStringLiteral("RRHHODBC")));
    QCOMPARE(permissions(user.storeFile()), int(QFile::ReadOwner | QFile::WriteOwner));
    QCOMPARE(permissions(QFileInfo(user.storeFile()).path()), int(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner));
    QVERIFY(logsIn(QStringLiteral("directora"), QStringLiteral("s3creta")));
}

// A refused first start writes nothing and keeps the window open with what was typed:
// input refused before anything is written (the field at fault gets the focus), a file
// already where the personal store would go (never replaced), and a failure once the
// tables are in (everything taken back; the same window then succeeds).
void TestFirstStart::refused_data()
{
    QTest::addColumn<QString>("login");
    QTest::addColumn<QString>("password");
    QTest::addColumn<QString>("again");
    QTest::addColumn<QString>("case_");  // "", "existing store" or "failing fill"
    QTest::addColumn<QString>("message");
    QTest::addColumn<QString>("focus");
    QTest::newRow("no login") << "   " << "clave" << "clave" << "" << "Escriba el login del administrador." << "txtLogin";
    QTest::newRow("no password") << "admin" << "" << "" << "" << "Escriba una contraseña para el administrador." << "txtPassword";
    QTest::newRow("passwords differ") << "admin" << "clave" << "Clave" << ""
        << "Las dos contraseñas no coinciden: escríbala de nuevo en \"Repita la contraseña\"." << "txtConfirmar";
    QTest::newRow("existing store") << "admin" << "clave" << "clave" << "existing store"
        << "No se creó la base de datos personal: Ya existe el archivo %1: no se reemplaza." << "";
    QTest::newRow("failing fill") << "admin" << "clave" << "clave" << "failing fill"
        << "No se creó la base de datos personal: disco lleno" << "";
}

void TestFirstStart::refused()
{
    QFETCH(QString, login);
    QFETCH(QString, password);
    QFETCH(QString, again);
    QFETCH(QString, case_);
    QFETCH(QString, message);
    QFETCH(QString, focus);
    NewUser user;
    user.writeIni(kOtherSources);
    const QByteArray old = "SQLite format 3\0 someone's earlier store";
    const bool existing = case_ == QLatin1String("existing store");
    if (existing)
        NewUser::write(user.storeFile(), old);
    InstalledDialogs dialogs;
    bool fail = case_ == QLatin1String("failing fill");
    bool tablesWereIn = false;
    FirstStartWindow w([&](store::Connection &conn, const QString &login, const QString &password) {
        storetool::create(conn);
        tablesWereIn = !store::setup::existingTables(conn).isEmpty();
        if (fail)
            throw store::StoreError(store::StoreError::Kind::Store, 0, QStringLiteral("disco lleno"));
        storetool::admin(conn, login, password);
    });
    w.show();
    QApplication::setActiveWindow(&w);
    fillPersonal(&w, login, password, again);
    click(&w, "cmdContinuar");

    QCOMPARE(dialogs.texts(), QStringList{message.arg(user.storeFile())});
    QVERIFY(w.isVisible());
    if (!focus.isEmpty())
        QCOMPARE(QApplication::focusWidget()->objectName(), focus);
    QCOMPARE(child<QLineEdit>(&w, "txtLogin")->text(), login);
    QCOMPARE(user.ini(), kOtherSources);
    QVERIFY(!store::datasources::defined(QStringLiteral("RRHHODBC")));
    if (existing) {
        QCOMPARE(dialogs.last().icon, ui::Icon::Exclamation);
        QCOMPARE(NewUser::read(user.storeFile()), old);
        return;
    }
    QVERIFY(!QFileInfo::exists(QFileInfo(user.storeFile()).path()));
    if (!fail)
        return;
    QVERIFY(tablesWereIn);
    fail = false;
    click(&w, "cmdContinuar");
    QCOMPARE(w.result(), int(QDialog::Accepted));
    QVERIFY(user.ini().startsWith(kOtherSources));
    QVERIFY(logsIn(QStringLiteral("admin"), QStringLiteral("clave")));
}

// Choice (b): the window shows how to define RRHHODBC and goes on only once it is defined;
// it writes nothing itself.
void TestFirstStart::sharedServer()
{
    NewUser user;
    user.writeIni(kOtherSources);
    InstalledDialogs dialogs;

    FirstStartWindow w(storetool::createWithAdministrator);
    w.show();
    click(&w, "optServidor");
    auto *instructions = child<QPlainTextEdit>(&w, "txtInstrucciones");
    QCOMPARE(child<QStackedWidget>(&w, "stkOpcion")->currentWidget(), instructions);
    QVERIFY(instructions->isVisible());
    QVERIFY(instructions->toPlainText().contains(QStringLiteral("[RRHHODBC]\nDriver=PostgreSQL Unicode\n")));
    QVERIFY(instructions->toPlainText().contains(user.iniPath()));

    click(&w, "cmdContinuar");
    QCOMPARE(dialogs.count(), 1);
    QVERIFY(dialogs.last().text.startsWith(QStringLiteral("El origen de datos RRHHODBC todavía no está definido.")));
    QVERIFY(w.isVisible());
    QCOMPARE(user.ini(), kOtherSources);
    QVERIFY(!QFileInfo::exists(QFileInfo(user.storeFile()).path()));

    user.writeIni("\n[RRHHODBC]\nDriver=SQLite3\nDatabase=" + QFile::encodeName(user.storeFile()) + "\n");
    const QByteArray defined = user.ini();
    click(&w, "cmdContinuar");
    QCOMPARE(w.result(), int(QDialog::Accepted));
    QCOMPARE(dialogs.count(), 1);
    QCOMPARE(user.ini(), defined);
}

// Main: the first-start window comes before the login only when RRHHODBC is not defined;
// Cancel ends the program before any login window; a personal store leads to the login
// and on to the administrator's main window.
void TestFirstStart::mainStartUp_data()
{
    QTest::addColumn<bool>("defined");
    QTest::addColumn<QString>("choice");
    QTest::addColumn<QStringList>("windows");
    QTest::addColumn<bool>("ended");
    QTest::addColumn<int>("role");
    QTest::newRow("defined: straight to the login") << true << "" << QStringList{"frmLogin"} << true << 0;
    QTest::newRow("not defined, Cancel") << false << "cancel" << QStringList{"FirstStartWindow"} << true << 0;
    QTest::newRow("not defined, Esc") << false << "esc" << QStringList{"FirstStartWindow"} << true << 0;
    QTest::newRow("not defined, personal store") << false << "personal" << QStringList{"FirstStartWindow", "frmLogin"} << false << 7;
}

void TestFirstStart::mainStartUp()
{
    QFETCH(bool, defined);
    QFETCH(QString, choice);
    QFETCH(QStringList, windows);
    QFETCH(bool, ended);
    QFETCH(int, role);
    // A data source defined already points at the test process's own store, with tables.
    std::optional<tests::TempStore> existing;
    if (defined)
        existing.emplace(tests::TempStore::Content::Schema);
    NewUser user;
    user.writeIni(kOtherSources);
    if (defined)
        user.writeIni("\n[RRHHODBC]\nDriver=SQLite3\nDatabase=" +
                      QFile::encodeName(tests::testOdbcDir() + QStringLiteral("/rrhh.sqlite")) + "\n");
    const QByteArray iniBefore = user.ini();
    InstalledDialogs dialogs;
    modPrincipal::setStoreFiller(storetool::createWithAdministrator);
    int factoryRole = 0;
    QPointer<QWidget> mainWindow;
    modPrincipal::setMainWindowFactory([&](qint16 perId) -> QWidget * {
        factoryRole = perId;
        mainWindow = new QWidget;
        return mainWindow;
    });

    // Answers each modal window as it comes up.
    QStringList seen;
    QTimer driver;
    driver.setInterval(20);
    connect(&driver, &QTimer::timeout, [&] {
        QWidget *modal = QApplication::activeModalWidget();
        if (!modal || (!seen.isEmpty() && seen.last() == modal->objectName()))
            return;
        seen << modal->objectName();
        if (modal->objectName() == QLatin1String("frmLogin")) {
            if (choice == QLatin1String("personal")) {
                QTest::keyClicks(child<QLineEdit>(modal, "txtLogin"), QStringLiteral("admin"));
                QTest::keyClicks(child<QLineEdit>(modal, "txtPassword"), QStringLiteral("clave"));
                click(modal, "cmdOK");
            } else {
                click(modal, "cmdCancel");
            }
        } else if (choice == QLatin1String("cancel")) {
            click(modal, "cmdCancelar");
        } else if (choice == QLatin1String("esc")) {
            QTest::keyClick(modal, Qt::Key_Escape);
        } else {
            fillPersonal(modal, QStringLiteral("admin"), QStringLiteral("clave"), QStringLiteral("clave"));
            click(modal, "cmdContinuar");
        }
    });
    driver.start();
    // A window the script cannot get past is closed after a while rather than hanging.
    QTimer::singleShot(20000, [&] {
        seen << QStringLiteral("(stuck)");
        while (QWidget *modal = QApplication::activeModalWidget())
            modal->close();
    });
    modPrincipal::Main();
    driver.stop();

    QCOMPARE(seen, windows);
    QCOMPARE(dialogs.endProgramCalled(), ended);
    QCOMPARE(factoryRole, role);
    if (choice == QLatin1String("personal")) {
        QVERIFY(user.ini().startsWith(iniBefore));
        QVERIFY(QFileInfo::exists(user.storeFile()));
    } else {
        QCOMPARE(user.ini(), iniBefore);
        QCOMPARE(QFileInfo::exists(user.storeFile()), false);
    }
    delete mainWindow.data();
}

TEMPALIA_TEST_MAIN(TestFirstStart)
#include "tst_firststart.moc"
