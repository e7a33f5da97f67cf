#pragma once

// The in-memory workbook that ExcelVb drives: sheets of cells, the active sheet, each
// worksheet's selection and active cell, chart sheets and an autofilter range. It stands in
// for the spreadsheet application; WorkbookXlsx writes and reads it as .xlsx.
//
// Rows and columns are 1-based, as the spreadsheet numbers them. Formulas are kept in R1C1
// form, the form they are written in, so that a formula keeps meaning the same cells when
// rows are sorted; they turn into A1 form for the file and the screen.

#include <QDate>
#include <QString>
#include <QVariant>

#include <exception>
#include <functional>
#include <map>
#include <optional>
#include <utility>
#include <vector>

namespace output {

// A failure of the workbook (a bad cell name, a missing sheet, a file that can't be
// written or read). The message is Spanish and fit for a message box.
class WorkbookError : public std::exception {
public:
    explicit WorkbookError(const QString &message);
    const QString &message() const { return m_message; }
    const char *what() const noexcept override { return m_utf8.constData(); }

private:
    QString m_message;
    QByteArray m_utf8;
};

constexpr int kMaxRows = 1048576;
constexpr int kMaxColumns = 16384;

// "A" for 1, "Z" for 26, "AA" for 27...
QString columnName(int column);
// 1 for "A" (case-insensitive); 0 when the text is not a column name within the limits.
int columnNumber(QStringView name);

// A rectangle of cells.
struct CellRange {
    int top = 1, left = 1, bottom = 1, right = 1;

    static CellRange cell(int row, int column) { return {row, column, row, column}; }
    int rows() const { return bottom - top + 1; }
    int columns() const { return right - left + 1; }
    bool contains(int row, int column) const
    {
        return row >= top && row <= bottom && column >= left && column <= right;
    }
    bool isCell() const { return top == bottom && left == right; }
    // "B3" or "A1:D4"; with dollars when `absolute`.
    QString toA1(bool absolute = false) const;
    bool operator==(const CellRange &) const = default;
};

// Reads "A1", "$A$1", "a1:d4", "D4:A1" (normalised), "A:C" (whole columns) or "3:5" (whole
// rows). Throws WorkbookError for anything else.
CellRange parseRange(const QString &text);

struct Cell {
    enum class Kind { Empty, Number, Text, Date, Boolean, Formula };
    Kind kind = Kind::Empty;
    QVariant value;   // double, QString, QDate or bool; for a formula read from a file, its last value
    QString formula;  // R1C1 form with its "=", for Kind::Formula

    bool isEmpty() const { return kind == Kind::Empty; }
    // The cell as the sheet shows it (Spanish settings; a formula shows its A1 text when it
    // has no value). row and column place the cell, for the formula.
    QString displayText(int row, int column) const;
};

// What a pie needs of a chart's source: the labels and the values of its first series.
struct ChartSlice {
    QString label;
    double value = 0;
};

struct ChartSpec {
    static constexpr int Pie3D = -4102;
    static constexpr int Pie = 5;
    int type = Pie3D;
    QString sourceSheet;
    CellRange source;
    bool byColumns = true;
    bool hasTitle = true;
};

struct Sheet {
    enum class Type { Worksheet, Chart };
    Type type = Type::Worksheet;
    QString name;
    std::map<std::pair<int, int>, Cell> cells;  // (row, column); only cells that hold something
    CellRange selection;
    int activeRow = 1, activeColumn = 1;
    std::optional<CellRange> autoFilter;
    QString pivotTable;  // name of the pivot table this sheet holds, if any
    std::optional<ChartSpec> chart;

    bool isChart() const { return type == Type::Chart; }
    const Cell &cell(int row, int column) const;
    Cell &cellForWrite(int row, int column);
    void clearCell(int row, int column) { cells.erase({row, column}); }
    // The formula of a cell in A1 form ("=SUM(A1:A4)"); empty when it holds none.
    QString formulaA1(int row, int column) const;
    // Bottom-right corner of what the sheet holds (0, 0 when empty).
    int lastRow() const;
    int lastColumn() const;

    // Selection step: the range becomes the selection; its top-left cell the active cell.
    void select(const CellRange &range);
    // What writing `value` into a cell through its R1C1 formula does: empty text or null
    // clears it; "=..." is a formula in R1C1 form; text that reads as a number or a
    // day-first date becomes one; "'..." stays text without the apostrophe.
    void setFormulaR1C1(int row, int column, const QVariant &value);

