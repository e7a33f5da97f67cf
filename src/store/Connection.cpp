#include "store/Connection.h"

#include "store/Dialect.h"
#include "store/SchemaInfo.h"
#include "store/RowBlockReader.h"
#include "store/SqlTokenizer.h"
#include "store/StatementTables.h"
#include "store/StoreError.h"

#include <QHash>
#include <optional>
#include <QRegularExpression>
#include <QSqlDriver>
#include <QSqlError>
#include <QSqlQuery>
#include <QSqlRecord>
#include <QSqlResult>
#include <QUuid>
#include <limits>
#include <sql.h>
#include <sqlext.h>
#include <sqlite3.h>

namespace store {

ConnectSpec ConnectSpec::parse(const QString &connectString)
{
    ConnectSpec spec;
    const auto parts = connectString.split(QLatin1Char(';'), Qt::SkipEmptyParts);
    for (const QString &part : parts) {
        const int eq = part.indexOf(QLatin1Char('='));
        const QString key = (eq < 0 ? part : part.left(eq)).trimmed().toLower();
        const QString value = eq < 0 ? QString() : part.mid(eq + 1).trimmed();
        if (key == QLatin1String("dsn") || key == QLatin1String("data source"))
            spec.dataSource = value;
        else if (key == QLatin1String("provider"))
            spec.shaping = value.compare(QLatin1String("MSDataShape"), Qt::CaseInsensitive) == 0;
        else if (key == QLatin1String("mode"))
            spec.readOnly = value.compare(QLatin1String("Read"), Qt::CaseInsensitive) == 0;
        else if (key == QLatin1String("user id") || key == QLatin1String("uid"))
            spec.userId = value;
    }
    if (spec.dataSource.isEmpty() && !connectString.contains(QLatin1Char('=')))
        spec.dataSource = connectString.trimmed();
    return spec;
}

namespace {

QHash<QString, std::weak_ptr<Connection>> &sharedConnections()
{
    static QHash<QString, std::weak_ptr<Connection>> map;
    return map;
}

Connection::SessionSetup &sessionSetup()
{
    static Connection::SessionSetup setup;
    return setup;
}

Connection::StatementObserver &statementObserver()
{
    static Connection::StatementObserver observer;
    return observer;
}

QString sharingKey(const ConnectSpec &spec)
{
    return spec.dataSource.toLower() + (spec.readOnly ? QStringLiteral("|ro") : QStringLiteral("|rw")) +
           (spec.wholeResults ? QStringLiteral("|whole") : QString());
}

ConnectSpec specFor(const QString &connectString, Connection::Reading reading)
{
    ConnectSpec spec = ConnectSpec::parse(connectString);
    spec.wholeResults = reading == Connection::Reading::Whole;
    return spec;
}

// The first diagnostic record of an ODBC handle that carries a SQLSTATE: what the driver
// said about the call that just failed on that handle.
Diagnostic diagnosticOf(SQLSMALLINT type, SQLHANDLE handle)
{
    Diagnostic d;
    if (!handle)
        return d;
    for (SQLSMALLINT i = 1; i < 10; ++i) {
        SQLCHAR state[SQL_SQLSTATE_SIZE + 1] = {0};
        SQLINTEGER native = 0;
        SQLCHAR text[SQL_MAX_MESSAGE_LENGTH] = {0};
        SQLSMALLINT len = 0;
        const SQLRETURN r = SQLGetDiagRec(type, handle, i, state, &native, text, sizeof text, &len);
        if (!SQL_SUCCEEDED(r))
            break;
        if (d.state.isEmpty()) {
            d.state = QString::fromLatin1(reinterpret_cast<const char *>(state));
            d.native = int(native);
        }
        const QString line = QString::fromUtf8(reinterpret_cast<const char *>(text)).trimmed();
        if (!line.isEmpty() && !d.text.contains(line))
            d.text += (d.text.isEmpty() ? QString() : QStringLiteral(" ")) + line;
    }
    return d;
}

SQLHANDLE handleOf(const QVariant &v)
{
    // Qt hands ODBC handles over as SQLHANDLE, that is void*.
    if (v.isValid() && (v.typeId() == QMetaType::VoidStar || qstrcmp(v.typeName(), "SQLHANDLE") == 0))
        return *static_cast<const SQLHANDLE *>(v.data());
    return nullptr;
}

Diagnostic diagnosticOf(const QSqlQuery &q)
{
    return q.result() ? diagnosticOf(SQL_HANDLE_STMT, handleOf(q.result()->handle())) : Diagnostic{};
}

// Reading an executed query's rows failed: the driver's diagnostic, taken at once (any
// later call on the statement, unbinding its buffers included, clears it).
struct FetchFailure {
    Diagnostic diagnostic;
};

// Executes the query's statement again, for a read that starts over.
bool execAgain(QSqlQuery &q)
{
    return q.boundValues().isEmpty() ? q.exec(q.lastQuery()) : q.exec();
}

// Whether the driver holds the connection for dead (the server closed it, the network
// broke): psqlODBC reports a statement that failed that way with a general SQLSTATE, but
// marks its connection down.
bool connectionDead(const QSqlDatabase &db)
{
    SQLHANDLE hdbc = db.driver() ? handleOf(db.driver()->handle()) : nullptr;
    if (!hdbc)
        return false;
    SQLUINTEGER dead = SQL_CD_FALSE;
    return SQL_SUCCEEDED(SQLGetConnectAttr(hdbc, SQL_ATTR_CONNECTION_DEAD, &dead, 0, nullptr)) && dead == SQL_CD_TRUE;
}

Diagnostic diagnosticOf(const QSqlDatabase &db)
{
    return db.driver() ? diagnosticOf(SQL_HANDLE_DBC, handleOf(db.driver()->handle())) : Diagnostic{};
}

// Why a data source could not be opened: the driver manager is asked again, on handles of
// our own, since the driver's handles are gone with the failed open.
Diagnostic diagnoseOpen(const QString &dataSource)
{
    Diagnostic d;
    SQLHENV env = nullptr;
    SQLHDBC dbc = nullptr;
    if (!SQL_SUCCEEDED(SQLAllocHandle(SQL_HANDLE_ENV, SQL_NULL_HANDLE, &env)))
        return d;
    SQLSetEnvAttr(env, SQL_ATTR_ODBC_VERSION, reinterpret_cast<SQLPOINTER>(SQL_OV_ODBC3), 0);
    if (SQL_SUCCEEDED(SQLAllocHandle(SQL_HANDLE_DBC, env, &dbc))) {
        SQLSetConnectAttr(dbc, SQL_ATTR_LOGIN_TIMEOUT, reinterpret_cast<SQLPOINTER>(15), 0);
        QByteArray name = dataSource.toUtf8();
        const SQLRETURN r = SQLConnect(dbc, reinterpret_cast<SQLCHAR *>(name.data()), SQL_NTS, nullptr, 0, nullptr, 0);
        if (SQL_SUCCEEDED(r))
            SQLDisconnect(dbc);
        else
            d = diagnosticOf(SQL_HANDLE_DBC, dbc);
        SQLFreeHandle(SQL_HANDLE_DBC, dbc);
    }
    SQLFreeHandle(SQL_HANDLE_ENV, env);
    return d;
}

// Which driver a data source names (the driver manager's list of data sources gives it),
// to classify a failed open by its backend.
Backend backendOfDataSource(const QString &dataSource)
{
    Backend backend = Backend::SQLite;
    SQLHENV env = nullptr;
    if (!SQL_SUCCEEDED(SQLAllocHandle(SQL_HANDLE_ENV, SQL_NULL_HANDLE, &env)))
        return backend;
    SQLSetEnvAttr(env, SQL_ATTR_ODBC_VERSION, reinterpret_cast<SQLPOINTER>(SQL_OV_ODBC3), 0);
    SQLCHAR name[SQL_MAX_DSN_LENGTH + 1];
    SQLCHAR driver[256];
    SQLSMALLINT nameLen = 0, driverLen = 0;
    SQLUSMALLINT direction = SQL_FETCH_FIRST;
    while (SQL_SUCCEEDED(SQLDataSources(env, direction, name, sizeof name, &nameLen, driver, sizeof driver, &driverLen))) {
        direction = SQL_FETCH_NEXT;
        if (QString::fromUtf8(reinterpret_cast<const char *>(name)).compare(dataSource, Qt::CaseInsensitive) == 0 &&
            QString::fromUtf8(reinterpret_cast<const char *>(driver)).contains(QLatin1String("postg"), Qt::CaseInsensitive))
            backend = Backend::PostgreSQL;
    }
    SQLFreeHandle(SQL_HANDLE_ENV, env);
    return backend;
}

// The word a statement begins with (past opening parentheses), upper case, read through the
// statement lexer; empty when the text can't be read (the store then says what is wrong).
QString leadingWord(const QString &sql)
{
    try {
        for (const SqlToken &t : SqlTokenizer::significant(sql)) {
            if (t.isSymbol(u"("))
                continue;
            return t.kind == SqlToken::Kind::Word ? t.raw.toUpper() : QString();
        }
    } catch (const StoreError &) {
    }
    return {};
}

// Statements that only read may be sent again on a fresh connection: nothing was changed.
bool onlyReads(const QString &word)
{
    return word == QLatin1String("SELECT") || word == QLatin1String("PRAGMA");
}

// Whether a statement may change the store: anything that does not begin as a query.
bool mayWrite(const QString &word)
{
    return !word.isEmpty() && word != QLatin1String("SELECT") && word != QLatin1String("VALUES") &&
           word != QLatin1String("WITH");
}

void bindAll(QSqlQuery &q, const QVariantList &values)
{
    for (int i = 0; i < values.size(); ++i)
        q.bindValue(i, values.at(i));
}

}  // namespace

// A second handle on the SQLite file of a connection, straight through the engine, that only
// asks for the file's data version: the engine changes it whenever a connection other than
// this handle commits, and this handle never writes, so every commit of every process shows.
// Asking costs a few microseconds, where a statement through the driver costs a tenth of a
// millisecond or more.
class SqliteChangeWatch {
public:
    static std::unique_ptr<SqliteChangeWatch> open(const QString &file)
    {
        if (file.isEmpty() || file.startsWith(QLatin1Char(':')))
            return nullptr;
        sqlite3 *db = nullptr;
        // Never created here: a file that is not there has no version to watch.
        if (sqlite3_open_v2(file.toUtf8().constData(), &db, SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX,
                            nullptr) != SQLITE_OK) {
            sqlite3_close(db);
            return nullptr;
        }
        sqlite3_stmt *stmt = nullptr;
        if (sqlite3_prepare_v2(db, "PRAGMA data_version", -1, &stmt, nullptr) != SQLITE_OK || !stmt) {
            sqlite3_close(db);
            return nullptr;
        }
        return std::unique_ptr<SqliteChangeWatch>(new SqliteChangeWatch(db, stmt));
    }
    ~SqliteChangeWatch()
    {
        sqlite3_finalize(m_stmt);
        sqlite3_close(m_db);
    }
    // Empty while the file can't be read (a writer holds it exclusively, it is gone).
    std::optional<qint64> version()
    {
        const int rc = sqlite3_step(m_stmt);
        std::optional<qint64> v;
        if (rc == SQLITE_ROW)
            v = sqlite3_column_int64(m_stmt, 0);
        sqlite3_reset(m_stmt);  // ends the read at once: no snapshot is held between calls
        return v;
    }

private:
    SqliteChangeWatch(sqlite3 *db, sqlite3_stmt *stmt) : m_db(db), m_stmt(stmt) {}
    sqlite3 *m_db;
    sqlite3_stmt *m_stmt;
};

Connection::Connection(const ConnectSpec &spec) : m_spec(spec)
{
    if (m_spec.dataSource.isEmpty())
        throw StoreError(StoreError::Kind::NotConnected, 0,
                         QStringLiteral("La cadena de conexión no nombra un origen de datos."));
    m_name = QStringLiteral("tempalia-") + QUuid::createUuid().toString(QUuid::WithoutBraces);
    QSqlDatabase db = QSqlDatabase::addDatabase(QStringLiteral("QODBC"), m_name);
    // Qt hands "DSN=<name>;<rest>" to the driver manager. The SQLite driver waits for a
    // busy file twice, once with the engine's busy timeout and once more with its own
    // Timeout; both are set here to half the one wait the user is promised, whatever the
    // data source says. Other drivers ignore the attribute.
    // A connection that reads results whole asks the PostgreSQL driver not to declare a
    // cursor for its queries, whatever the data source says; the SQLite driver ignores it.
    db.setDatabaseName(QStringLiteral("%1;Timeout=%2%3")
                           .arg(m_spec.dataSource)
                           .arg(kBusyTimeoutMs / 2)
                           .arg(m_spec.wholeResults ? QStringLiteral(";UseDeclareFetch=0") : QString()));
    db.setConnectOptions(QStringLiteral("SQL_ATTR_LOGIN_TIMEOUT=15;SQL_ATTR_CONNECTION_TIMEOUT=15"));
    if (!db.open()) {
        const QSqlError err = db.lastError();
        db = QSqlDatabase();
        QSqlDatabase::removeDatabase(m_name);
        Diagnostic diag = diagnoseOpen(m_spec.dataSource);
        diag.dataSource = m_spec.dataSource;
        throw StoreError::fromDiagnostic(backendOfDataSource(m_spec.dataSource), diag, err, true);
    }
    detectBackend();
    prepareSession();
    m_idle.start();
}

Connection::~Connection()
{
    {
        QSqlDatabase db = QSqlDatabase::database(m_name, false);
        if (db.isOpen()) {
            if (m_inTransaction)
                db.rollback();
            db.close();
        }
    }
    QSqlDatabase::removeDatabase(m_name);
}

std::shared_ptr<Connection> Connection::shared(const QString &connectString, Reading reading)
{
    const ConnectSpec spec = specFor(connectString, reading);
    const QString key = sharingKey(spec);
    auto &map = sharedConnections();
    if (auto existing = map.value(key).lock()) {
        if (existing->database().isOpen())
            return existing;
    }
    if (spec.wholeResults) {
        // On SQLite every result is read whole already: no second connection to the file.
        if (auto cursor = map.value(sharingKey(specFor(connectString, Reading::Cursor))).lock();
            cursor && cursor->backend() == Backend::SQLite && cursor->database().isOpen())
            return cursor;
    }
    std::shared_ptr<Connection> conn(new Connection(spec));
    map.insert(key, conn);
    return conn;
}

std::shared_ptr<Connection> Connection::open(const QString &connectString, Reading reading)
{
    return std::shared_ptr<Connection>(new Connection(specFor(connectString, reading)));
}

QSqlDatabase Connection::database() const
{
    return QSqlDatabase::database(m_name, false);
}

void Connection::detectBackend()
{
    QString dbms;
    QSqlDatabase db = database();
    if (SQLHANDLE hdbc = handleOf(db.driver()->handle())) {
        SQLCHAR buf[256] = {0};
        SQLSMALLINT len = 0;
        if (SQL_SUCCEEDED(SQLGetInfo(hdbc, SQL_DBMS_NAME, buf, sizeof buf, &len)))
            dbms = QString::fromLatin1(reinterpret_cast<const char *>(buf));
    }
    if (dbms.isEmpty()) {
        QSqlQuery q(db);
        dbms = q.exec(QStringLiteral("SELECT sqlite_version()")) ? QStringLiteral("SQLite")
                                                                 : QStringLiteral("PostgreSQL");
    }
    if (dbms.contains(QLatin1String("SQLite"), Qt::CaseInsensitive))
        m_backend = Backend::SQLite;
    else if (dbms.contains(QLatin1String("PostgreSQL"), Qt::CaseInsensitive))
        m_backend = Backend::PostgreSQL;
    else
        throw StoreError(StoreError::Kind::NotConnected, 0,
                         QStringLiteral("El origen de datos %1 usa un motor no soportado (%2).")
                             .arg(m_spec.dataSource, dbms));
}

void Connection::prepareSession()
{
    if (m_backend == Backend::SQLite)
        prepareSqliteSession();
    if (m_spec.readOnly) {
        // Mode=Read: the store itself refuses writes on this connection, whatever sends them.
        QSqlQuery q(database());
        q.exec(m_backend == Backend::SQLite ? QStringLiteral("PRAGMA query_only=ON")
                                            : QStringLiteral("SET SESSION CHARACTERISTICS AS TRANSACTION READ ONLY"));
        q.finish();
    }
    if (sessionSetup())
        sessionSetup()(*this);
}

void Connection::setStatementObserver(StatementObserver observer)
{
    statementObserver() = std::move(observer);
}

void Connection::setSessionSetup(SessionSetup setup)
{
    sessionSetup() = std::move(setup);
    if (!sessionSetup())
        return;
    for (const auto &weak : std::as_const(sharedConnections()))
        if (auto conn = weak.lock(); conn && conn->database().isOpen())
            sessionSetup()(*conn);
}

void Connection::prepareSqliteSession()
{
    // The SQLite driver runs a statement that returns rows only when its first row is
    // fetched: each setting is read back, which also tells what it is now.
    auto pragma = [this](const QString &statement) {
        QSqlQuery q(database());
        q.setForwardOnly(true);
        QString value;
        if (q.exec(statement) && q.next())
            value = q.value(0).toString();
        q.finish();
        return value;
    };
    // Several processes share the file: a writer waits for another one for at most
    // kBusyTimeoutMs in all (the engine's wait and the driver's, see the open), then the
    // user is told the store is busy.
    pragma(QStringLiteral("PRAGMA busy_timeout=%1").arg(kBusyTimeoutMs / 2));
    // A commit is on the disk before the user is told it is saved: in WAL mode FULL syncs
    // the log at every commit, so a power cut loses no saved entry.
    pragma(QStringLiteral("PRAGMA synchronous=FULL"));
    // The file is created in WAL mode (readers never block the writer); a file that is
    // not, made by hand or by an older tool, is switched when it is opened.
    if (pragma(QStringLiteral("PRAGMA journal_mode")).compare(QLatin1String("wal"), Qt::CaseInsensitive) != 0)
        pragma(QStringLiteral("PRAGMA journal_mode=WAL"));
}

QString Connection::translate(const QString &statement) const
{
    return Dialect::translate(statement, m_backend);
}

// A computed column (a sum, a product) that the driver hands over as text, as the SQLite
// driver does when it reads row by row, is turned back into the number it is.
static QVariant computedValue(const QVariant &v)
{
    if (v.isNull())
        return {};
    if (v.typeId() != QMetaType::QString)
        return v;
    static const QRegularExpression number(QStringLiteral("^-?\\d+(\\.\\d+)?([eE][-+]?\\d+)?$"));
    const QString text = v.toString();
    if (!number.match(text).hasMatch())
        return v;
    bool ok = false;
    if (!text.contains(QLatin1Char('.')) && !text.contains(QLatin1Char('e')) && !text.contains(QLatin1Char('E'))) {
        const qlonglong n = text.toLongLong(&ok);
        if (ok)
            return n;
    }
    const double d = text.toDouble(&ok);
    return ok ? QVariant(d) : v;
}

namespace {

// The kind of each column of an executed query, where it comes straight from a schema column.
std::vector<std::optional<ColumnKind>> columnKinds(const QSqlQuery &q, QStringList *names = nullptr)
{
    const QSqlRecord rec = q.record();
    const StatementTables source = StatementTables::of(q.lastQuery());
    std::vector<std::optional<ColumnKind>> kinds;
    for (int i = 0; i < rec.count(); ++i) {
        if (names)
            *names << rec.fieldName(i);
        kinds.push_back(source.resultKind(rec.fieldName(i)));
    }
    return kinds;
}

// A row as the driver gave it, each value turned into its column's kind.
Row normalized(Row row, const std::vector<std::optional<ColumnKind>> &kinds)
{
    for (std::size_t i = 0; i < kinds.size(); ++i) {
        QVariant &v = row[qsizetype(i)];
        v = kinds[i] ? normalize(*kinds[i], v) : computedValue(v);
    }
    return row;
}

// The row the query stands on, each value in its column's kind.
Row currentRow(const QSqlQuery &q, const std::vector<std::optional<ColumnKind>> &kinds)
{
    const int n = int(kinds.size());
    Row row(n);
    for (int i = 0; i < n; ++i)
        row[i] = q.value(i);
    return normalized(std::move(row), kinds);
}

bool failed(const QSqlQuery &q)
{
    return q.lastError().isValid() && q.lastError().type() != QSqlError::NoError;
}

}  // namespace

QueryRows::QueryRows(QSqlQuery &query, int rowsWanted, QStringList *names)
    : m_query(query), m_kinds(columnKinds(query, names)), m_block(RowBlockReader::attach(query, rowsWanted))
{
}

QueryRows::~QueryRows() = default;

std::vector<Row> QueryRows::next(int count)
{
    std::vector<Row> rows;
    if (m_atEnd)
        return rows;
    if (m_block) {
        try {
            for (Row row; int(rows.size()) < count;) {
                if (!m_block->next(row)) {
                    end();
                    break;
                }
                rows.push_back(normalized(std::move(row), m_kinds));
            }
            m_position += int(rows.size());
            return rows;
        } catch (const RowBlockReader::FetchFailed &) {
            throw FetchFailure{diagnosticOf(m_query)};
        } catch (const RowBlockReader::TooLong &) {
            // A text longer than its column says: the statement runs again and is read value
            // by value from where this stretch began.
            m_block.reset();
            rows.clear();
            if (!execAgain(m_query))
                throw FetchFailure{diagnosticOf(m_query)};
            for (int skipped = 0; skipped < m_position && m_query.next(); ++skipped) {
            }
        }
    }
    while (int(rows.size()) < count) {
        if (!m_query.next()) {
            if (failed(m_query))
                throw FetchFailure{diagnosticOf(m_query)};
            end();
            break;
        }
        rows.push_back(currentRow(m_query, m_kinds));
    }
    m_position += int(rows.size());
    return rows;
}

// The read ends with the result, whoever holds the query.
void QueryRows::end()
{
    m_atEnd = true;
    m_block.reset();
    m_query.finish();
}

ResultSet readAll(QSqlQuery &q, int maxRows, bool *more)
{
    ResultSet rs;
    QueryRows rows(q, maxRows, &rs.columns);
    // One row past the ones wanted tells whether any are left.
    rs.rows = rows.next(maxRows < 0 ? std::numeric_limits<int>::max() : maxRows + 1);
    const bool rowsLeft = maxRows >= 0 && int(rs.rows.size()) > maxRows;
    if (rowsLeft)
        rs.rows.pop_back();
    if (more)
        *more = rowsLeft;
    q.finish();
    return rs;
}

OpenQuery::OpenQuery(std::shared_ptr<Connection> connection, const QString &sql) : m_connection(std::move(connection))
{
    Connection &conn = *m_connection;
    if (statementObserver())
        statementObserver()(sql);
    if (conn.m_dead || !conn.database().isOpen())
        conn.reopen();
    m_query = std::make_unique<QSqlQuery>(conn.database());
    m_query->setForwardOnly(true);
    if (!m_query->exec(sql)) {
        const StoreError e = conn.statementError(*m_query);
        m_query.reset();
        throw e;
    }
    m_rows = std::make_unique<QueryRows>(*m_query);
}

OpenQuery::~OpenQuery()
{
    m_rows.reset();
    if (m_query)
        m_query->finish();
}

std::vector<Row> OpenQuery::next(int count)
{
    try {
        return m_rows->next(count);
    } catch (const FetchFailure &f) {
        throw m_connection->statementError(f.diagnostic, *m_query);
    }
}

ResultSet Connection::select(const QString &statement)
{
    return selectNative(translate(statement));
}

int Connection::execute(const QString &statement)
{
    return executeNative(translate(statement));
}

// Runs one statement, with its bound values, and hands the executed query to `use`.
//
// Connections are mended here, and only where that cannot apply a write twice or lose it:
//  - a connection known to be dead (an earlier statement found it lost) is opened again
//    before anything is sent;
//  - before a write on a server connection that has sat idle, a probe finds out whether the
//    server is still there (a restarted server drops idle connections without the client
//    knowing); a dead one is opened again before the write is sent;
//  - a read that finds the connection lost is sent once more on a fresh connection;
//  - a write that finds it lost is not sent again (whether it reached the server is not
//    known): the user is told, and the next statement finds the connection opened again.
// Inside a transaction nothing is mended: the transaction is lost with the connection and
// its owner ends it.
template <typename Use>
auto Connection::run(const QString &sql, const QVariantList &values, Use use) -> decltype(use(std::declval<QSqlQuery &>()))
{
    if (statementObserver())
        statementObserver()(sql);
    const QString word = leadingWord(sql);
    if (m_spec.readOnly && mayWrite(word))
        throw StoreError(StoreError::Kind::Store, 3251,
                         QStringLiteral("La conexión %1 es de solo lectura: no se modificó la base de datos.")
                             .arg(m_spec.dataSource));
    const bool read = onlyReads(word);
    if (!m_inTransaction) {
        if (m_dead || !database().isOpen())
            reopen();
        else if (!read && m_backend == Backend::PostgreSQL && m_idle.isValid() && m_idle.elapsed() >= kIdleProbeMs)
            probe();
    }
    for (int attempt = 1;; ++attempt) {
        QSqlQuery q(database());
        q.setForwardOnly(true);
        bool ok;
        if (values.isEmpty()) {
            ok = q.exec(sql);
        } else {
            ok = q.prepare(sql);
            if (ok) {
                bindAll(q, values);
                ok = q.exec();
            }
        }
        std::optional<StoreError> failure;
        if (ok) {
            try {
                auto result = use(q);
                m_idle.start();
                return result;
            } catch (const StoreError &e) {
                if (!q.lastError().isValid() || q.lastError().type() == QSqlError::NoError)
                    throw;
                failure = statementError(q);
            } catch (const FetchFailure &f) {
                failure = statementError(f.diagnostic, q);
            }
        } else {
            failure = statementError(q);
        }
        if (failure->fault() == StoreError::Fault::ConnectionLost) {
            m_dead = true;
            if (!m_inTransaction) {
                // A new connection at once, on whichever server takes writes now (the data
                // source may name a primary and its standby): a read is sent again on it,
                // a write is not, and the user is asked to repeat it.
                q = QSqlQuery();
                bool reopened = false;
                try {
                    reopen();
                    reopened = true;
                } catch (const StoreError &) {
                    // No server answers yet: the user is told the connection was lost, and
                    // the next statement tries again.
                }
                if (reopened && read && attempt == 1)
                    continue;
                if (reopened)
                    throw StoreError::reconnectedAfter(*failure);
            }
        }
        throw *failure;
    }
}

// The store's error for a statement of this connection that failed, told by its diagnostic.
StoreError Connection::statementError(const QSqlQuery &q)
{
    return statementError(diagnosticOf(q), q);
}

StoreError Connection::statementError(const Diagnostic &diagnostic, const QSqlQuery &q)
{
    return StoreError::fromDiagnostic(m_backend, diagnostic, q.lastError(), false, connectionDead(database()));
}

// Opens the connection again. Throws the reason when the store cannot be reached.
void Connection::reopen()
{
    QSqlDatabase db = database();
    db.close();
    if (!db.open())
        throw StoreError::fromDiagnostic(m_backend, diagnoseOpen(m_spec.dataSource), db.lastError(), true);
    m_dead = false;
    prepareSession();
    m_idle.start();
}

// A cheap statement that tells whether an idle server connection still stands; a dead one
// is opened again (nothing of the caller's has been sent yet).
void Connection::probe()
{
    bool lost = false;
    {
        QSqlQuery q(database());
        q.setForwardOnly(true);
        if (q.exec(QStringLiteral("SELECT 1")))
            q.finish();
        else
            lost = statementError(q).fault() == StoreError::Fault::ConnectionLost;
    }
    if (lost)
        reopen();
    else
        m_idle.start();
}

ResultSet Connection::selectNative(const QString &sql, const QVariantList &values, int maxRows, bool *more)
{
    return run(sql, values, [maxRows, more](QSqlQuery &q) { return readAll(q, maxRows, more); });
}

int Connection::executeNative(const QString &sql, const QVariantList &values)
{
    return run(sql, values, [](QSqlQuery &q) {
        const int affected = q.numRowsAffected();
        q.finish();
        return affected;
    });
}

std::optional<QString> Connection::changeMarker()
{
    if (m_inTransaction || m_dead)
        return std::nullopt;
    if (m_backend == Backend::PostgreSQL)
        return serverSnapshot();
    if (!m_changesOpened) {
        m_changesOpened = true;
        // The driver names the file it opened for the data source.
        QString file;
        if (SQLHANDLE hdbc = handleOf(database().driver()->handle())) {
            SQLCHAR buf[4096] = {0};
            SQLSMALLINT len = 0;
            if (SQL_SUCCEEDED(SQLGetInfo(hdbc, SQL_DATABASE_NAME, buf, sizeof buf, &len)))
                file = QString::fromUtf8(reinterpret_cast<const char *>(buf));
        }
        m_changes = SqliteChangeWatch::open(file);
    }
    if (!m_changes)
        return std::nullopt;
    const std::optional<qint64> version = m_changes->version();
    return version ? std::optional<QString>(QString::number(*version)) : std::nullopt;
}

// The server's snapshot as text (xmin:xmax:running transactions): two equal ones mean no
// transaction ended between them. The server's address goes with it: after a failover the
// standby that took over numbers its transactions on from what it had received, so a
// snapshot of the new primary may read like an older one of the old. A failure tells
// nothing and says nothing: the read that follows runs the statement and reports what is
// wrong, a lost connection included.
std::optional<QString> Connection::serverSnapshot()
{
    QSqlQuery q(database());
    q.setForwardOnly(true);
    if (!q.exec(QStringLiteral("SELECT pg_current_snapshot()::text || '@' || COALESCE(inet_server_addr()::text, '') "
                               "|| ':' || COALESCE(inet_server_port(), 0)")) ||
        !q.next()) {
        if (statementError(q).fault() == StoreError::Fault::ConnectionLost)
            m_dead = true;
        return std::nullopt;
    }
    const QString snapshot = q.value(0).toString();
    q.finish();
    m_idle.start();
    return snapshot;
}

void Connection::beginTransaction()
{
    if (m_dead || !database().isOpen())
        reopen();
    else if (m_backend == Backend::PostgreSQL && m_idle.isValid() && m_idle.elapsed() >= kIdleProbeMs)
        probe();
    QSqlDatabase db = database();
    if (!db.transaction())
        throw transactionError(db);
    m_inTransaction = true;
}

void Connection::commit()
{
    QSqlDatabase db = database();
    m_inTransaction = false;
    if (!db.commit())
        throw transactionError(db);
    m_idle.start();
}

void Connection::rollback()
{
    QSqlDatabase db = database();
    m_inTransaction = false;
    db.rollback();
}

StoreError Connection::transactionError(const QSqlDatabase &db)
{
    StoreError e = StoreError::fromDiagnostic(m_backend, diagnosticOf(db), db.lastError(), false, connectionDead(db));
    if (e.fault() == StoreError::Fault::ConnectionLost)
        m_dead = true;
    return e;
}

}  // namespace store
