#include "output/dtrReporteMesActualArea.h"

#include "output/ReportDesigns.h"
#include "output/dteRRHH.h"
#include "ui/Dialogs.h"

QPointer<dtrReporteMesActualArea> dtrReporteMesActualArea::s_open;

dtrReporteMesActualArea::dtrReporteMesActualArea(store::ShapeChapter data)
    : output::ReportPreview(output::monthReportLayout(), std::move(data))
{
    setObjectName(QStringLiteral("dtrReporteMesActualArea"));
}

dtrReporteMesActualArea *dtrReporteMesActualArea::current()
{
    return s_open.data();
}

dtrReporteMesActualArea *dtrReporteMesActualArea::open(const QString &areaId)
{
    if (!s_open) {
        store::ShapeChapter data;
        {
            ui::WaitCursor wait;
            data = dteRRHH::instance().open(QStringLiteral("Funcionarios"), output::areaReportStatement(areaId));
        }
        s_open = new dtrReporteMesActualArea(std::move(data));
    }
    s_open->bringForward();
    return s_open.data();
}
