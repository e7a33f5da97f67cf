#pragma once

#include <QHash>
#include <QString>
#include <QStringList>
#include <QVariant>
#include <optional>
#include <vector>

namespace store {
class ShapeRecordset;
}

namespace core {

// The data grid of the chart: rows, columns (the series), one label per row and per column,
// and a number in each cell. Rows and columns are numbered from 1, as 16-bit numbers, so a
// grid holds at most 32767 of each. A cell that nothing was stored in holds no value
// (`cell` gives nullopt); it is drawn as 0.
class ChartGrid {
public:
    static constexpr int kMaxCount = 32767;

    int rowCount() const { return int(m_rowLabels.size()); }
    int columnCount() const { return int(m_columnLabels.size()); }
    // Levels of labels (one each after loading).
    int rowLabelLevels() const { return m_rowLabelLevels; }
    int columnLabelLevels() const { return m_columnLabelLevels; }

    void clear();
    void insertRowLabelLevel() { ++m_rowLabelLevels; }
    void insertColumnLabelLevel() { ++m_columnLabelLevels; }
    // Insert an empty row (column) at `at`, 1-based; those after it move up by one.
    // Throws std::overflow_error beyond kMaxCount.
    void insertRow(int at);
    void insertColumn(int at);

    QString rowLabel(int row) const;
    QString columnLabel(int column) const;
    void setRowLabel(int row, const QString &label);
    void setColumnLabel(int column, const QString &label);
    const QStringList &rowLabels() const { return m_rowLabels; }
    const QStringList &columnLabels() const { return m_columnLabels; }

    std::optional<double> cell(int row, int column) const;
    double value(int row, int column) const { return cell(row, column).value_or(0.0); }
    // The set-data operation; a null flag other than 0 empties the cell.
    void setData(int row, int column, double value, int nullFlag = 0);
    // Adds to the cell (an empty cell counts as 0).
    void addData(int row, int column, double value);

    bool isEmpty() const { return m_rowLabels.isEmpty(); }

private:
    void check(int row, int column) const;

    QStringList m_rowLabels;
    QStringList m_columnLabels;
    std::vector<std::vector<std::optional<double>>> m_cells;  // [row][column]
    int m_rowLabelLevels = 0;
    int m_columnLabelLevels = 0;
};

// A keyed collection of numbers whose keys are compared without regard to letter case.
// item() of an absent key throws std::out_of_range (the collection's "invalid argument").
class KeyedCollection {
public:
    void add(int item, const QString &key);
    int item(const QString &key) const;
    int count() const { return int(m_items.size()); }

private:
    QHash<QString, int> m_items;
};

// The routines of the chart window that work on data alone.
// True if the collection holds the key: asks for the item and takes the failure as absence.
bool ExisteClave(const KeyedCollection &collection, const QString &key);
// The value, or for a Null 0 when esNumero and an empty text otherwise.
QVariant ValorSinNulo(const QVariant &value, bool esNumero);

// Fills `grid` from the records of `records` as the chart window's CargarGrafica does: a row
// per distinct value of campoFila, a column per distinct value of campoColumna (or one
// column when it is empty), both in order of first occurrence and labelled with the value,
// values compared without regard to case. The campoDato values of records that fall on the
// same cell are added together. Throws on a name the records lack, on a result without
// records (store::StoreError, "no current record") and on more than 32767 rows or columns;
// what was loaded until then stays in the grid.
void loadChartGrid(ChartGrid &grid, const store::ShapeRecordset &records, const QString &campoFila,
                   const QString &campoDato, const QString &campoColumna);

}  // namespace core
