#include "store/Connection.h"

#include "store/Dialect.h"
#include "store/SchemaInfo.h"
#include "store/SqlTokenizer.h"
#include "store/StatementTables.h"
#include "store/StoreError.h"

#include <QHash>
#include <QRegularExpression>
#include <QSqlDriver>
#include <QSqlError>
#include <QSqlQuery>
#include <QSqlRecord>
#include <QUuid>
#include <sql.h>
#include <sqlext.h>

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

QString sharingKey(const ConnectSpec &spec)
{
    return spec.dataSource.toLower() + (spec.readOnly ? QStringLiteral("|ro") : QStringLiteral("|rw"));
}

// The driver's words for a connection that the server or the network has dropped.
bool connectionLost(const QSqlError &error)
{
    static const QRegularExpression lost(
        QStringLiteral("connection (has been )?lost|server closed the connection|terminating connection|"
                       "no connection to the server|could not receive data from server"),
        QRegularExpression::CaseInsensitiveOption);
    return lost.match(error.databaseText() + QLatin1Char(' ') + error.driverText()).hasMatch();
}

// Whether a statement may change the store: anything that does not begin as a query.
bool mayWrite(const QString &sql)
{
    try {
        for (const SqlToken &t : SqlTokenizer::significant(sql)) {
            if (t.isSymbol(u"("))
                continue;
            return !(t.isWord(u"SELECT") || t.isWord(u"VALUES") || t.isWord(u"WITH"));
        }
    } catch (const StoreError &) {
        // Not readable here: the store says what is wrong with it.
    }
    return false;
}

void bindAll(QSqlQuery &q, const QVariantList &values)
{
    for (int i = 0; i < values.size(); ++i)
        q.bindValue(i, values.at(i));
}

}  // namespace

