#pragma once

// The budget report (output::BudgetReport) of the area chief's tab "Presupuesto", with the
// statement of that tab's adcPresupuesto.
//
// open() builds the report with the data of that moment and shows its preview, or, while
// its preview is open, only brings that forward. The data does not follow later changes.
// Store errors pass to the caller.

#include "output/BudgetReport.h"

class dtrPresupuestoJefeArea : public output::BudgetReport {
    Q_OBJECT
public:
    static dtrPresupuestoJefeArea *open(const QString &statement);
    // The open report, or null.
    static dtrPresupuestoJefeArea *current();

private:
    explicit dtrPresupuestoJefeArea(store::ShapeChapter data);
    static QPointer<dtrPresupuestoJefeArea> s_open;
};
