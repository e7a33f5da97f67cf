#include "output/dtrReporteMesActualUsuario.h"

#include "reports/ReportDesigns.h"
#include "reports/dteRRHH.h"

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
    return openOnce(
        s_open,
        [&] { return dteRRHH::instance().open(QStringLiteral("Funcionarios"), output::personReportStatement(cedula)); },
        [](store::ShapeChapter data) { return new dtrReporteMesActualUsuario(std::move(data)); });
}
