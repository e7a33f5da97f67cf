#include "output/dtrReporteMesActualGeneral.h"

#include "output/ReportDesigns.h"
#include "output/dteRRHH.h"
#include "ui/Dialogs.h"

QPointer<dtrReporteMesActualGeneral> dtrReporteMesActualGeneral::s_open;

dtrReporteMesActualGeneral::dtrReporteMesActualGeneral(store::ShapeChapter data)
    : output::ReportPreview(output::monthReportLayout(), std::move(data))
{
    setObjectName(QStringLiteral("dtrReporteMesActualGeneral"));
}

dtrReporteMesActualGeneral *dtrReporteMesActualGeneral::current()
{
    return s_open.data();
}

dtrReporteMesActualGeneral *dtrReporteMesActualGeneral::open()
{
    if (!s_open) {
        store::ShapeChapter data;
        {
            ui::WaitCursor wait;
            data = dteRRHH::instance().open(QStringLiteral("Funcionarios"));
        }
        s_open = new dtrReporteMesActualGeneral(std::move(data));
    }
    s_open->bringForward();
    return s_open.data();
}
