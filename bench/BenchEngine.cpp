#include "BenchEngine.h"

#include <QDir>
#include <QFile>
#include <QHash>
#include <QTextStream>

#include <libpq-fe.h>
#include <sqlite3.h>

#include <stdexcept>

namespace bench {
namespace {

// The keys of one data source in an odbc.ini, lower-cased.
QHash<QString, QString> dataSourceKeys(const QString &name)
{
    QString path = qEnvironmentVariable("ODBCINI");
    if (path.isEmpty() && !qEnvironmentVariable("ODBCSYSINI").isEmpty())
        path = qEnvironmentVariable("ODBCSYSINI") + QStringLiteral("/odbc.ini");
    if (path.isEmpty() || !QFile::exists(path))
        path = QDir::homePath() + QStringLiteral("/.odbc.ini");
    QFile f(path);
    if (!f.open(QIODevice::ReadOnly | QIODevice::Text))
        throw std::runtime_error("no se pudo leer " + path.toStdString());
    QHash<QString, QString> keys;
    bool inside = false;
    QTextStream in(&f);
    while (!in.atEnd()) {
        const QString line = in.readLine().trimmed();
        if (line.startsWith(QLatin1Char('['))) {
            inside = line.mid(1, line.size() - 2).compare(name, Qt::CaseInsensitive) == 0;
        } else if (inside && line.contains(QLatin1Char('='))) {
            const int eq = int(line.indexOf(QLatin1Char('=')));
            keys.insert(line.left(eq).trimmed().toLower(), line.mid(eq + 1).trimmed());
        }
    }
    if (keys.isEmpty())
        throw std::runtime_error("el origen de datos " + name.toStdString() + " no está en " + path.toStdString());
    return keys;
}

class SqliteEngine : public Engine {
public:
    explicit SqliteEngine(QString file) : m_file(std::move(file))
    {
        if (sqlite3_open_v2(m_file.toUtf8().constData(), &m_db, SQLITE_OPEN_READWRITE, nullptr) != SQLITE_OK)
            throw std::runtime_error("sqlite3_open: " + m_file.toStdString());
        sqlite3_busy_timeout(m_db, 10000);
    }
    ~SqliteEngine() override { sqlite3_close(m_db); }

    long query(const QString &sql, long maxRows) override
    {
        long n = 0;
        run(sql, [&](sqlite3_stmt *st) {
            const int cols = sqlite3_column_count(st);
            for (int c = 0; c < cols; ++c)
                sqlite3_column_text(st, c);
            return maxRows < 0 || ++n < maxRows;
        });
        return n;
    }

    std::vector<QStringList> rows(const QString &sql) override
    {
        std::vector<QStringList> out;
        run(sql, [&](sqlite3_stmt *st) {
            QStringList row;
            for (int c = 0; c < sqlite3_column_count(st); ++c)
                row << QString::fromUtf8(reinterpret_cast<const char *>(sqlite3_column_text(st, c)));
            out.push_back(row);
            return true;
        });
        return out;
    }

    void connectOnce() override
    {
        sqlite3 *db = nullptr;
        sqlite3_open_v2(m_file.toUtf8().constData(), &db, SQLITE_OPEN_READWRITE, nullptr);
        sqlite3_exec(db, "SELECT 1 FROM USUARIOS LIMIT 1", nullptr, nullptr, nullptr);
        sqlite3_close(db);
    }

private:
    template <class F>
    void run(const QString &sql, F &&eachRow)
    {
        const QByteArray text = sql.toUtf8();
        const char *tail = text.constData();
        while (tail && *tail) {
            sqlite3_stmt *st = nullptr;
            if (sqlite3_prepare_v2(m_db, tail, -1, &st, &tail) != SQLITE_OK)
                throw std::runtime_error(std::string("sqlite3: ") + sqlite3_errmsg(m_db) + " in: " + sql.toStdString());
            if (!st)
                break;
            int rc;
            while ((rc = sqlite3_step(st)) == SQLITE_ROW)
                if (!eachRow(st)) {  // enough rows: the rest is never stepped to
                    rc = SQLITE_DONE;
                    break;
                }
            sqlite3_finalize(st);
            if (rc != SQLITE_DONE)
                throw std::runtime_error(std::string("sqlite3: ") + sqlite3_errmsg(m_db) + " in: " + sql.toStdString());
        }
    }

