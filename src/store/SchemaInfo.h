#pragma once

#include <QString>
#include <QStringList>
#include <QVariant>
#include <QVector>
#include <optional>

namespace store {

// What the program knows of its own tables: keys, the key the store assigns, and the
// kind of every column. This catalogue is the one description of the schema the code
// reads: the data control writes rows through it (it never guesses a table's key) and
// reads values back in their kind whatever the driver reported; the dialect translator
// asks it which columns hold text or yes/no. The DDL files under schema/ create the same
// tables, and a store test compares what each backend reports with this catalogue.
enum class ColumnKind { Text, Integer, Decimal, Date, Time, YesNo };

struct ColumnInfo {
    QString name;
    ColumnKind kind;
    int textLimit;  // the most characters a text column takes; 0 for no limit
    bool required;  // the store refuses a row without a value here (keys, yes/no columns ...)
};

struct TableInfo {
    QString name;
    QStringList key;        // primary key columns
    bool storeAssignsKey;   // the single key column is assigned by the store on insert
    QStringList columns;    // in the table's order
    QVector<ColumnInfo> columnInfo;  // the same columns, in the same order

    const ColumnInfo *column(const QString &name) const;  // case-insensitive; nullptr if absent
};

const TableInfo *tableInfo(const QString &table);   // case-insensitive; nullptr if unknown
// A column is known by its table and its name: two tables may use one name for columns of
// different kinds, and a computed column may be given the name of some table's column.
std::optional<ColumnKind> columnKind(const QString &table, const QString &column);
std::optional<int> textLimit(const QString &table, const QString &column);  // text columns with a limit

// Values as they come from the driver (text '1'/'0', 'true', ISO strings ...) turned into
// the column's kind: bool, qlonglong, double, QDate, QTime, QString.
QVariant normalize(ColumnKind kind, const QVariant &value);
// A value typed by a user or set by code, checked and converted for writing to a column
// of that kind. Text that is not a number / date / time throws StoreError (BadValue).
QVariant convertForWrite(ColumnKind kind, const QVariant &value, const QString &column);

QStringList allTables();
// Tables the store keeps for itself through its own triggers (the history of the hour
// records, the close's marker on PostgreSQL): their columns differ per backend and no
// window's statement names them, so they stand in the schema files alone.
QStringList storeOwnedTables();

}  // namespace store
