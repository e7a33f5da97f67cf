// The store's faults as a user meets them: each is one Spanish sentence that says what
// happened and what to do, then the store's code, then the driver's own text in
// parentheses; never the driver's English alone. The faults are made for real on a store
// of the test's own (a second data source beside the fixture's).
#include "TempStore.h"
#include "store/Connection.h"
#include "store/StoreError.h"
#include "ui/Application.h"

#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

using store::StoreError;
using Fault = store::StoreError::Fault;
Q_DECLARE_METATYPE(store::StoreError::Fault)

namespace {

// Data sources of the test's own, added to the fixture's odbc.ini for the time of a test.
class ExtraDataSources {
public:
    explicit ExtraDataSources(const QString &sections)
    {
        m_path = tests::testOdbcDir() + u"/odbc.ini"_s;
        QFile f(m_path);
        if (f.open(QIODevice::ReadOnly))
            m_saved = f.readAll();
        f.close();
        if (f.open(QIODevice::Append))
            f.write(sections.toUtf8());
    }
    ~ExtraDataSources()
    {
        QFile f(m_path);
        if (f.open(QIODevice::WriteOnly | QIODevice::Truncate))
            f.write(m_saved);
    }

private:
    QString m_path;
    QByteArray m_saved;
};

QString pgSection(const QString &name, const QString &user, int port = 0, const QString &database = {})
{
    return u"\n[%1]\nDriver=PostgreSQL Unicode\nServername=%2\nPort=%3\nDatabase=%4\nUsername=%5\nPassword=\n"
           "BoolsAsChar=0\nUseDeclareFetch=1\n\n"_s
        .arg(name, qEnvironmentVariable("TEMPALIA_PG_HOST"),
             port ? QString::number(port) : qEnvironmentVariable("TEMPALIA_PG_PORT"),
             database.isEmpty() ? qEnvironmentVariable("TEMPALIA_PG_DB", u"postgres"_s) : database, user);
}

}  // namespace

class TestStoreFaults : public QObject {
    Q_OBJECT
private slots:
    void faultIsSaidInSpanish_data();
    void faultIsSaidInSpanish();
    void walIsSetByCreate();
};

void TestStoreFaults::faultIsSaidInSpanish_data()
{
    QTest::addColumn<QString>("fault");
    QTest::addColumn<Fault>("expected");
    QTest::addColumn<QString>("sentence");
    // On PostgreSQL: words of the server's own text, which the test cluster writes in Spanish.
    // The faults are told apart by SQLSTATE alone, whatever language the server speaks.
    QTest::addColumn<QString>("serverWords");
    const bool postgres = tests::testBackend() == store::Backend::PostgreSQL;
    auto row = [postgres](const char *name, const char *fault, Fault expected, const QString &sentence,
                          const QString &serverWords = {}) {
        QTest::newRow(name) << QString::fromLatin1(fault) << expected << sentence
                            << (postgres ? serverWords : QString());
    };
    row("data source missing", "nodsn", Fault::NoDataSource, "El origen de datos NOPE no está definido");
    if (!postgres) {
        row("read-only store", "readonly", Fault::ReadOnly, "La base de datos es de solo lectura");
        row("disk full", "full", Fault::DiskFull, "El disco de la base de datos está lleno");
        row("not a database", "notadb", Fault::Damaged, "El archivo de la base de datos está dañado");
    } else {
        row("server unreachable", "unreachable", Fault::Unreachable, "No se pudo conectar con el servidor");
        row("login refused", "login", Fault::LoginRefused, "El servidor de la base de datos rechazó",
            "no existe el rol «nadie»");
        row("permission denied", "permission", Fault::PermissionDenied, "La cuenta del origen de datos no tiene permiso",
            "permiso denegado a la tabla areas");
        row("serialization failure", "serialization", Fault::Serialization, "Otro usuario cambiaba los mismos datos",
            "no se pudo serializar el acceso");
        // The server ends the session half-way through a statement (SQLSTATE 57P01).
        row("connection lost in a transaction", "lost", Fault::ConnectionLost,
            "Se perdió la conexión con la base de datos. Lo que estaba guardando no se guardó",
            "terminando la conexión debido a una orden del administrador");
        row("connection lost on a write", "lostwrite", Fault::Reconnected,
            "Se perdió la conexión con la base de datos; se reconectó",
            "terminando la conexión debido a una orden del administrador");
    }
    row("duplicate key", "duplicate", Fault::Duplicate, "Ya existe un registro con esa clave.",
        "llave duplicada viola restricción de unicidad");
    row("missing value", "missing", Fault::MissingValue,
        postgres ? "Falta un valor obligatorio (areid)" : "Falta un valor obligatorio (AreId)",
        "viola la restricción de no nulo");
    row("value too long", "toolong", Fault::TooLong, "Un texto", "el valor es demasiado largo");
}

