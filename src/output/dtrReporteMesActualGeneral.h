#pragma once

// The month report of everything: every staff member with all their hours in HORAS. It runs
// the design statement of the command "Funcionarios" as it is.
//
// open() builds the report with the data of that moment and shows its preview, or, while
// its preview is open, only brings that forward. The data does not follow later changes.
// Store errors pass to the caller.

#include "output/ReportPreview.h"

#include <QPointer>

class dtrReporteMesActualGeneral : public output::ReportPreview {
    Q_OBJECT
public:
    static dtrReporteMesActualGeneral *open();
    // The open report, or null.
    static dtrReporteMesActualGeneral *current();

private:
    explicit dtrReporteMesActualGeneral(store::ShapeChapter data);
    static QPointer<dtrReporteMesActualGeneral> s_open;
};
