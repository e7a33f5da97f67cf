#pragma once

#include "store/Backend.h"
#include "store/Connection.h"
#include "store/ResultSet.h"

#include <QDate>
#include <QString>
#include <QVariantList>
#include <QVariantMap>
#include <memory>

namespace tests {

// The test process's own data source RRHHODBC: an SQLite file in a temporary folder, or,
// when TEMPALIA_PG_HOST / TEMPALIA_PG_PORT / TEMPALIA_PG_USER are set, a database of its
// own on that PostgreSQL server. ODBCSYSINI and ODBCINI point unixODBC at files written
// here, so no data source of the machine or the user is touched.
void initTestProcess();
void finishTestProcess();
store::Backend testBackend();
QString testOdbcDir();
// PostgreSQL runs only: one more data source on the process's database, logging in as
// `user` (to try what a role may do).
void addPostgresDataSource(const QString &name, const QString &user, const QString &password);  // the folder holding odbc.ini / odbcinst.ini (for child processes)

// A fresh store for one test function: every table dropped and created again, with the
// demo rows unless asked otherwise. Checks go through a connection of the fixture's own.
class TempStore {
public:
    enum class Content { Empty, Schema, Demo };
    explicit TempStore(Content content = Content::Demo, const QDate &today = QDate::currentDate());
    ~TempStore();

    store::Connection &conn() { return *m_conn; }
    store::Backend backend() const { return m_conn->backend(); }
    // A statement in the system's dialect, fully read.
    store::ResultSet select(const QString &statement);
    store::ResultSet selectNative(const QString &sql, const QVariantList &values = {});
    int execNative(const QString &sql, const QVariantList &values = {});
    QVariant scalar(const QString &sql, const QVariantList &values = {});
    int count(const QString &table, const QString &where = {}, const QVariantList &values = {});
    // Where the one row `sql` gives differs from `expected` (column -> value):
    // "Column: stored != expected" for each, joined by "; ", or what is wrong when there is
    // not exactly one row; empty when all match. The stored value is read in the expected
    // value's type; an invalid expected value wants a null. Compared with QString() in a
    // test, a failure names every column at fault.
    QString rowDifferences(const QString &sql, const QVariantMap &expected, const QVariantList &values = {});

private:
    std::shared_ptr<store::Connection> m_conn;
};

// An approved close of the area DOC with that cut-off, as the super user leaves it; returns
// its CieMesId.
qlonglong approvedClose(TempStore &db, const QDate &cutOff);
// A copy of an hour row (3 hours) dated `date`: it gets the highest key and stands last in
// the table, so that a close meets it after the area's older rows. Returns its HorId.
qlonglong copyOfHourRow(TempStore &db, qlonglong horId, const QDate &date);
// A TCP port on the loopback address that the system reports free (0 if none).
int freePort();

}  // namespace tests

// main() for a test program: the application with the error boundary, the process's
// store, and the scripted dialogs installed for the whole run.
#define TEMPALIA_TEST_MAIN(TestClass)                                \
    int main(int argc, char *argv[])                                 \
    {                                                                \
        ui::Application app(argc, argv);                             \
        tests::initTestProcess();                                    \
        int result;                                                  \
        {                                                            \
            TestClass tc;                                            \
            result = QTest::qExec(&tc, argc, argv);                  \
        }                                                            \
        tests::finishTestProcess();                                  \
        return result;                                               \
    }