    QString m_file;
    sqlite3 *m_db = nullptr;
};

class PgEngine : public Engine {
public:
    explicit PgEngine(QByteArray conninfo) : m_conninfo(std::move(conninfo))
    {
        m_db = PQconnectdb(m_conninfo.constData());
        if (PQstatus(m_db) != CONNECTION_OK)
            throw std::runtime_error(std::string("libpq: ") + PQerrorMessage(m_db));
    }
    ~PgEngine() override { PQfinish(m_db); }

    long query(const QString &sql, long maxRows) override
    {
        if (maxRows >= 0) {
            // The first rows only, through a cursor, as a client that reads a result in
            // chunks does.
            PQclear(run(QStringLiteral("BEGIN")));
            PQclear(run(QStringLiteral("DECLARE bench_first NO SCROLL CURSOR FOR ") + sql));
            const long n = read(run(QStringLiteral("FETCH %1 FROM bench_first").arg(maxRows)));
            PQclear(run(QStringLiteral("COMMIT")));
            return n;
        }
        return read(run(sql));
    }

    long read(PGresult *r)
    {
        long n = PQntuples(r);
        const int cols = PQnfields(r);
        volatile char sink = 0;
        for (int i = 0; i < n; ++i)
            for (int c = 0; c < cols; ++c)
                sink = char(sink ^ *PQgetvalue(r, i, c));
        PQclear(r);
        return n;
    }

    std::vector<QStringList> rows(const QString &sql) override
    {
        PGresult *r = run(sql);
        std::vector<QStringList> out;
        for (int i = 0; i < PQntuples(r); ++i) {
            QStringList row;
            for (int c = 0; c < PQnfields(r); ++c)
                row << QString::fromUtf8(PQgetvalue(r, i, c));
            out.push_back(row);
        }
        PQclear(r);
        return out;
    }

    void connectOnce() override
    {
        PGconn *db = PQconnectdb(m_conninfo.constData());
        PQclear(PQexec(db, "SELECT 1 FROM USUARIOS LIMIT 1"));
        PQfinish(db);
    }

private:
    PGresult *run(const QString &sql)
    {
        PGresult *r = PQexec(m_db, sql.toUtf8().constData());
        const auto status = PQresultStatus(r);
        if (status != PGRES_TUPLES_OK && status != PGRES_COMMAND_OK) {
            const std::string message = std::string("libpq: ") + PQresultErrorMessage(r) + " in: " + sql.toStdString();
            PQclear(r);
            throw std::runtime_error(message);
        }
        return r;
    }

    QByteArray m_conninfo;
    PGconn *m_db = nullptr;
};

QByteArray pgValue(const QString &v)
{
    QString out = v;
    out.replace(QLatin1Char('\\'), QStringLiteral("\\\\")).replace(QLatin1Char('\''), QStringLiteral("\\'"));
    return (QLatin1Char('\'') + out + QLatin1Char('\'')).toUtf8();
}

}  // namespace

QString Engine::scalar(const QString &sql)
{
    const auto r = rows(sql);
    return r.empty() ? QString() : r.front().value(0);
}

std::unique_ptr<Engine> Engine::forDataSource(store::Backend backend, const QString &dataSource)
{
    const auto keys = dataSourceKeys(dataSource);
    if (backend == store::Backend::SQLite)
        return std::make_unique<SqliteEngine>(keys.value(QStringLiteral("database")));
    QByteArray conninfo = "host=" + pgValue(keys.value(QStringLiteral("servername"), QStringLiteral("127.0.0.1"))) +
                          " port=" + pgValue(keys.value(QStringLiteral("port"), QStringLiteral("5432"))) +
                          " dbname=" + pgValue(keys.value(QStringLiteral("database"))) +
                          " user=" + pgValue(keys.value(QStringLiteral("username")));
    if (!keys.value(QStringLiteral("password")).isEmpty())
        conninfo += " password=" + pgValue(keys.value(QStringLiteral("password")));
    return std::make_unique<PgEngine>(conninfo);
}

}  // namespace bench
