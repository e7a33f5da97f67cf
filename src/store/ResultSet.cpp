#include "store/ResultSet.h"

namespace store {

int ResultSet::columnIndex(const QString &name) const
{
    for (int i = 0; i < columns.size(); ++i)
        if (columns.at(i).compare(name, Qt::CaseInsensitive) == 0)
            return i;
    return -1;
}

QVariant ResultSet::value(std::size_t row, const QString &column) const
{
    const int c = columnIndex(column);
    if (c < 0 || row >= rows.size())
        return {};
    return rows[row].value(c);
}

}  // namespace store
