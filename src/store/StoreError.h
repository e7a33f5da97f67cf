#pragma once

#include "store/Backend.h"

#include <QString>
#include <stdexcept>

class QSqlError;

namespace store {

// What the driver said about a failure, read from its diagnostic records: the SQLSTATE
// (five characters), the store's native code and its own text.
struct Diagnostic {
    QString state;
    int native = 0;
    QString text;
    QString dataSource;  // the data source being opened, when the failure is an open's
};

// Every failure of the store layer is thrown as a StoreError: the store's own number and
// text when the store refused something, or one of our own kinds for what the layer
// itself detects (a row changed by another user, a row that is gone, no current row).
//
// A refusal of the store is classified once, here, from the SQLSTATE (PostgreSQL) or the
// native result code (SQLite), never from the driver's words; its description is one
// Spanish sentence that says what happened and what to do, the store's code, and the
// driver's own text in parentheses on the next line.
class StoreError : public std::runtime_error {
public:
    enum class Kind {
        Store,         // the store or the driver refused the statement
        NotConnected,  // the data source could not be opened
        Conflict,      // optimistic lock: the row changed since it was read
        RowGone,       // the row was removed by someone else
        NoCurrentRow,  // BOF/EOF: the classic "no current record" (number 3021)
        BadValue,      // a value that does not fit its column (not a number, not a date)
    };
    enum class Fault {
        Other,
        ReadOnly,          // the store file or its folder cannot be written
        DiskFull,
        Busy,              // another user holds the store (SQLite lock, lock timeout)
        Damaged,           // the file is damaged or not a database
        CannotOpen,        // the file or its folder is missing or unreadable
        NoDataSource,      // no data source of that name
        Unreachable,       // the server could not be reached when connecting
        ConnectionLost,    // the connection broke during the work
        Reconnected,       // it broke, and a new one is open on the server that answers now
        StandbyOnly,       // only a read-only standby answers (the primary is lost or not yet replaced)
        LoginRefused,      // the server refused the data source's account
        PermissionDenied,  // the account may not do this
        Serialization,     // serialization failure or deadlock: nothing was done, try again
        TooLong,
        Duplicate,
        MissingValue,
        ForeignKey,
        InvalidValue,      // a check or a format the value does not meet
    };

    StoreError(Kind kind, int number, const QString &description);

    static StoreError fromSql(const QSqlError &error, const QString &statement = {});
    // A refusal of the store with what the driver's diagnostics say.
    // `connectionDead`: the driver reports the connection dead after the failure.
    static StoreError fromDiagnostic(Backend backend, const Diagnostic &diag, const QSqlError &error, bool connecting,
                                     bool connectionDead = false);
    static StoreError noCurrentRow();
    // A write refused because another user changed the row since it was read.
    static StoreError changedSinceRead();
    // The error of a statement whose connection broke, once a new connection is open: the
    // statement was not sent again, and the user is asked to repeat what they did.
    static StoreError reconnectedAfter(const StoreError &lost);
    static Fault classify(Backend backend, const QString &state, int native, const QString &text);
    // The Spanish sentence for a fault (what happened and what to do).
    static QString sentence(Fault fault, const QString &detail = {});

    Kind kind() const { return m_kind; }
    int number() const { return m_number; }
    const QString &description() const { return m_description; }
    Fault fault() const { return m_fault; }
    const QString &state() const { return m_state; }

private:
    Kind m_kind;
    int m_number;
    QString m_description;
    Fault m_fault = Fault::Other;
    QString m_state;
    QString m_said;  // the store's code and the driver's text, after the sentence
};

}  // namespace store
