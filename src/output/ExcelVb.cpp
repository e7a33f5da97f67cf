#include "output/ExcelVb.h"

#include "workbook/WorkbookPrint.h"
#include "workbook/WorkbookXlsx.h"
#include "ui/Dialogs.h"

#include <QDir>
#include <QFileInfo>
#include <QPrinter>
#include <QStandardPaths>

using output::CellRange;
using output::Sheet;
using output::Workbook;
using output::WorkbookError;

namespace {

const QString kPivotName = QStringLiteral("Tabla dinámica1");

// Every operation on the workbook ends by bringing the window up to date, if it is shown;
// also when the operation failed halfway.
class Changes {
public:
    explicit Changes(output::WorkbookApplication &app) : m_app(app) {}
    ~Changes() { m_app.changed(); }

private:
    output::WorkbookApplication &m_app;
};

}  // namespace

ExcelVb::ExcelVb() = default;
ExcelVb::~ExcelVb() = default;

// The operations that reach the spreadsheet through its application-wide object
// (SortCell, CrearGrafico, InsertarAutofiltro, SumarColumna) work on this same
// application: there is one per ExcelVb.
output::WorkbookApplication &ExcelVb::excel()
{
    if (!m_excel)
        throw WorkbookError(QStringLiteral("La hoja de cálculo no está iniciada."));
    return *m_excel;
}

Sheet &ExcelVb::selectionStep(const QString &cell)
{
    Sheet &sheet = excel().activeWorkbook().activeWorksheet();
    sheet.select(output::parseRange(cell));
    return sheet;
}

void ExcelVb::Crear()
{
    m_excel = std::make_unique<output::WorkbookApplication>();
}

void ExcelVb::Quitar()
{
    excel();
    m_excel.reset();
}

void ExcelVb::NewDinamicTableSheet(const QString &range)
{
    Changes changes(excel());
    Sheet &sheet = selectionStep(range);
    excel().activeWorkbook().addPivotTable(sheet.selection, kPivotName, QStringLiteral("NOMBRE"),
                                           {QStringLiteral("CEDULA"), QStringLiteral("FECHA")},
                                           QStringLiteral("HORAS"));
}

void ExcelVb::NewDinamicTableExtern()
{
}

void ExcelVb::SelCell(const QString &cell)
{
    Changes changes(excel());
    selectionStep(cell);
}

void ExcelVb::SetCell(const QVariant &value, const QString &cell)
{
    Changes changes(excel());
    Sheet &sheet = selectionStep(cell);
    sheet.setFormulaR1C1(sheet.activeRow, sheet.activeColumn, value);
}

void ExcelVb::SortCell(const QString &cell)
{
    Changes changes(excel());
    Sheet &sheet = excel().activeWorkbook().activeWorksheet();
    // The second key: `cell` read from the cell right of the active one ("A1" is that cell).
    const CellRange offset = output::parseRange(cell);
    const int key2 = sheet.activeColumn + offset.left;
    const CellRange range =
        sheet.selection.isCell() ? sheet.currentRegion(sheet.activeRow, sheet.activeColumn) : sheet.selection;
    sheet.sort(range, sheet.activeColumn, key2, true, false);
}

void ExcelVb::InsertColumn(const QString &cell)
{
    Changes changes(excel());
    Sheet &sheet = selectionStep(cell);
    sheet.insertColumns(sheet.selection.left, sheet.selection.columns());
}

void ExcelVb::InsertRow(const QString &cell)
{
    Changes changes(excel());
    Sheet &sheet = selectionStep(cell);
    sheet.insertRows(sheet.selection.top, sheet.selection.rows());
}

void ExcelVb::RemoveRow(const QString &cell)
{
    Changes changes(excel());
    Sheet &sheet = selectionStep(cell);
    sheet.deleteRows(sheet.selection.top, sheet.selection.rows());
}

void ExcelVb::RemoveColumn(const QString &cell)
{
    Changes changes(excel());
    Sheet &sheet = selectionStep(cell);
    sheet.deleteColumns(sheet.selection.left, sheet.selection.columns());
}

void ExcelVb::RenameSheet(const QVariant &sheet, const QString &newName)
{
    Changes changes(excel());
    Workbook &book = excel().activeWorkbook();
    const int index = book.findSheet(sheet);
    book.active = index;
    book.renameSheet(index, newName);
}

void ExcelVb::RemoveSheet(const QString &sheet)
{
    Changes changes(excel());
    Workbook &book = excel().activeWorkbook();
    const int index = book.findSheet(QVariant(sheet));
    book.active = index;
    book.removeSheet(index);
}

void ExcelVb::InsertSheet()
{
    Changes changes(excel());
    excel().activeWorkbook().addWorksheet();
}

void ExcelVb::OpenBook(const QString &file)
{
    Changes changes(excel());
    excel().addWorkbook(output::loadXlsx(file));
}

void ExcelVb::NewBook()
{
    Changes changes(excel());
    excel().addWorkbook();
}

