#include "output/dtrReporteMesActualArea.h"

#include "reports/ReportDesigns.h"
#include "reports/dteRRHH.h"

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
    return openOnce(
        s_open,
        [&] { return dteRRHH::instance().open(QStringLiteral("Funcionarios"), output::areaReportStatement(areaId)); },
        [](store::ShapeChapter data) { return new dtrReporteMesActualArea(std::move(data)); });
}