Connection::Connection(const ConnectSpec &spec) : m_spec(spec)
{
    if (m_spec.dataSource.isEmpty())
        throw StoreError(StoreError::Kind::NotConnected, 0,
                         QStringLiteral("La cadena de conexión no nombra un origen de datos."));
    m_name = QStringLiteral("tempalia-") + QUuid::createUuid().toString(QUuid::WithoutBraces);
    QSqlDatabase db = QSqlDatabase::addDatabase(QStringLiteral("QODBC"), m_name);
    db.setDatabaseName(m_spec.dataSource);
    db.setConnectOptions(QStringLiteral("SQL_ATTR_LOGIN_TIMEOUT=15;SQL_ATTR_CONNECTION_TIMEOUT=15"));
    if (!db.open()) {
        const QSqlError err = db.lastError();
        db = QSqlDatabase();
        QSqlDatabase::removeDatabase(m_name);
        QString text = err.databaseText().trimmed();
        if (text.isEmpty())
            text = err.text();
        throw StoreError(StoreError::Kind::NotConnected, err.nativeErrorCode().toInt(),
                         QStringLiteral("No se pudo abrir el origen de datos %1: %2").arg(m_spec.dataSource, text));
    }
    detectBackend();
    prepareSession();
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

std::shared_ptr<Connection> Connection::shared(const QString &connectString)
{
    const ConnectSpec spec = ConnectSpec::parse(connectString);
    const QString key = sharingKey(spec);
    auto &map = sharedConnections();
    if (auto existing = map.value(key).lock()) {
        if (existing->database().isOpen())
            return existing;
    }
    std::shared_ptr<Connection> conn(new Connection(spec));
    map.insert(key, conn);
    return conn;
}

std::shared_ptr<Connection> Connection::open(const QString &connectString)
{
    return std::shared_ptr<Connection>(new Connection(ConnectSpec::parse(connectString)));
}

QSqlDatabase Connection::database() const
{
    return QSqlDatabase::database(m_name, false);
}

void Connection::detectBackend()
{
    QString dbms;
    QSqlDatabase db = database();
    const QVariant handle = db.driver()->handle();
    if (handle.isValid() && qstrcmp(handle.typeName(), "SQLHANDLE") == 0) {
        SQLHANDLE hdbc = *static_cast<const SQLHANDLE *>(handle.data());
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
    QSqlQuery q(database());
    if (m_backend == Backend::SQLite) {
        // Several processes share the file: wait for a writer instead of failing at once.
        q.exec(QStringLiteral("PRAGMA busy_timeout=10000"));
    }
    if (m_spec.readOnly) {
        // Mode=Read: the store itself refuses writes on this connection, whatever sends them.
        q.exec(m_backend == Backend::SQLite ? QStringLiteral("PRAGMA query_only=ON")
                                            : QStringLiteral("SET SESSION CHARACTERISTICS AS TRANSACTION READ ONLY"));
    }
    q.finish();
    if (sessionSetup())
        sessionSetup()(*this);
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

ResultSet readAll(QSqlQuery &q, int maxRows, bool *more)
{
    ResultSet rs;
    const QSqlRecord rec = q.record();
    std::vector<std::optional<ColumnKind>> kinds;
    const StatementTables source = StatementTables::of(q.lastQuery());
    for (int i = 0; i < rec.count(); ++i) {
        rs.columns << rec.fieldName(i);
        kinds.push_back(source.resultKind(rec.fieldName(i)));
    }
    if (more)
        *more = false;
    const int n = rec.count();
    while (q.next()) {
        if (maxRows >= 0 && int(rs.rows.size()) >= maxRows) {
            if (more)
                *more = true;
            break;
        }
        Row row(n);
        for (int i = 0; i < n; ++i) {
            const QVariant v = q.value(i);
            row[i] = kinds[i] ? normalize(*kinds[i], v) : computedValue(v);
        }
        rs.rows.push_back(std::move(row));
    }
    if (q.lastError().isValid() && q.lastError().type() != QSqlError::NoError)
        throw StoreError::fromSql(q.lastError());
    q.finish();
    return rs;
}

ResultSet Connection::select(const QString &statement)
{
    return selectNative(translate(statement));
}

int Connection::execute(const QString &statement)
{
    return executeNative(translate(statement));
}

// Runs one statement, with its bound values, and hands the executed query to `use`. A
// failure is thrown as the store's error, after a dropped connection is opened again for
// the next statement.
template <typename Use>
auto Connection::run(const QString &sql, const QVariantList &values, Use use) -> decltype(use(std::declval<QSqlQuery &>()))
{
    if (m_spec.readOnly && mayWrite(sql))
        throw StoreError(StoreError::Kind::Store, 3251,
                         QStringLiteral("La conexión %1 es de solo lectura: no se modificó la base de datos.")
                             .arg(m_spec.dataSource));
    reopenIfClosed();
    QSqlError failure;
    {
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
        if (ok)
            return use(q);
        failure = q.lastError();
    }
    recoverIfLost(failure);
    throw StoreError::fromSql(failure, sql);
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

// A connection the server dropped is opened again for the next statement, so that a window
// left open while the server was away works once it is back. The statement that failed is
// not repeated: whether it went through is not known, and the user is told it failed. A
// connection inside a transaction is left as it is: the transaction is lost with it, and
// its owner ends it.
void Connection::recoverIfLost(const QSqlError &failure)
{
    if (m_inTransaction || !connectionLost(failure))
        return;
    QSqlDatabase db = database();
    db.close();
    if (db.open())
        prepareSession();
}

void Connection::reopenIfClosed()
{
    QSqlDatabase db = database();
    if (!db.isOpen() && !m_inTransaction && db.open())
        prepareSession();
}

void Connection::beginTransaction()
{
    QSqlDatabase db = database();
    if (!db.transaction())
        throw StoreError::fromSql(db.lastError());
    m_inTransaction = true;
}

void Connection::commit()
{
    QSqlDatabase db = database();
    m_inTransaction = false;
    if (!db.commit())
        throw StoreError::fromSql(db.lastError());
}

void Connection::rollback()
{
    QSqlDatabase db = database();
    m_inTransaction = false;
    db.rollback();
}

}  // namespace store
