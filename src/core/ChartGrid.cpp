#include "core/ChartGrid.h"

#include "store/Shape.h"
#include "store/StoreError.h"

#include <functional>
#include <stdexcept>

namespace core {

void ChartGrid::clear()
{
    m_rowLabels.clear();
    m_columnLabels.clear();
    m_cells.clear();
    m_rowLabelLevels = 0;
    m_columnLabelLevels = 0;
}

void ChartGrid::insertRow(int at)
{
    if (rowCount() >= kMaxCount)
        throw std::overflow_error("Desbordamiento: la gráfica admite como máximo 32767 filas.");
    if (at < 1 || at > rowCount() + 1)
        throw std::out_of_range("Fila fuera de la gráfica.");
    m_rowLabels.insert(at - 1, QString());
    m_cells.insert(m_cells.begin() + (at - 1), std::vector<std::optional<double>>(m_columnLabels.size()));
}

void ChartGrid::insertColumn(int at)
{
    if (columnCount() >= kMaxCount)
        throw std::overflow_error("Desbordamiento: la gráfica admite como máximo 32767 series.");
    if (at < 1 || at > columnCount() + 1)
        throw std::out_of_range("Serie fuera de la gráfica.");
    m_columnLabels.insert(at - 1, QString());
    for (auto &row : m_cells)
        row.insert(row.begin() + (at - 1), std::nullopt);
}

void ChartGrid::check(int row, int column) const
{
    if (row < 1 || row > rowCount() || column < 1 || column > columnCount())
        throw std::out_of_range("Celda fuera de la gráfica.");
}

QString ChartGrid::rowLabel(int row) const
{
    return row >= 1 && row <= rowCount() ? m_rowLabels.at(row - 1) : QString();
}

QString ChartGrid::columnLabel(int column) const
{
    return column >= 1 && column <= columnCount() ? m_columnLabels.at(column - 1) : QString();
}

void ChartGrid::setRowLabel(int row, const QString &label)
{
    if (row < 1 || row > rowCount())
        throw std::out_of_range("Fila fuera de la gráfica.");
    m_rowLabels[row - 1] = label;
}

void ChartGrid::setColumnLabel(int column, const QString &label)
{
    if (column < 1 || column > columnCount())
        throw std::out_of_range("Serie fuera de la gráfica.");
    m_columnLabels[column - 1] = label;
}

std::optional<double> ChartGrid::cell(int row, int column) const
{
    check(row, column);
    return m_cells[row - 1][column - 1];
}

void ChartGrid::setData(int row, int column, double value, int nullFlag)
{
    check(row, column);
    m_cells[row - 1][column - 1] = nullFlag ? std::nullopt : std::optional<double>(value);
}

void ChartGrid::addData(int row, int column, double value)
{
    check(row, column);
    auto &c = m_cells[row - 1][column - 1];
    c = c.value_or(0.0) + value;
}

void KeyedCollection::add(int item, const QString &key)
{
    m_items.insert(key.toCaseFolded(), item);
}

int KeyedCollection::item(const QString &key) const
{
    const auto it = m_items.constFind(key.toCaseFolded());
    if (it == m_items.constEnd())
        throw std::out_of_range("Invalid procedure call or argument");
    return *it;
}

bool ExisteClave(const KeyedCollection &collection, const QString &key)
{
    try {
        collection.item(key);
        return true;
    } catch (const std::out_of_range &) {
        return false;
    }
}

QVariant ValorSinNulo(const QVariant &value, bool esNumero)
{
    if (!value.isValid() || value.isNull())
        return esNumero ? QVariant(0.0) : QVariant(QString());
    return value;
}

void loadChartGrid(ChartGrid &grid, const store::ShapeRecordset &records, const QString &campoFila,
                   const QString &campoDato, const QString &campoColumna)
{
    const bool singleColumn = campoColumna.isEmpty();
    KeyedCollection rows;
    KeyedCollection columns;
    // The number of a row or column key: the next one, made and labelled by `make`, the
    // first time the key comes.
    const auto numberOf = [](KeyedCollection &keys, const QString &key, const std::function<void(int)> &make) {
        if (ExisteClave(keys, key))
            return keys.item(key);
        const int number = keys.count() + 1;
        make(number);
        keys.add(number, key);
        return number;
    };

    grid.clear();
    grid.insertColumnLabelLevel();
    grid.insertRowLabelLevel();
    if (singleColumn)
        grid.insertColumn(1);

    if (records.isEmpty())
        throw store::StoreError(store::StoreError::Kind::NoCurrentRow, 3021,
                                QStringLiteral("La consulta no devolvió ningún registro: no hay horas archivadas "
                                               "que cumplan las condiciones elegidas."));
    for (std::size_t r = 0; r < records.size(); ++r) {
        const QString rowKey = ValorSinNulo(records.value(r, campoFila), false).toString();
        const int row = numberOf(rows, rowKey, [&](int n) {
            grid.insertRow(n);
            grid.setRowLabel(n, rowKey);
        });
        int column = 1;
        if (!singleColumn) {
            const QString columnKey = ValorSinNulo(records.value(r, campoColumna), false).toString();
            column = numberOf(columns, columnKey, [&](int n) {
                grid.insertColumn(n);
                grid.setColumnLabel(n, columnKey);
            });
        }
        grid.addData(row, column, ValorSinNulo(records.value(r, campoDato), true).toDouble());
    }
}

}  // namespace core
