#pragma once

// The one class through which the program drives a spreadsheet. It stands on the
// program's own workbook layer (output/Workbook*): a hidden application holding workbooks,
// written to .xlsx files by SaveAsBook and read from them by OpenBook.
//
// Calling order: Crear, then NewBook or OpenBook, then any operations on the workbook, then
// SaveBook or SaveAsBook to keep the work, and Quitar last. Nothing shows unless Mostrar is
// called. A "selection step" selects the named cell or range of the active sheet, making
// its top-left cell the active cell.
//
// No operation shows a message of its own; a failure (no application, no workbook, a bad
// cell name, a missing sheet, a file that can't be written or read) is thrown as
// output::WorkbookError. CrearGrafico alone recovers once from a wrong guess of the name
// new sheets get, by asking the user for it.

#include "output/WorkbookApplication.h"

#include <QString>
#include <QVariant>

#include <memory>

class ExcelVb {
public:
    ExcelVb();
    ~ExcelVb();
    ExcelVb(const ExcelVb &) = delete;
    ExcelVb &operator=(const ExcelVb &) = delete;

    // A new hidden application without workbooks.
    void Crear();
    // Ends the application; whatever was not saved is gone.
    void Quitar();
    // A pivot table on a new sheet over `range` of the active sheet, whose first row holds
    // the headings "CEDULA", "NOMBRE", "FECHA" and "HORAS": NOMBRE down, CEDULA then FECHA
    // across, the sum of HORAS in the body.
    void NewDinamicTableSheet(const QString &range);
    // Does nothing.
    void NewDinamicTableExtern();
    void SelCell(const QString &cell);
    // Selection step, then the value goes into the active cell as the spreadsheet reads a
    // typed entry: "=..." is a formula in R1C1 form, a text that reads as a number or a
    // day-first date becomes one.
    void SetCell(const QVariant &value, const QString &cell);
    // Sorts the selection (a single cell: the block around it) ascending by the active
    // cell's column, then by the column of `cell` counted from the one right of the active
    // cell; a first row of headings is guessed and kept.
    void SortCell(const QString &cell);
    // The whole columns / rows of the selection after the selection step.
    void InsertColumn(const QString &cell);
    void InsertRow(const QString &cell);
    void RemoveRow(const QString &cell);
    void RemoveColumn(const QString &cell);
    // `sheet` is a name (text) or a 1-based position (number).
    void RenameSheet(const QVariant &sheet, const QString &newName);
    void RemoveSheet(const QString &sheet);
    // A new worksheet before the active one, made active.
    void InsertSheet();
    void OpenBook(const QString &file);
    void NewBook();
    // Saves where the workbook came from; a workbook never saved goes to the documents
    // folder under its name.
    void SaveBook();
    // Writes the whole workbook, chart sheets included, as .xlsx to `file`, as given.
    void SaveAsBook(const QString &file);
    // One copy of the active sheet / of the whole workbook / of the selection as it stood
    // before the call (the cell only says what is selected afterwards).
    void PrintSheet();
    void PrintBook();
    void PrintSelCell(const QString &cell);
    void Mostrar();
    void Ocultar();
    // A pie chart sheet of its own, without a title, plotted by columns from `firstCell`:
    // `lastCell` of the sheet "Sheet1". When that fails the user is asked, once, for the
    // name new sheets get, and the chart takes its range from that sheet.
    void CrearGrafico(const QString &firstCell, const QString &lastCell);
    // Turns the autofilter of the range (a single cell: the block around it) on, or off
    // when the sheet has one.
    void InsertarAutofiltro(const QString &cell);
    // Selects `cell`, makes <column><row> the active cell and writes there the sum of the
    // four cells above it.
    void SumarColumna(const QString &cell, qint32 row, const QString &column);

    // The application made by Crear; null before Crear and after Quitar.
    output::WorkbookApplication *application() const { return m_excel.get(); }

private:
    output::WorkbookApplication &excel();
    output::Sheet &selectionStep(const QString &cell);

    std::unique_ptr<output::WorkbookApplication> m_excel;
};