void ExcelVb::SaveBook()
{
    Workbook &book = excel().activeWorkbook();
    QString path = book.path;
    if (path.isEmpty())
        path = QDir(QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation))
                   .filePath(book.name + QStringLiteral(".xlsx"));
    output::saveXlsx(book, path);
    book.path = path;
}

void ExcelVb::SaveAsBook(const QString &file)
{
    Changes changes(excel());
    Workbook &book = excel().activeWorkbook();
    output::saveXlsx(book, file);
    book.path = file;
    book.name = QFileInfo(file).fileName();
}

namespace {

QPrinter &oneCopy(output::WorkbookApplication &app, bool collate)
{
    QPrinter &printer = app.printer();
    printer.setCopyCount(1);
    if (collate)
        printer.setCollateCopies(true);
    return printer;
}

}  // namespace

void ExcelVb::PrintSheet()
{
    Workbook &book = excel().activeWorkbook();
    output::printSheets(oneCopy(excel(), false), book, {book.active});
}

void ExcelVb::PrintBook()
{
    Workbook &book = excel().activeWorkbook();
    std::vector<int> all;
    for (int i = 0; i < int(book.sheets.size()); ++i)
        all.push_back(i);
    output::printSheets(oneCopy(excel(), true), book, all);
}

void ExcelVb::PrintSelCell(const QString &cell)
{
    Changes changes(excel());
    Workbook &book = excel().activeWorkbook();
    const Sheet &sheet = book.activeWorksheet();
    output::printRange(oneCopy(excel(), true), book, book.active, sheet.selection);
    selectionStep(cell);
}

void ExcelVb::Mostrar()
{
    excel().setVisible(true);
}

void ExcelVb::Ocultar()
{
    excel().setVisible(false);
}

void ExcelVb::CrearGrafico(const QString &firstCell, const QString &lastCell)
{
    Changes changes(excel());
    Workbook &book = excel().activeWorkbook();
    QString sheetName = QStringLiteral("Sheet1");
    bool asked = false;
    int step = 2;
    for (;;) {
        try {
            if (step == 2) {
                book.active = book.addChartSheet();
                step = 3;
            }
            Sheet &chartSheet = book.activeSheet();
            if (!chartSheet.isChart() || !chartSheet.chart)
                throw WorkbookError(QStringLiteral("No hay ningún gráfico activo."));
            if (step == 3) {
                chartSheet.chart->type = output::ChartSpec::Pie3D;
                step = 4;
            }
            const QString range = firstCell + QLatin1Char(':') + lastCell;
            const int source = book.findSheet(QVariant(sheetName));
            if (book.sheets[source].isChart())
                throw WorkbookError(QStringLiteral("La hoja «%1» es un gráfico y no tiene celdas.").arg(sheetName));
            const CellRange cells = output::parseRange(range);
            chartSheet.chart->sourceSheet = book.sheets[source].name;
            chartSheet.chart->source = cells;
            chartSheet.chart->byColumns = true;
            // Placed as a sheet of its own: it already is one.
            chartSheet.chart->hasTitle = false;
            return;
        } catch (const WorkbookError &) {
            if (asked)
                throw;
            asked = true;
            const auto answer = ui::inputBox(
                QStringLiteral("Ingrese el nombre que su excel le otorga a las hojas nuevas. Si no lo sabe, "
                               "simplemente cree una planilla en blanco en Excel y fijese el nombre de las "
                               "hojas, luego coloque ese nombre en este cuadro de dialogo. "),
                QStringLiteral("Problema con la configuración de Excel"), sheetName);
            sheetName = answer.value_or(QString());
            step = std::max(step, 4);
        }
    }
}

void ExcelVb::InsertarAutofiltro(const QString &cell)
{
    Changes changes(excel());
    Sheet &sheet = selectionStep(cell);
    if (sheet.autoFilter) {
        sheet.autoFilter.reset();
        return;
    }
    const CellRange range =
        sheet.selection.isCell() ? sheet.currentRegion(sheet.activeRow, sheet.activeColumn) : sheet.selection;
    bool any = false;
    for (const auto &[pos, c] : sheet.cells)
        any = any || range.contains(pos.first, pos.second);
    if (!any)
        throw WorkbookError(QStringLiteral("No se puede aplicar el autofiltro: el rango está vacío."));
    sheet.autoFilter = range;
}

void ExcelVb::SumarColumna(const QString &cell, qint32 row, const QString &column)
{
    Changes changes(excel());
    SelCell(cell);
    Sheet &sheet = excel().activeWorkbook().activeWorksheet();
    const CellRange target = output::parseRange((column + QString::number(row)).trimmed());
    // Activating a cell inside the selection keeps the selection; outside it selects it.
    if (sheet.selection.contains(target.top, target.left)) {
        sheet.activeRow = target.top;
        sheet.activeColumn = target.left;
    } else {
        sheet.select(CellRange::cell(target.top, target.left));
    }
    sheet.setFormulaR1C1(sheet.activeRow, sheet.activeColumn, QStringLiteral("=SUM(R[-4]C:R[-1]C)"));
}
