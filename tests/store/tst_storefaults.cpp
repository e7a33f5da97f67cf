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

using store::StoreError;
using Fault = store::StoreError::Fault;
Q_DECLARE_METATYPE(store::StoreError::Fault)

namespace {

// Data sources of the test's own, added to the fixture's odbc.ini for the time of a test.
class ExtraDataSources {
public:
    explicit ExtraDataSources(const QString &sections)
    {
        m_path = tests::testOdbcDir() + QStringLiteral("/odbc.ini");
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

QString pgSection(const QString &name, const QString &user, int port = 0)
{
    return QStringLiteral("\n[%1]\nDriver=PostgreSQL Unicode\nServername=%2\nPort=%3\nDatabase=%4\nUsername=%5\n"
                          "Password=\nBoolsAsChar=0\nUseDeclareFetch=1\n\n")
        .arg(name, qEnvironmentVariable("TEMPALIA_PG_HOST"),
             port ? QString::number(port) : qEnvironmentVariable("TEMPALIA_PG_PORT"),
             qEnvironmentVariable("TEMPALIA_PG_DB", QStringLiteral("postgres")), user);
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
    const QString file = dir.path() + QStringLiteral("/otra.sqlite");
    ExtraDataSources sources(
        QStringLiteral("\n[BROKEN]\nDriver=SQLite3\nDatabase=%1\n\n").arg(file) +
        (tests::testBackend() == store::Backend::PostgreSQL
             ? pgSection(QStringLiteral("NOSERVER"), qEnvironmentVariable("TEMPALIA_PG_USER"), tests::freePort()) +
                   pgSection(QStringLiteral("NOLOGIN"), QStringLiteral("nadie")) +
                   pgSection(QStringLiteral("LIMITED"), QStringLiteral("tempalia_limitado"))
             : QString()));
    auto insertArea = [&](store::Connection &c, const QVariant &key, const QString &description) {
        c.executeNative(QStringLiteral("INSERT INTO AREAS (AreId, AreDescripcion) VALUES (?, ?)"), {key, description});
    };

    std::optional<StoreError> caught;
    try {
        if (fault == QLatin1String("nodsn")) {
            store::Connection::open(QStringLiteral("DSN=NOPE"));
        } else if (fault == QLatin1String("readonly")) {
            db.conn().executeNative(QStringLiteral("PRAGMA query_only=ON"));
            auto restore = qScopeGuard([&] { db.conn().executeNative(QStringLiteral("PRAGMA query_only=OFF")); });
            QCOMPARE(db.scalar(QStringLiteral("PRAGMA query_only")).toInt(), 1);
            insertArea(db.conn(), QStringLiteral("RO"), QStringLiteral("Solo lectura"));
        } else if (fault == QLatin1String("full")) {
            db.conn().executeNative(QStringLiteral("CREATE TABLE FILL (t TEXT)"));
            const int pages = db.scalar(QStringLiteral("PRAGMA page_count")).toInt();
            db.scalar(QStringLiteral("PRAGMA max_page_count=%1").arg(pages + 2));
            for (int i = 0; i < 50; ++i)
                db.conn().executeNative(QStringLiteral("INSERT INTO FILL VALUES (?)"), {QString(20000, QLatin1Char('x'))});
        } else if (fault == QLatin1String("notadb")) {
            QFile garbage(file);
            QVERIFY(garbage.open(QIODevice::WriteOnly));
            garbage.write(QByteArray(8192, 'z'));
            garbage.close();
            auto conn = store::Connection::open(QStringLiteral("DSN=BROKEN"));
            conn->selectNative(QStringLiteral("SELECT * FROM sqlite_master"));
        } else if (fault == QLatin1String("unreachable")) {
            store::Connection::open(QStringLiteral("DSN=NOSERVER"));
        } else if (fault == QLatin1String("login")) {
            store::Connection::open(QStringLiteral("DSN=NOLOGIN"));
        } else if (fault == QLatin1String("permission")) {
            db.execNative(QStringLiteral("DROP ROLE IF EXISTS tempalia_limitado"));
            db.execNative(QStringLiteral("CREATE ROLE tempalia_limitado LOGIN"));
            auto dropRole = qScopeGuard([&] {
                db.execNative(QStringLiteral("DROP ROLE IF EXISTS tempalia_limitado"));
            });
            // The limited account reaches the test's database through its own data source.
            ExtraDataSources limited(pgSection(QStringLiteral("LIMITED2"), QStringLiteral("tempalia_limitado"))
                                         .replace(QStringLiteral("Database=") + qEnvironmentVariable("TEMPALIA_PG_DB",
                                                                                                    QStringLiteral("postgres")),
                                                  QStringLiteral("Database=") +
                                                      db.scalar(QStringLiteral("SELECT current_database()")).toString()));
            auto conn = store::Connection::open(QStringLiteral("DSN=LIMITED2"));
            conn->selectNative(QStringLiteral("SELECT * FROM AREAS"));
        } else if (fault == QLatin1String("serialization")) {
            auto other = store::Connection::open();
            db.conn().beginTransaction();
            auto end = qScopeGuard([&] { db.conn().rollback(); });
            db.execNative(QStringLiteral("SET TRANSACTION ISOLATION LEVEL REPEATABLE READ"));
            db.scalar(QStringLiteral("SELECT AreDescripcion FROM AREAS WHERE AreId = 'DOC'"));
            other->executeNative(QStringLiteral("UPDATE AREAS SET AreDescripcion = 'Otra' WHERE AreId = 'DOC'"));
            db.execNative(QStringLiteral("UPDATE AREAS SET AreDescripcion = 'Mía' WHERE AreId = 'DOC'"));
        } else if (fault == QLatin1String("lost")) {
            auto other = store::Connection::open();
            other->beginTransaction();
            other->selectNative(QStringLiteral("SELECT pg_terminate_backend(pg_backend_pid())"));
        } else if (fault == QLatin1String("lostwrite")) {
            auto other = store::Connection::open();
            other->executeNative(QStringLiteral("UPDATE AREAS SET AreDescripcion = 'Otra' WHERE "
                                                "pg_terminate_backend(pg_backend_pid())"));
        } else if (fault == QLatin1String("duplicate")) {
            insertArea(db.conn(), QStringLiteral("DOC"), QStringLiteral("Otra vez"));
        } else if (fault == QLatin1String("missing")) {
            insertArea(db.conn(), QVariant(QMetaType::fromType<QString>()), QStringLiteral("Sin clave"));
        } else if (fault == QLatin1String("toolong")) {
            insertArea(db.conn(), QStringLiteral("LARGO"), QStringLiteral("Clave de cinco"));
        }
    } catch (const StoreError &e) {
        caught = e;
    }
    QVERIFY2(caught.has_value(), "the fault did not happen");
    const QString text = caught->description();
    QVERIFY2(caught->fault() == expected, qPrintable(text));
    QVERIFY2(text.startsWith(sentence), qPrintable(text));
    // The first line is ours: the sentence and the store's code; the driver's words follow.
    const QString first = text.section(QLatin1Char('\n'), 0, 0);
    QVERIFY2(first.contains(QStringLiteral("(código ")) || fault == QLatin1String("nodsn"), qPrintable(text));
    QVERIFY2(!first.contains(QStringLiteral("constraint")) && !first.contains(QStringLiteral("ERROR")), qPrintable(text));
    QVERIFY2(text.section(QLatin1Char('\n'), 1).contains(serverWords), qPrintable(text));
}

// "create" leaves the SQLite file in WAL mode even through a data source that does not ask
// for it, and the file is the user's alone.
void TestStoreFaults::walIsSetByCreate()
{
    if (tests::testBackend() != store::Backend::SQLite)
        QSKIP("a setting of the SQLite file");
    QTemporaryDir dir;
    const QString file = dir.path() + QStringLiteral("/nueva.sqlite");
    ExtraDataSources sources(QStringLiteral("\n[PLAIN]\nDriver=SQLite3\nDatabase=%1\n\n").arg(file));
    {
        QProcess tool;
        tool.start(qEnvironmentVariable("TEMPALIA_STORE_TOOL"), {QStringLiteral("--dsn"), QStringLiteral("PLAIN"),
                                                                  QStringLiteral("create")});
        QVERIFY(tool.waitForFinished(60000));
        QCOMPARE(tool.exitCode(), 0);
    }
    QProcess check;
    check.start(QStringLiteral("sqlite3"), {file, QStringLiteral("PRAGMA journal_mode;")});
    QVERIFY(check.waitForFinished(10000));
    QCOMPARE(check.readAllStandardOutput().trimmed(), QByteArray("wal"));
    QCOMPARE(QFile::permissions(file) & (QFile::ReadGroup | QFile::WriteGroup | QFile::ReadOther | QFile::WriteOther),
             QFile::Permissions());
}

TEMPALIA_TEST_MAIN(TestStoreFaults)
#include "tst_storefaults.moc"
