#include "reports/ReportDesigns.h"

#include "store/SqlValue.h"

namespace output {
namespace {

using C = ReportControl;

ReportFont font(double points, bool bold = false)
{
    ReportFont f;
    f.pointSize = points;
    f.bold = bold;
    return f;
}

constexpr int kWidth = 9360;

const char *const kHoursSelect =
    "SELECT H.FUNCEDULA, H.HORFECHA, H.HORSEMANA, H.HORVALORHORA, H.HORHORAS, T.TIPDESCRIPCION, D.DESDESCRIPCION, "
    "ACT.ACTDESCRIPCION, ";
const char *const kHoursFrom =
    "H.HORID FROM TIPOHORAS T, HORAS H, ACTIVIDADES ACT, AREAS ARE, DESTINOS D WHERE H.ACTID=ACT.ACTID AND "
    "H.AREID=ARE.AREID AND H.DESID=D.DESID AND H.TIPID=T.TIPID";

}  // namespace

ReportLayout monthReportLayout()
{
    ReportLayout l;
    l.title = kMonthReportCaption;
    l.width = kWidth;
    l.reportHeader = {QStringLiteral("ReportHeader"), 0, {}};

    C title = C::label(2129, 195, 5700, QStringLiteral("REPORTE DE HORAS TRABAJADAS"), font(14, true));
    title.height = 360;
    title.alignment = Qt::AlignCenter;
    l.pageHeader = {QStringLiteral("PageHeader"),
                    750,
                    {C::picture(800, 90, 480, 480, QStringLiteral("icon")), title,
                     C::picture(7937, 90, 480, 480, QStringLiteral("icon")), C::rule(690, 0, kWidth)}};

    ReportLevel staff;
    staff.header = ReportSection{QStringLiteral("Funcionarios_Header"),
                                 360,
                                 {C::fieldOf(0, 40, 1250, QStringLiteral("FunCedula"), font(10, true)),
                                  C::fieldOf(1300, 40, 3350, QStringLiteral("FunNombres"), font(10, true)),
                                  C::fieldOf(4700, 40, 4660, QStringLiteral("FunApellidos"), font(10, true))}};
    C personTotal = C::sumOf(7600, 90, 1760, QStringLiteral("MesActual_Grouping"), QStringLiteral("SumaHoras"),
                             font(9, true));
    staff.footer = ReportSection{
        QStringLiteral("Funcionarios_Footer"),
        540,
        {C::label(750, 90, 6800, QStringLiteral("TOTAL DE HORAS TRABAJADAS POR EL FUNCIONARIO:"), font(9, true)),
         personTotal, C::band(0, 450, kWidth, 45, 128)}};

    ReportLevel groups;
    groups.chapter = QStringLiteral("MesActual_Grouping");
    groups.header = ReportSection{QStringLiteral("MesActual_Grouping_Header"),
                                  405,
                                  {C::label(0, 45, 1100, QStringLiteral("AREA:"), font(9, true)),
                                   C::fieldOf(1134, 45, 8226, QStringLiteral("AREDESCRIPCION"), font(9, true)),
                                   C::rule(375, 0, kWidth)}};
    groups.footer = ReportSection{QStringLiteral("MesActual_Grouping_Footer"),
                                  570,
                                  {C::band(0, 60, kWidth, 450, 224),
                                   C::label(5600, 143, 1950, QStringLiteral("Total de horas:"), font(9, true)),
                                   C::fieldOf(7600, 143, 1760, QStringLiteral("SumaHoras"), font(9, true))}};

    ReportLevel hours;
    hours.chapter = QStringLiteral("MesActual");
    l.levels = {staff, groups, hours};

    const int line1 = 45, line2 = 420;
    l.detail = {QStringLiteral("MesActual_Detail"),
                795,
                {C::label(0, line1, 640, QStringLiteral("Fecha:")),
                 C::fieldOf(650, line1, 1300, QStringLiteral("HORFECHA")),
                 C::label(2000, line1, 830, QStringLiteral("SEMANA:")),
                 C::fieldOf(2835, line1, 900, QStringLiteral("HORSEMANA")),
                 C::label(3800, line1, 1290, QStringLiteral("VALOR HORA:")),
                 C::fieldOf(5102, line1, 1650, QStringLiteral("HORVALORHORA")),
                 C::label(6803, line1, 790, QStringLiteral("HORAS:")),
                 C::fieldOf(7600, line1, 1760, QStringLiteral("HORHORAS")),
                 C::label(0, line2, 1300, QStringLiteral("Tipo de horas:")),
                 C::fieldOf(1310, line2, 2060, QStringLiteral("TIPDESCRIPCION")),
                 C::label(3402, line2, 840, QStringLiteral("Destino:")),
                 C::fieldOf(4250, line2, 1620, QStringLiteral("DESDESCRIPCION")),
                 C::label(5900, line2, 890, QStringLiteral("Actividad:")),
                 C::fieldOf(6803, line2, 2557, QStringLiteral("ACTDESCRIPCION")),
                 C::rule(765, 0, kWidth, 160)}};

    l.pageFooter = {QStringLiteral("PageFooter"),
                    335,
                    {C::rule(0, 0, kWidth), C::label(144, 60, 700, QStringLiteral("Fecha:"), font(8)),
                     C::label(864, 60, 4600, QStringLiteral("%D"), font(8)),
                     C::label(5616, 60, 1550, QStringLiteral("Número de página:"), font(8)),
                     C::label(7200, 60, 550, QStringLiteral("%p"), font(8)),
                     C::label(7776, 60, 400, QStringLiteral("de"), font(8)),
                     C::label(8208, 60, 1000, QStringLiteral("%P"), font(8))}};
    l.reportFooter = {QStringLiteral("ReportFooter"), 360, {}};
    return l;
}

ReportLayout budgetReportLayout()
{
    ReportLayout l;
    l.title = kBudgetReportCaption;
    l.width = kWidth;
    C title = C::label(2413, 60, 4500, QStringLiteral("PRESUPUESTO DE HORAS"), font(14, true));
    title.height = 360;
    l.reportHeader = {QStringLiteral("ReportHeader"), 480, {title}};

    const int lefts[] = {0, 850, 1950, 3500, 5300, 7100};
    const char *const headings[] = {"HORAS", "IMPORTE", "MONEDA", "TIPO DE HORAS", "DESTINO", "ACTIVIDAD"};
    const char *const fields[] = {"Expr1000",       "Expr1001",       "HORMONEDA",
                                  "TIPDESCRIPCION", "DESDESCRIPCION", "ACTDESCRIPCION"};
    l.pageHeader = {QStringLiteral("PageHeader"), 420, {}};
    l.detail = {QStringLiteral("Presupuesto_Detail"), 360, {}};
    for (int i = 0; i < 6; ++i) {
        const int width = (i < 5 ? lefts[i + 1] : kWidth) - lefts[i] - 60;
        l.pageHeader.controls.push_back(C::label(lefts[i], 60, width, QLatin1String(headings[i]), font(9, true)));
        l.detail.controls.push_back(C::fieldOf(lefts[i], 40, width, QLatin1String(fields[i]), font(9)));
    }
    l.pageHeader.controls.push_back(C::rule(390, 0, kWidth));

    ReportLevel rows;
    l.levels = {rows};
    l.pageFooter = {QStringLiteral("PageFooter"),
                    290,
                    {C::rule(0, 0, kWidth), C::label(3402, 30, 4000, QStringLiteral("%D"), font(8))}};
    l.reportFooter = {QStringLiteral("ReportFooter"), 360, {}};
    return l;
}

QString monthReportStatement(const QString &staffStatement, const QString &hoursStatement)
{
    return QStringLiteral("SHAPE {%1}  AS Funcionarios APPEND (( SHAPE {%2}  AS MesActual COMPUTE MesActual, "
                          "SUM(MesActual.'HORHORAS') AS SumaHoras BY 'AREDESCRIPCION','FUNCEDULA') AS "
                          "MesActual_Grouping RELATE 'FunCedula' TO 'FUNCEDULA') AS MesActual_Grouping")
        .arg(staffStatement, hoursStatement);
}

QString personReportStatement(const QString &cedula)
{
    const QString staff = QStringLiteral("SELECT * FROM FUNCIONARIOS WHERE FUNCEDULA=") + store::sql::text(cedula);
    const QString hours = QLatin1String(kHoursSelect) + QStringLiteral("ARE.AREDESCRIPCION, ")
                          + QLatin1String(kHoursFrom) + QStringLiteral(" ORDER BY H.HORFECHA");
    return monthReportStatement(staff, hours);
}

QString areaReportStatement(const QString &areaId)
{
    const QString hours = QLatin1String(kHoursSelect) + QStringLiteral("ARE.AREID, ARE.AREDESCRIPCION, ")
                          + QLatin1String(kHoursFrom) + QStringLiteral(" AND H.AREID=") + store::sql::text(areaId)
                          + QStringLiteral("ORDER BY H.HORFECHA");
    return monthReportStatement(QStringLiteral("SELECT * FROM FUNCIONARIOS"), hours);
}

QStringList budgetColumns()
{
    return {QStringLiteral("Expr1000"),       QStringLiteral("Expr1001"),       QStringLiteral("HORMONEDA"),
            QStringLiteral("TIPDESCRIPCION"), QStringLiteral("DESDESCRIPCION"), QStringLiteral("ACTDESCRIPCION")};
}

}  // namespace output