void TestStoreFaults::faultIsSaidInSpanish()
{
    QFETCH(QString, fault);
    QFETCH(Fault, expected);
    QFETCH(QString, sentence);
    QFETCH(QString, serverWords);
    tests::TempStore db;
    QTemporaryDir dir;
    const QString file = dir.path() + u"/otra.sqlite"_s;
    ExtraDataSources sources(u"\n[BROKEN]\nDriver=SQLite3\nDatabase=%1\n\n"_s.arg(file) +
                             (tests::testBackend() == store::Backend::PostgreSQL
                                  ? pgSection(u"NOSERVER"_s, qEnvironmentVariable("TEMPALIA_PG_USER"), tests::freePort()) +
                                        pgSection(u"NOLOGIN"_s, u"nadie"_s)
                                  : QString()));
    auto insertArea = [&](store::Connection &c, const QVariant &key, const QString &description) {
        c.executeNative(u"INSERT INTO AREAS (AreId, AreDescripcion) VALUES (?, ?)"_s, {key, description});
    };

    std::optional<StoreError> caught;
    try {
        if (fault == u"nodsn"_s) {
            store::Connection::open(u"DSN=NOPE"_s);
        } else if (fault == u"readonly"_s) {
            db.conn().executeNative(u"PRAGMA query_only=ON"_s);
            auto restore = qScopeGuard([&] { db.conn().executeNative(u"PRAGMA query_only=OFF"_s); });
            QCOMPARE(db.scalar(u"PRAGMA query_only"_s).toInt(), 1);
            insertArea(db.conn(), u"RO"_s, u"Solo lectura"_s);
        } else if (fault == u"full"_s) {
            db.conn().executeNative(u"CREATE TABLE FILL (t TEXT)"_s);
            const int pages = db.scalar(u"PRAGMA page_count"_s).toInt();
            db.scalar(u"PRAGMA max_page_count=%1"_s.arg(pages + 2));
            for (int i = 0; i < 50; ++i)
                db.conn().executeNative(u"INSERT INTO FILL VALUES (?)"_s, {QString(20000, u'x')});
        } else if (fault == u"notadb"_s) {
            QFile garbage(file);
            QVERIFY(garbage.open(QIODevice::WriteOnly));
            garbage.write(QByteArray(8192, 'z'));
            garbage.close();
            store::Connection::open(u"DSN=BROKEN"_s)->selectNative(u"SELECT * FROM sqlite_master"_s);
        } else if (fault == u"unreachable"_s) {
            store::Connection::open(u"DSN=NOSERVER"_s);
        } else if (fault == u"login"_s) {
            store::Connection::open(u"DSN=NOLOGIN"_s);
        } else if (fault == u"permission"_s) {
            db.execNative(u"DROP ROLE IF EXISTS tempalia_limitado"_s);
            db.execNative(u"CREATE ROLE tempalia_limitado LOGIN"_s);
            auto dropRole = qScopeGuard([&] { db.execNative(u"DROP ROLE IF EXISTS tempalia_limitado"_s); });
            // The limited account reaches the test's database through its own data source.
            ExtraDataSources limited(pgSection(u"LIMITED"_s, u"tempalia_limitado"_s, 0,
                                               db.scalar(u"SELECT current_database()"_s).toString()));
            store::Connection::open(u"DSN=LIMITED"_s)->selectNative(u"SELECT * FROM AREAS"_s);
        } else if (fault == u"serialization"_s) {
            auto other = store::Connection::open();
            db.conn().beginTransaction();
            auto end = qScopeGuard([&] { db.conn().rollback(); });
            db.execNative(u"SET TRANSACTION ISOLATION LEVEL REPEATABLE READ"_s);
            db.scalar(u"SELECT AreDescripcion FROM AREAS WHERE AreId = 'DOC'"_s);
            other->executeNative(u"UPDATE AREAS SET AreDescripcion = 'Otra' WHERE AreId = 'DOC'"_s);
            db.execNative(u"UPDATE AREAS SET AreDescripcion = 'Mía' WHERE AreId = 'DOC'"_s);
        } else if (fault == u"lost"_s) {
            auto other = store::Connection::open();
            other->beginTransaction();
            other->selectNative(u"SELECT pg_terminate_backend(pg_backend_pid())"_s);
        } else if (fault == u"lostwrite"_s) {
            store::Connection::open()->executeNative(
                u"UPDATE AREAS SET AreDescripcion = 'Otra' WHERE pg_terminate_backend(pg_backend_pid())"_s);
        } else if (fault == u"duplicate"_s) {
            insertArea(db.conn(), u"DOC"_s, u"Otra vez"_s);
        } else if (fault == u"missing"_s) {
            insertArea(db.conn(), QVariant(QMetaType::fromType<QString>()), u"Sin clave"_s);
        } else if (fault == u"toolong"_s) {
            insertArea(db.conn(), u"LARGO"_s, u"Clave de cinco"_s);
        }
    } catch (const StoreError &e) {
        caught = e;
    }
    QVERIFY2(caught.has_value(), "the fault did not happen");
    const QString text = caught->description();
    QVERIFY2(caught->fault() == expected, qPrintable(text));
    QVERIFY2(text.startsWith(sentence), qPrintable(text));
    // The first line is ours: the sentence and the store's code; the driver's words follow.
    const QString first = text.section(u'\n', 0, 0);
    QVERIFY2(first.contains(u"(código "_s) || fault == u"nodsn"_s, qPrintable(text));
    QVERIFY2(!first.contains(u"constraint"_s) && !first.contains(u"ERROR"_s), qPrintable(text));
    QVERIFY2(text.section(u'\n', 1).contains(serverWords), qPrintable(text));
}

