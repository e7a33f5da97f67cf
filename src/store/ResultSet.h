#pragma once

#include <QStringList>
#include <QVariant>
#include <QVector>
#include <vector>

namespace store {

using Row = QVector<QVariant>;

// A fully read result: column names as the store returned them and the rows in order.
// Values are normalised to the column's kind (QDate, QTime, bool, double, qlonglong,
// QString) where the column is one of the schema's.
struct ResultSet {
    QStringList columns;
    std::vector<Row> rows;

    // Case-insensitive; the first column of that name when a join returns it twice. -1 if absent.
    int columnIndex(const QString &name) const;
    QVariant value(std::size_t row, const QString &column) const;
};

}  // namespace store
