#include "output/dtrPresupuestoSuperUsuario.h"

#include "output/ReportDesigns.h"
#include "output/dteRRHH.h"
#include "ui/Dialogs.h"

QPointer<dtrPresupuestoSuperUsuario> dtrPresupuestoSuperUsuario::s_open;

namespace {

// The budget statement run on the data environment's connection; no statement, no rows.
store::ShapeChapter budgetData(const QString &statement)
{
    if (statement.trimmed().isEmpty())
        return std::make_shared<store::ShapeRecordset>(QStringLiteral("Presupuesto"), output::budgetColumns());
    return dteRRHH::instance().open(QStringLiteral("Presupuesto"), statement);
}

}  // namespace

dtrPresupuestoSuperUsuario::dtrPresupuestoSuperUsuario(store::ShapeChapter data)
    : output::ReportPreview(output::budgetReportLayout(), std::move(data))
{
    setObjectName(QStringLiteral("dtrPresupuestoSuperUsuario"));
}

dtrPresupuestoSuperUsuario *dtrPresupuestoSuperUsuario::current()
{
    return s_open.data();
}

dtrPresupuestoSuperUsuario *dtrPresupuestoSuperUsuario::open(const QString &statement)
{
    if (!s_open) {
        store::ShapeChapter data;
        {
            ui::WaitCursor wait;
            data = budgetData(statement);
        }
        s_open = new dtrPresupuestoSuperUsuario(std::move(data));
    }
    s_open->bringForward();
    return s_open.data();
}
