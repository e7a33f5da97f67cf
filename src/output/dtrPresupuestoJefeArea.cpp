#include "output/dtrPresupuestoJefeArea.h"

QPointer<dtrPresupuestoJefeArea> dtrPresupuestoJefeArea::s_open;

dtrPresupuestoJefeArea::dtrPresupuestoJefeArea(store::ShapeChapter data)
    : output::BudgetReport(std::move(data), QStringLiteral("dtrPresupuestoJefeArea"))
{
}

dtrPresupuestoJefeArea *dtrPresupuestoJefeArea::current()
{
    return s_open.data();
}

dtrPresupuestoJefeArea *dtrPresupuestoJefeArea::open(const QString &statement)
{
    return openOnce(
        s_open, [&] { return budgetData(statement); },
        [](store::ShapeChapter data) { return new dtrPresupuestoJefeArea(std::move(data)); });
}
