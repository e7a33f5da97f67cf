#include "output/dtrPresupuestoSuperUsuario.h"

QPointer<dtrPresupuestoSuperUsuario> dtrPresupuestoSuperUsuario::s_open;

dtrPresupuestoSuperUsuario::dtrPresupuestoSuperUsuario(store::ShapeChapter data)
    : output::BudgetReport(std::move(data), QStringLiteral("dtrPresupuestoSuperUsuario"))
{
}

dtrPresupuestoSuperUsuario *dtrPresupuestoSuperUsuario::current()
{
    return s_open.data();
}

dtrPresupuestoSuperUsuario *dtrPresupuestoSuperUsuario::open(const QString &statement)
{
    return openOnce(
        s_open, [&] { return budgetData(statement); },
        [](store::ShapeChapter data) { return new dtrPresupuestoSuperUsuario(std::move(data)); });
}
