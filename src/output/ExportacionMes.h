#pragma once

// The month export behind cmdExportar of the area chief's "Cierre de mes" tab: the hours of
// the chief's area standing in HORAS go to a new workbook with a pie chart on a sheet of its
// own, saved under the path the chief types.
//
// The export borrows the window's "Mes en curso" data control: it runs the export statement
// on it and, whatever happens, gives it back with the default list of the person the
// window works on. Besides what the export shows in the normal course, it tells the chief:
//  - "No hay horas del área para exportar." when the area has no hours in HORAS (no
//    workbook is made);
//  - "No se pudo guardar el archivo: " and the reason when the path can't be written (the
//    workbook is dropped);
//  - "No se pudo exportar a Excel: " and the reason for any other failure of the workbook.

#include <QString>

#include <functional>

class QWidget;

namespace store {
class DataControl;
}

class ExportacionMes {
public:
    // Runs the export on `adcMesActual`. `refreshGrid` refreshes the grid that shows the
    // data control (dtgMesActual) once the default list is back; it may be empty.
    static void exportar(store::DataControl *adcMesActual, QWidget *parent = nullptr,
                         const std::function<void()> &refreshGrid = {});

    // The statement of the area's hours, ordered by date.
    static QString exportStatement(const QString &areId);
    // The default "Mes en curso" list of a person.
    static QString defaultStatement(const QString &cedula);
    // Where the input box proposes to save.
    static QString proposedPath();
    // The file the workbook is saved as for the name typed: .xls, or no extension,
    // becomes .xlsx, the format the workbook is written in.
    static QString workbookPath(const QString &typed);
    // What the success message adds when the file saved is not the name typed.
    static QString savedWhere(const QString &typed, const QString &saved);
};
