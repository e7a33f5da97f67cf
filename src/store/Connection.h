#pragma once

#include "store/Backend.h"
#include "store/ResultSet.h"
#include "store/SchemaInfo.h"

#include <QElapsedTimer>
#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlQuery>
#include <QString>
#include <QVariantList>
#include <functional>
#include <memory>
#include <optional>

namespace store {

// One of the three connect strings of the system, parsed. The data source is opened by its
// bare name; no option of the string is handed to the driver as is.
struct ConnectSpec {
    QString dataSource;     // DSN / Data Source
    bool shaping = false;   // PROVIDER=MSDataShape: SHAPE statements run in the client
    bool readOnly = false;  // Mode=Read
    QString userId;         // User ID / uid, informative only: the data source holds the account
    // Results are read whole in one go, without a server cursor (see Connection::Reading).
    bool wholeResults = false;

    static ConnectSpec parse(const QString &connectString);
};

inline constexpr const char *kDefaultConnectString = "DSN=RRHHODBC";

// A physical connection to the store through QODBC. Statements are given in the system's
// dialect and translated for the backend here; the "Native" calls take backend SQL and
// bound values (used by the data control for its own writes).
class StoreError;
class SqliteChangeWatch;
class RowBlockReader;
struct Diagnostic;

class Connection {
public:
    // How long a writer waits for another one on the SQLite file before "busy".
    static constexpr int kBusyTimeoutMs = 5000;
    // A server connection idle this long is probed before a write is sent on it.
    static constexpr int kIdleProbeMs = 1000;

    // How a server hands over the rows of a query. Through a cursor (the data source's own
    // setting) the rows come a page at a time, but PostgreSQL never runs a cursor's query in
    // parallel. A statement whose result is small and read whole at once (totals, groups)
    // goes faster on a connection that reads each result whole. SQLite has no such cursor:
    // both readings are the same connection there.
    enum class Reading { Cursor, Whole };

    ~Connection();
    Connection(const Connection &) = delete;
    Connection &operator=(const Connection &) = delete;

    // The process shares one physical connection per connect string among data controls.
    static std::shared_ptr<Connection> shared(const QString &connectString = QLatin1String(kDefaultConnectString),
                                              Reading reading = Reading::Cursor);
    // A connection of its own, closed when the last reference goes (the month close).
    static std::shared_ptr<Connection> open(const QString &connectString = QLatin1String(kDefaultConnectString),
                                            Reading reading = Reading::Cursor);

    // What the program tells the store on each connection right after it opens or reopens
    // (who is logged in, see store/ProgramLogin.h). Setting it runs it at once on the shared
    // connections already open. It must not throw.
    using SessionSetup = std::function<void(Connection &)>;
    static void setSessionSetup(SessionSetup setup);
    // Sees the text of every statement sent to the store, once each, before it runs (the
    // tests count with it how often a path reads). Empty: nothing is told.
    using StatementObserver = std::function<void(const QString &sql)>;
    static void setStatementObserver(StatementObserver observer);

    Backend backend() const { return m_backend; }
    const ConnectSpec &spec() const { return m_spec; }
    QSqlDatabase database() const;

    QString translate(const QString &statement) const;

    ResultSet select(const QString &statement);
    int execute(const QString &statement);  // rows affected
    // At most maxRows rows (-1: all); *more tells whether rows were left unread.
    ResultSet selectNative(const QString &sql, const QVariantList &values = {}, int maxRows = -1,
                           bool *more = nullptr);
    int executeNative(const QString &sql, const QVariantList &values = {});

    // A mark that changes whenever a change to the store is committed, by this program or
    // by any other, so that a reader that finds it as it was knows its rows are still the
    // store's. On SQLite it is the file's data version; on PostgreSQL the server's current
    // snapshot, which names every transaction committed so far (a commit anywhere on the
    // server changes it, which only costs a read). Empty when that can't be told: inside a
    // transaction of this connection, or while another writer holds the file.
    std::optional<QString> changeMarker();

    void beginTransaction();
    void commit();
    void rollback();
    bool inTransaction() const { return m_inTransaction; }

private:
    friend class OpenQuery;
    explicit Connection(const ConnectSpec &spec);
    template <typename Use>
    auto run(const QString &sql, const QVariantList &values, Use use) -> decltype(use(std::declval<QSqlQuery &>()));
    void detectBackend();
    void prepareSession();
    void prepareSqliteSession();
    void reopen();
    void probe();
    StoreError transactionError(const QSqlDatabase &db);
    StoreError statementError(const QSqlQuery &q);
    StoreError statementError(const Diagnostic &diagnostic, const QSqlQuery &q);
    std::optional<QString> serverSnapshot();

    ConnectSpec m_spec;
    QString m_name;
    Backend m_backend = Backend::SQLite;
    bool m_inTransaction = false;
    bool m_dead = false;     // a statement found the connection lost
    QElapsedTimer m_idle;    // since the last statement that went through
    std::unique_ptr<SqliteChangeWatch> m_changes;  // opened at the first changeMarker()
    bool m_changesOpened = false;
};

// The rows of an executed query, handed over as they are asked for, each value in its
// column's kind: a block at a time where the columns allow it (RowBlockReader), else value by
// value; a text too long for its block's buffer makes the statement run again, read value by
// value from where it stood. The query is finished at the end of its result. A failed read
// throws the driver's diagnostic (see Connection::statementError).
class QueryRows {
public:
    // `rowsWanted` bounds the first block (-1: all); `names` receives the column names.
    explicit QueryRows(QSqlQuery &query, int rowsWanted = -1, QStringList *names = nullptr);
    ~QueryRows();
    QueryRows(const QueryRows &) = delete;
    QueryRows &operator=(const QueryRows &) = delete;

    // The next `count` rows; fewer at the end of the result.
    std::vector<Row> next(int count);
    int position() const { return m_position; }  // rows handed over so far
    bool atEnd() const { return m_atEnd; }

private:
    void end();

    QSqlQuery &m_query;
    std::vector<std::optional<ColumnKind>> m_kinds;
    std::unique_ptr<RowBlockReader> m_block;  // null once the rows are read value by value
    int m_position = 0;
    bool m_atEnd = false;
};

// Reads the rows of an executed query into a result set (at most maxRows, -1 for all),
// normalising schema columns; *more tells whether rows were left unread.
ResultSet readAll(QSqlQuery &query, int maxRows = -1, bool *more = nullptr);

// A query left open on its connection, its rows handed over a few at a time as they are
// asked for: a long result read in stretches costs one statement, not one per stretch.
// While it is open its connection holds the read (a snapshot of the SQLite file, a cursor
// in a transaction on a server), so it belongs on a connection of its own and should be
// closed as soon as its reader can do without it. Nothing is mended here: a read that fails
// throws, and the reader runs the stretch it wanted on a connection that mends itself.
class OpenQuery {
public:
    OpenQuery(std::shared_ptr<Connection> connection, const QString &sql);  // runs it
    ~OpenQuery();
    OpenQuery(const OpenQuery &) = delete;
    OpenQuery &operator=(const OpenQuery &) = delete;

    // The next `count` rows; fewer at the end of the result.
    std::vector<Row> next(int count);
    int position() const { return m_rows->position(); }  // rows handed over so far
    bool atEnd() const { return m_rows->atEnd(); }

private:
    std::shared_ptr<Connection> m_connection;
    std::unique_ptr<QSqlQuery> m_query;
    std::unique_ptr<QueryRows> m_rows;
};

}  // namespace store
