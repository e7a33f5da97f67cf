#pragma once

#include <QString>
#include <stdexcept>

class QSqlError;

namespace store {

// Every failure of the store layer is thrown as a StoreError: the store's own number and
// text when the store refused something, or one of our own kinds for what the layer
// itself detects (a row changed by another user, a row that is gone, no current row).
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

    StoreError(Kind kind, int number, const QString &description);

    static StoreError fromSql(const QSqlError &error, const QString &statement = {});
    static StoreError noCurrentRow();

    Kind kind() const { return m_kind; }
    int number() const { return m_number; }
    const QString &description() const { return m_description; }

private:
    Kind m_kind;
    int m_number;
    QString m_description;
};

}  // namespace store
