#pragma once

// The budget report of the super user's tab "Presupuesto": as dtrPresupuestoJefeArea, with
// the statement of that window's adcPresupuesto.
//
// open() builds the report with the data of that moment and shows its preview, or, while
// its preview is open, only brings that forward. The data does not follow later changes.
// Store errors pass to the caller.

#include "output/BudgetReport.h"

class dtrPresupuestoSuperUsuario : public output::BudgetReport {
    Q_OBJECT
public:
    static dtrPresupuestoSuperUsuario *open(const QString &statement);
    // The open report, or null.
    static dtrPresupuestoSuperUsuario *current();

private:
    explicit dtrPresupuestoSuperUsuario(store::ShapeChapter data);
    static QPointer<dtrPresupuestoSuperUsuario> s_open;
};
