#include "output/dtrReporteMesActualGeneral.h"

#include "reports/ReportDesigns.h"
#include "reports/dteRRHH.h"

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
    return openOnce(
        s_open, [&] { return dteRRHH::instance().open(QStringLiteral("Funcionarios")); },
        [](store::ShapeChapter data) { return new dtrReporteMesActualGeneral(std::move(data)); });
}