    // Whole rows/columns inserted before `first` or removed from `first` on. Cells,
    // the selection, the autofilter and same-sheet references of formulas follow.
    void insertRows(int first, int count);
    void deleteRows(int first, int count);
    void insertColumns(int first, int count);
    void deleteColumns(int first, int count);

    // Sorts the rows of `range` ascending by column key1, then key2 (0: none). When
    // guessHeader, a first row of headings stays in place (see Workbook.cpp for the guess).
    // Numbers and dates come before texts, texts before yes/no values; blanks go last.
    void sort(const CellRange &range, int key1, int key2, bool guessHeader, bool matchCase);

    // The block of filled cells around a cell, as the spreadsheet's "current region".
    CellRange currentRegion(int row, int column) const;
};

class Workbook {
public:
    explicit Workbook(const QString &name = QStringLiteral("Book1"), int sheets = 1);

    QString name;
    QString path;  // where it was opened from or last saved; empty for a new workbook
    std::vector<Sheet> sheets;
    int active = 0;

    Sheet &activeSheet() { return sheets.at(active); }
    const Sheet &activeSheet() const { return sheets.at(active); }
    // The active sheet when it is a worksheet; throws WorkbookError on a chart sheet.
    Sheet &activeWorksheet();
    // -1 when there is no sheet of that name (case-insensitive).
    int sheetIndex(const QString &name) const;
    // By name, or by 1-based position when `sheet` holds a number. Throws when absent.
    int findSheet(const QVariant &sheet) const;

    // A new worksheet ("Sheet<n>") before the active sheet; it becomes the active one.
    int addWorksheet();
    // A new chart sheet ("Chart<n>") before the active sheet; it becomes the active one.
    int addChartSheet();
    void removeSheet(int index);
    // Throws for a name the spreadsheet refuses (empty, too long, []:*?/\ or taken).
    void renameSheet(int index, const QString &newName);

    // A pivot table on a new sheet over `range` of the active sheet, whose first row holds
    // the headings: `rowField` down, `columnFields` across (outer first), `dataField`
    // summed (counted when it holds anything but numbers). Returns the new sheet's index.
    int addPivotTable(const CellRange &range, const QString &tableName, const QString &rowField,
                      const QStringList &columnFields, const QString &dataField);

    // The ranges a chart draws from its source: labels from the first column (or row, when
    // plotted by rows), values from the first later column holding numbers. With a single
    // column there are values and no labels; nullopt when nothing holds a number or the
    // source sheet is gone.
    struct SeriesRanges {
        std::optional<CellRange> labels;
        CellRange values;
    };
    std::optional<SeriesRanges> chartSeries(const ChartSpec &chart) const;
    // The labels and values a pie draws, from chartSeries.
    std::vector<ChartSlice> chartSlices(const ChartSpec &chart) const;

private:
    QString unusedName(const QString &stem, int &counter) const;
    int m_sheetCounter = 0;
    int m_chartCounter = 0;
};

// Formula references between R1C1 and A1 form, for a formula standing at (row, column).
// Texts in quotes are left alone; references to other sheets ("Hoja!A1") are converted
// but never moved.
QString r1c1ToA1(const QString &formula, int row, int column);
QString a1ToR1C1(const QString &formula, int row, int column);

// Where a reference stands in a formula: on its own, or as the near or far end of a range.
enum class RefSide { Single, RangeStart, RangeEnd };
// A reference's row or column after a structural change: the new number, or 0 when it was
// removed. The ends of a range lose their removed part instead of becoming #REF!.
using IndexMap = std::function<int(int index, RefSide side)>;
// Rewrites a same-sheet R1C1 formula for cells that moved: the formula moved from
// (oldRow, oldColumn) to (newRow, newColumn), and every row and column it points to went
// through rowMap and columnMap.
QString moveReferences(const QString &formula, int oldRow, int oldColumn, int newRow, int newColumn,
                       const IndexMap &rowMap, const IndexMap &columnMap);

// Dates as the sheet counts them (days since 30 December 1899) and back.
double dateSerial(const QDate &date);
QDate serialDate(double serial);

// Whether the general format shows a number as a whole number, every digit and nothing else.
bool showsWhole(double v);

// How a date reads under the Spanish settings ("04/11/2001"), which is also how a date
// turns into text by default.
QString spanishDate(const QDate &date);

}  // namespace output
