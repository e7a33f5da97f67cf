#include "store/RowBlockReader.h"

#include <QDateTime>
#include <algorithm>
#include <cstring>
#include <QSqlField>
#include <QSqlRecord>
#include <QSqlResult>
#include <sql.h>
#include <sqlext.h>

namespace store {

static_assert(sizeof(SQLLEN) == sizeof(long) && sizeof(SQLULEN) == sizeof(unsigned long));

namespace {

// Buffers of one block stay within this many bytes, whatever the columns.
constexpr qsizetype kBlockBytes = 4 << 20;
// A text column is bound for at least this many characters: SQLite reports the declared
// size, which its texts may pass, and a longer buffer costs little.
constexpr qsizetype kLeastTextChars = 255;
// A text column declared longer than this is read value by value.
constexpr qsizetype kMostTextChars = 8000;

SQLHSTMT statementOf(QSqlQuery &q)
{
    const QVariant h = q.result() ? q.result()->handle() : QVariant();
    if (!h.isValid() || !h.data())
        return nullptr;
    return *static_cast<const SQLHSTMT *>(h.data());
}

// The C type the Qt driver reads a column of each fixed-size type in, and its bytes.
struct FixedBinding {
    int type;
    short cType;
    qsizetype width;
};
constexpr FixedBinding kFixedBindings[] = {
    {QMetaType::Int, SQL_C_SLONG, sizeof(SQLINTEGER)},
    {QMetaType::UInt, SQL_C_ULONG, sizeof(SQLUINTEGER)},
    {QMetaType::LongLong, SQL_C_SBIGINT, sizeof(SQLBIGINT)},
    {QMetaType::ULongLong, SQL_C_UBIGINT, sizeof(SQLUBIGINT)},
    {QMetaType::Double, SQL_C_DOUBLE, sizeof(SQLDOUBLE)},
    {QMetaType::Bool, SQL_C_BIT, sizeof(SQLCHAR)},
    {QMetaType::QDate, SQL_C_TYPE_DATE, sizeof(SQL_DATE_STRUCT)},
    {QMetaType::QTime, SQL_C_TYPE_TIME, sizeof(SQL_TIME_STRUCT)},
    {QMetaType::QDateTime, SQL_C_TYPE_TIMESTAMP, sizeof(SQL_TIMESTAMP_STRUCT)},
};

// The C type the Qt driver reads a column of this type in, and the bytes of one value.
bool bindingFor(QMetaType type, qsizetype declaredChars, short *cType, qsizetype *width)
{
    for (const FixedBinding &b : kFixedBindings) {
        if (b.type == type.id()) {
            *cType = b.cType;
            *width = b.width;
            return true;
        }
    }
    if (type.id() != QMetaType::QString || declaredChars <= 0 || declaredChars > kMostTextChars)
        return false;
    *cType = SQL_C_WCHAR;
    // A character beyond the 16-bit range takes two units, and the text seldom fills its
    // column: such a text that does not fit is read again (TooLong).
    *width = (std::max(declaredChars, kLeastTextChars) + 1) * qsizetype(sizeof(SQLWCHAR));
    return true;
}

template <typename T>
T cell(const std::vector<char> &data, qsizetype width, std::size_t row)
{
    T value;
    std::memcpy(&value, data.data() + qsizetype(row) * width, sizeof value);
    return value;
}

}  // namespace

std::unique_ptr<RowBlockReader> RowBlockReader::attach(QSqlQuery &query, int rowsWanted)
{
    SQLHSTMT stmt = statementOf(query);
    if (!stmt || !query.isActive() || !query.isSelect())
        return nullptr;
    const QSqlRecord record = query.record();
    std::vector<Column> columns(std::size_t(record.count()));
    qsizetype rowBytes = 0;
    for (int i = 0; i < record.count(); ++i) {
        Column &c = columns[std::size_t(i)];
        c.type = record.field(i).metaType();
        if (!bindingFor(c.type, record.field(i).length(), &c.cType, &c.width))
            return nullptr;
        rowBytes += c.width;
    }
    if (columns.empty())
        return nullptr;
    int blockRows = int(std::clamp<qsizetype>(kBlockBytes / std::max<qsizetype>(rowBytes, 1), 1, kBlockRows));
    if (rowsWanted >= 0)
        blockRows = std::min(blockRows, rowsWanted + 1);  // one more tells whether any are left
    for (Column &c : columns) {
        c.data.resize(std::size_t(c.width * blockRows));
        c.lengths.resize(std::size_t(blockRows));
    }
    if (!SQL_SUCCEEDED(SQLSetStmtAttr(stmt, SQL_ATTR_ROW_BIND_TYPE, SQLPOINTER(SQL_BIND_BY_COLUMN), 0)) ||
        !SQL_SUCCEEDED(SQLSetStmtAttr(stmt, SQL_ATTR_ROW_ARRAY_SIZE, SQLPOINTER(intptr_t(blockRows)), 0)))
        return nullptr;
    std::unique_ptr<RowBlockReader> reader(new RowBlockReader(stmt, std::move(columns), blockRows));
    if (!SQL_SUCCEEDED(SQLSetStmtAttr(stmt, SQL_ATTR_ROWS_FETCHED_PTR, &reader->m_fetched, 0)))
        return nullptr;
    for (std::size_t i = 0; i < reader->m_columns.size(); ++i) {
        Column &c = reader->m_columns[i];
        if (!SQL_SUCCEEDED(SQLBindCol(stmt, SQLUSMALLINT(i + 1), c.cType, c.data.data(), SQLLEN(c.width),
                                      reinterpret_cast<SQLLEN *>(c.lengths.data()))))
            return nullptr;
    }
    return reader;
}

RowBlockReader::RowBlockReader(void *statement, std::vector<Column> columns, int blockRows)
    : m_statement(statement), m_columns(std::move(columns)), m_blockRows(blockRows)
{
}

RowBlockReader::~RowBlockReader()
{
    // The statement goes back to the Qt driver as it had it: a row at a time, nothing bound.
    SQLFreeStmt(m_statement, SQL_UNBIND);
    SQLSetStmtAttr(m_statement, SQL_ATTR_ROWS_FETCHED_PTR, nullptr, 0);
    SQLSetStmtAttr(m_statement, SQL_ATTR_ROW_ARRAY_SIZE, SQLPOINTER(1), 0);
}

bool RowBlockReader::fetchBlock()
{
    m_fetched = 0;
    m_position = 0;
    const SQLRETURN r = SQLFetch(m_statement);
    if (r == SQL_NO_DATA) {
        m_atEnd = true;
        return false;
    }
    if (!SQL_SUCCEEDED(r))
        throw FetchFailed{};
    if (m_fetched == 0) {
        m_atEnd = true;
        return false;
    }
    return true;
}

bool RowBlockReader::next(Row &row)
{
    if (m_atEnd)
        return false;
    if (m_position >= m_fetched && !fetchBlock())
        return false;
    const std::size_t at = std::size_t(m_position++);
    row.resize(qsizetype(m_columns.size()));
    for (std::size_t i = 0; i < m_columns.size(); ++i)
        row[qsizetype(i)] = valueAt(m_columns[i], at);
    return true;
}

QVariant RowBlockReader::valueAt(const Column &c, std::size_t row) const
{
    const SQLLEN length = c.lengths[row];
    if (length == SQL_NULL_DATA)  // as the Qt driver gives a null: a text's of no type
        return c.cType == SQL_C_WCHAR ? QVariant() : QVariant(c.type);
    switch (c.cType) {
    case SQL_C_SLONG:
        return cell<SQLINTEGER>(c.data, c.width, row);
    case SQL_C_ULONG:
        return cell<SQLUINTEGER>(c.data, c.width, row);
    case SQL_C_SBIGINT:
        return qlonglong(cell<SQLBIGINT>(c.data, c.width, row));
    case SQL_C_UBIGINT:
        return qulonglong(cell<SQLUBIGINT>(c.data, c.width, row));
    case SQL_C_DOUBLE:
        return cell<SQLDOUBLE>(c.data, c.width, row);
    case SQL_C_BIT:
        return cell<SQLCHAR>(c.data, c.width, row) != 0;
    case SQL_C_TYPE_DATE: {
        const auto d = cell<SQL_DATE_STRUCT>(c.data, c.width, row);
        return QDate(d.year, d.month, d.day);
    }
    case SQL_C_TYPE_TIME: {
        const auto t = cell<SQL_TIME_STRUCT>(c.data, c.width, row);
        return QTime(t.hour, t.minute, t.second);
    }
    case SQL_C_TYPE_TIMESTAMP: {
        const auto t = cell<SQL_TIMESTAMP_STRUCT>(c.data, c.width, row);
        return QDateTime(QDate(t.year, t.month, t.day), QTime(t.hour, t.minute, t.second, int(t.fraction / 1000000)));
    }
    default: {
        // A length that does not fit the buffer (or is unknown) means the text was cut.
        const qsizetype room = c.width - qsizetype(sizeof(SQLWCHAR));
        if (length == SQL_NO_TOTAL || length < 0 || length > room)
            throw TooLong{};
        const auto *text = reinterpret_cast<const char16_t *>(c.data.data() + qsizetype(row) * c.width);
        return QString::fromUtf16(text, length / qsizetype(sizeof(SQLWCHAR)));
    }
    }
}

}  // namespace store
