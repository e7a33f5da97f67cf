#pragma once

// The budget report of the area chief's tab "Presupuesto": the statement that tab's
// adcPresupuesto holds, run again here on the report's own connection. No totals: those stay
// on the tab. With no statement (no query made yet) the report has its headings and no lines.
//
// open() builds the report with the data of that moment and shows its preview, or, while
// its preview is open, only brings that forward. The data does not follow later changes.
// Store errors pass to the caller.

#include "output/ReportPreview.h"

#include <QPointer>

class dtrPresupuestoJefeArea : public output::ReportPreview {
    Q_OBJECT
public:
    static dtrPresupuestoJefeArea *open(const QString &statement);
    // The open report, or null.
    static dtrPresupuestoJefeArea *current();

private:
    explicit dtrPresupuestoJefeArea(store::ShapeChapter data);
    static QPointer<dtrPresupuestoJefeArea> s_open;
};
