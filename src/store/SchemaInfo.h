#pragma once

#include <QString>
#include <QStringList>
#include <QVariant>
#include <optional>

namespace store {

// What the program knows of its own tables: keys, the key the store assigns, and the
// kind of every column. The data control writes rows through this (it never guesses a
// table's key) and reads values back in their kind whatever the driver reported.
enum class ColumnKind { Text, Integer, Decimal, Date, Time, YesNo };

struct TableInfo {
    QString name;
    QStringList key;        // primary key columns
    bool storeAssignsKey;   // the single key column is assigned by the store on insert
    QStringList columns;    // in the table's order
};

const TableInfo *tableInfo(const QString &table);   // case-insensitive; nullptr if unknown
std::optional<ColumnKind> columnKind(const QString &column);
std::optional<int> textLimit(const QString &column); // maximum length of a text column

// Values as they come from the driver (text '1'/'0', 'true', ISO strings ...) turned into
// the column's kind: bool, qlonglong, double, QDate, QTime, QString.
QVariant normalize(ColumnKind kind, const QVariant &value);
// A value typed by a user or set by code, checked and converted for writing to a column
// of that kind. Text that is not a number / date / time throws StoreError (BadValue).
QVariant convertForWrite(ColumnKind kind, const QVariant &value, const QString &column);

QStringList allTables();

}  // namespace store
