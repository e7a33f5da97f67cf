#pragma once

// The store's engine reached straight through its own C API (sqlite3 or libpq), on the
// same store as the data source RRHHODBC: the reference the program's paths are timed
// against. The data source is read from the unixODBC files the program itself uses
// (ODBCINI, else ODBCSYSINI/odbc.ini, else ~/.odbc.ini).

#include "store/Backend.h"

#include <QString>
#include <QStringList>
#include <memory>
#include <vector>

namespace bench {

class Engine {
public:
    virtual ~Engine() = default;
    // Runs a statement in the backend's own SQL and reads every value of every row, or of
    // its first `maxRows` rows only (the rest is never fetched from the store); returns the
    // number of rows read. Throws std::runtime_error on failure.
    virtual long query(const QString &sql, long maxRows = -1) = 0;
    // Runs a statement that returns no rows.
    virtual void exec(const QString &sql) { query(sql); }
    // The rows of a small result, as text.
    virtual std::vector<QStringList> rows(const QString &sql) = 0;
    // The first value of the first row.
    QString scalar(const QString &sql);
    // Opens and closes one connection of its own (the reference for the start-up path).
    virtual void connectOnce() = 0;

    static std::unique_ptr<Engine> forDataSource(store::Backend backend,
                                                 const QString &dataSource = QStringLiteral("RRHHODBC"));
};

}  // namespace bench
