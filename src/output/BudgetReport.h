#pragma once

// The budget report of a "Presupuesto" tab: the statement that tab's adcPresupuesto holds,
// run again here on the report's own connection. No totals: those stay on the tab. With no
// statement (no query made yet) the report has its headings and no lines.
//
// dtrPresupuestoJefeArea and dtrPresupuestoSuperUsuario are this report for the two windows
// that have the tab; each keeps its own open preview.

#include "output/ReportPreview.h"

namespace output {

class BudgetReport : public ReportPreview {
    Q_OBJECT
protected:
    BudgetReport(store::ShapeChapter data, const QString &objectName);

    // The budget statement run on the data environment's connection; no statement, no rows.
    static store::ShapeChapter budgetData(const QString &statement);
};

}  // namespace output
