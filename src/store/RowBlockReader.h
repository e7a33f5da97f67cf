#pragma once

#include "store/ResultSet.h"

#include <QMetaType>
#include <QSqlQuery>
#include <memory>
#include <vector>

namespace store {

// Reads the rows of a query the driver has just executed a block at a time, into buffers
// bound to its columns: one fetch call per block instead of one call per value, and each
// value taken in the C type the Qt driver would have asked for, so that the values are
// the same ones, of the same types, as QSqlQuery::value gives.
//
// A query whose columns can't all be bound to buffers of a known size (long text with no
// declared size, binary data) is not taken: attach() returns null, and the query is read
// value by value as before. A text longer than its column's declared size (SQLite does not
// hold a text to it) throws TooLong; the caller reads the statement again value by value.
// The query's statement is given back unbound when the reader goes.
class RowBlockReader {
public:
    struct TooLong {};
    struct FetchFailed {};  // the driver's diagnostic is on the query's statement handle

    static constexpr int kBlockRows = 256;

    // `rowsWanted` bounds the block when the caller reads no more than that (-1: all).
    static std::unique_ptr<RowBlockReader> attach(QSqlQuery &query, int rowsWanted = -1);
    ~RowBlockReader();
    RowBlockReader(const RowBlockReader &) = delete;
    RowBlockReader &operator=(const RowBlockReader &) = delete;

    // The next row's values as the driver gives them; false at the end of the result.
    bool next(Row &row);

private:
    struct Column {
        QMetaType type;
        short cType = 0;
        qsizetype width = 0;  // bytes of one value in the buffer
        std::vector<char> data;
        std::vector<long> lengths;  // SQLLEN per row
    };
    RowBlockReader(void *statement, std::vector<Column> columns, int blockRows);
    bool fetchBlock();
    QVariant valueAt(const Column &column, std::size_t row) const;

    void *m_statement;
    std::vector<Column> m_columns;
    int m_blockRows;
    unsigned long m_fetched = 0;  // SQLULEN: rows in the current block
    unsigned long m_position = 0;
    bool m_atEnd = false;
};

}  // namespace store
