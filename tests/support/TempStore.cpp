#include "TempStore.h"

#include "StoreTool.h"
#include "session/Usuario.h"
#include "store/StoreSetup.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

namespace tests {
namespace {

struct ProcessStore {
    std::unique_ptr<QTemporaryDir> dir;
    bool postgres = false;
    QString pgDatabase;
};

ProcessStore &process()
{
    static ProcessStore p;
    return p;
}

QString env(const char *name)
{
    return qEnvironmentVariable(name);
}

void writeFile(const QString &path, const QString &text)
{
    QFile f(path);
    if (!f.open(QIODevice::WriteOnly | QIODevice::Truncate))
        qFatal("cannot write %s", qPrintable(path));
    f.write(text.toUtf8());
}

QString pgDsn(const QString &name, const QString &database, const QString &user = {}, const QString &password = {})
{
    // TEMPALIA_PG_HOST may name several servers, separated by commas: libpq keeps the first
    // that accepts writes.
    return QStringLiteral("[%1]\nDriver=PostgreSQL Unicode\nServername=%2\nPort=%3\nDatabase=%4\nUsername=%5\n"
                          "Password=%6\npqopt=target_session_attrs=read-write\nBoolsAsChar=0\nUseDeclareFetch=1\nFetch=100\nTextAsLongVarchar=0\n"
                          "UnknownsAsLongVarchar=0\nMaxVarcharSize=4000\n\n")
        .arg(name, env("TEMPALIA_PG_HOST"), env("TEMPALIA_PG_PORT").isEmpty() ? QStringLiteral("5432") : env("TEMPALIA_PG_PORT"),
             database, user.isEmpty() ? env("TEMPALIA_PG_USER") : user,
             user.isEmpty() ? env("TEMPALIA_PG_PASSWORD") : password);
}

}  // namespace

void initTestProcess()
{
    Usuario::useCheapHashingForTests();
    ProcessStore &p = process();
    p.dir = std::make_unique<QTemporaryDir>();
    const QString dir = p.dir->path();
    writeFile(dir + QStringLiteral("/odbcinst.ini"),
              QStringLiteral("[SQLite3]\nDriver=/usr/lib/x86_64-linux-gnu/odbc/libsqlite3odbc.so\n\n"
                             "[PostgreSQL Unicode]\nDriver=/usr/lib/x86_64-linux-gnu/odbc/psqlodbcw.so\n\n"));
    p.postgres = !env("TEMPALIA_PG_HOST").isEmpty();
    QString ini;
    if (p.postgres) {
        p.pgDatabase = QStringLiteral("tempalia_t%1").arg(QCoreApplication::applicationPid());
        ini = pgDsn(QStringLiteral("TEMPALIA_MAINT"), env("TEMPALIA_PG_DB").isEmpty() ? QStringLiteral("postgres") : env("TEMPALIA_PG_DB")) +
              pgDsn(QStringLiteral("RRHHODBC"), p.pgDatabase);
    } else {
        ini = QStringLiteral("[RRHHODBC]\nDriver=SQLite3\nDatabase=%1/rrhh.sqlite\nTimeout=10000\nStepAPI=1\n"
                             "JournalMode=WAL\nSyncPragma=NORMAL\n\n")
                  .arg(dir);
    }
    writeFile(dir + QStringLiteral("/odbc.ini"), ini);
    qputenv("ODBCSYSINI", dir.toUtf8());
    qputenv("ODBCINI", (dir + QStringLiteral("/odbc.ini")).toUtf8());
    if (p.postgres) {
        auto maint = store::Connection::open(QStringLiteral("DSN=TEMPALIA_MAINT"));
        maint->executeNative(QStringLiteral("DROP DATABASE IF EXISTS %1").arg(p.pgDatabase));
        maint->executeNative(QStringLiteral("CREATE DATABASE %1").arg(p.pgDatabase));
    }
}

void finishTestProcess()
{
    ProcessStore &p = process();
    if (p.postgres) {
        try {
            auto maint = store::Connection::open(QStringLiteral("DSN=TEMPALIA_MAINT"));
            maint->executeNative(QStringLiteral("DROP DATABASE IF EXISTS %1 WITH (FORCE)").arg(p.pgDatabase));
        } catch (...) {
            // The throwaway cluster goes with the test run anyway.
        }
    }
    p.dir.reset();
}

void addPostgresDataSource(const QString &name, const QString &user, const QString &password)
{
    ProcessStore &p = process();
    QFile f(p.dir->path() + QStringLiteral("/odbc.ini"));
    if (!f.open(QIODevice::Append))
        qFatal("cannot append to odbc.ini");
    f.write(pgDsn(name, p.pgDatabase, user, password).toUtf8());
}

store::Backend testBackend()
{
    return process().postgres ? store::Backend::PostgreSQL : store::Backend::SQLite;
}

QString testOdbcDir()
{
    return process().dir ? process().dir->path() : QString();
}

TempStore::TempStore(Content content, const QDate &today)
{
    m_conn = store::Connection::open();
    store::setup::dropSchema(*m_conn);
    if (content == Content::Empty)
        return;
    storetool::create(*m_conn);
    if (content == Content::Demo)
        storetool::demo(*m_conn, today);
}

TempStore::~TempStore() = default;

store::ResultSet TempStore::select(const QString &statement)
{
    return m_conn->select(statement);
}

store::ResultSet TempStore::selectNative(const QString &sql, const QVariantList &values)
{
    return m_conn->selectNative(sql, values);
}

int TempStore::execNative(const QString &sql, const QVariantList &values)
{
    return m_conn->executeNative(sql, values);
}

QVariant TempStore::scalar(const QString &sql, const QVariantList &values)
{
    const store::ResultSet rs = m_conn->selectNative(sql, values);
    return rs.rows.empty() ? QVariant() : rs.rows.front().value(0);
}

int TempStore::count(const QString &table, const QString &where, const QVariantList &values)
{
    return scalar(QStringLiteral("SELECT COUNT(*) FROM %1%2")
                      .arg(table, where.isEmpty() ? QString() : QStringLiteral(" WHERE ") + where),
                  values)
        .toInt();
}

QString TempStore::rowDifferences(const QString &sql, const QVariantMap &expected, const QVariantList &values)
{
    const store::ResultSet rs = m_conn->selectNative(sql, values);
    if (rs.rows.size() != 1)
        return QStringLiteral("%1 rows instead of one").arg(rs.rows.size());
    QStringList out;
    for (auto it = expected.begin(); it != expected.end(); ++it) {
        const QVariant stored = rs.value(0, it.key());
        const QVariant &want = it.value();
        bool same;
        if (!want.isValid()) {
            same = stored.isNull();
        } else if (want.typeId() == QMetaType::Double) {
            same = !stored.isNull() && qAbs(stored.toDouble() - want.toDouble()) <= 1e-9 * qMax(1.0, qAbs(want.toDouble()));
        } else {
            QVariant converted = stored;  // a null converts to the type's empty value, reporting false
            same = (converted.convert(want.metaType()) || stored.isNull()) && converted == want;
        }
        if (!same)
            out << QStringLiteral("%1: %2 != %3").arg(it.key(), stored.toString(), want.toString());
    }
    return out.join(QStringLiteral("; "));
}

qlonglong approvedClose(TempStore &db, const QDate &cutOff)
{
    db.execNative(QStringLiteral("INSERT INTO CIERREMESES (FunCedula, AreId, CieMesMesCierre, CieMesAnioCierre, "
                                 "CieMesFechaActual, CieMesFechaCierre, CieMesAprobado, CieMesDesaprobado, "
                                 "CieMesCerrado) VALUES ('22222222', 'DOC', ?, ?, ?, ?, ?, ?, ?)"),
                  {cutOff.month(), cutOff.year(), cutOff, cutOff, true, false, false});
    return db.scalar(QStringLiteral("SELECT MAX(CieMesId) FROM CIERREMESES")).toLongLong();
}

qlonglong copyOfHourRow(TempStore &db, qlonglong horId, const QDate &date)
{
    db.execNative(QStringLiteral("INSERT INTO HORAS (FunCedula, AreId, ActId, DesId, FunInsId, HorFecha, HorSemana, "
                                 "HorValorhora, HorHoras, HorCategoria, TipId, HorMoneda) SELECT FunCedula, AreId, "
                                 "ActId, DesId, FunInsId, ?, HorSemana, HorValorhora, 3, HorCategoria, TipId, HorMoneda "
                                 "FROM HORAS WHERE HorId = ?"),
                  {date, horId});
    return db.scalar(QStringLiteral("SELECT MAX(HorId) FROM HORAS")).toLongLong();
}

int freePort()
{
    const int fd = ::socket(AF_INET, SOCK_STREAM, 0);
    if (fd < 0)
        return 0;
    sockaddr_in addr{};
    addr.sin_family = AF_INET;
    addr.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t len = sizeof addr;
    int port = 0;
    if (::bind(fd, reinterpret_cast<sockaddr *>(&addr), sizeof addr) == 0 &&
        ::getsockname(fd, reinterpret_cast<sockaddr *>(&addr), &len) == 0)
        port = ntohs(addr.sin_port);
    ::close(fd);
    return port;
}

}  // namespace tests
