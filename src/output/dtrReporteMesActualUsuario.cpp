#include "output/dtrReporteMesActualUsuario.h"

#include "output/ReportDesigns.h"
#include "output/dteRRHH.h"
#include "ui/Dialogs.h"

QPointer<dtrReporteMesActualUsuario> dtrReporteMesActualUsuario::s_open;

dtrReporteMesActualUsuario::dtrReporteMesActualUsuario(store::ShapeChapter data)
    : output::ReportPreview(output::monthReportLayout(), std::move(data))
{
    setObjectName(QStringLiteral("dtrReporteMesActualUsuario"));
}

dtrReporteMesActualUsuario *dtrReporteMesActualUsuario::current()
{
    return s_open.data();
}

dtrReporteMesActualUsuario *dtrReporteMesActualUsuario::open(const QString &cedula)
{
    if (!s_open) {
        store::ShapeChapter data;
        {
            ui::WaitCursor wait;
            data = dteRRHH::instance().open(QStringLiteral("Funcionarios"), output::personReportStatement(cedula));
        }
        s_open = new dtrReporteMesActualUsuario(std::move(data));
    }
    s_open->bringForward();
    return s_open.data();
}