// "create" leaves the SQLite file in WAL mode even through a data source that does not ask
// for it, and the file is the user's alone.
void TestStoreFaults::walIsSetByCreate()
{
    if (tests::testBackend() != store::Backend::SQLite)
        QSKIP("a setting of the SQLite file");
    QTemporaryDir dir;
    const QString file = dir.path() + u"/nueva.sqlite"_s;
    ExtraDataSources sources(u"\n[PLAIN]\nDriver=SQLite3\nDatabase=%1\n\n"_s.arg(file));
    QCOMPARE(QProcess::execute(qEnvironmentVariable("TEMPALIA_STORE_TOOL"), {u"--dsn"_s, u"PLAIN"_s, u"create"_s}), 0);
    QProcess check;
    check.start(u"sqlite3"_s, {file, u"PRAGMA journal_mode;"_s});
    QVERIFY(check.waitForFinished(10000));
    QCOMPARE(check.readAllStandardOutput().trimmed(), QByteArray("wal"));
    QCOMPARE(QFile::permissions(file) & (QFile::ReadGroup | QFile::WriteGroup | QFile::ReadOther | QFile::WriteOther),
             QFile::Permissions());
}

TEMPALIA_TEST_MAIN(TestStoreFaults)
#include "tst_storefaults.moc"
