#include "core/StatisticsQuery.h"

#include "store/Connection.h"
#include "store/SqlValue.h"

namespace core {
namespace {

const QString kHead = QStringLiteral(
    "SHAPE {select HorId,AreDescripcion,ActDescripcion,TipDescripcion,DesDescripcion,HorHoras from HHoras H, Areas "
    "ARE, Actividades ACT, Destinos D, TipoHoras T WHERE H.AREID=ARE.AREID AND H.ACTID=ACT.ACTID AND "
    "H.DESID=D.DESID AND H.TIPID=T.TIPID");
const QString kTail = QStringLiteral(
    " } AS ChildCommand COMPUTE ChildCommand, SUM(ChildCommand.[HorHoras]) AS [HorHoras] BY [AreDescripcion], "
    "[ActDescripcion], [DesDescripcion], [TipDescripcion]");

// The key of the hour records: the store numbers them in the order they are written.
const QString kRecordKey = QStringLiteral("HorId");

}  // namespace

QString StatisticsQuery::statement(Filter filter, const QDate &from, const QDate &to, const QString &value)
{
    QString clause;
    switch (filter) {
    case Filter::None:
        break;
    case Filter::Teaching:
        clause = QStringLiteral(" AND ACT.ACTESDOCENTE");
        break;
    case Filter::NonTeaching:
        clause = QStringLiteral(" AND NOT ACT.ACTESDOCENTE");
        break;
    case Filter::Period:
        clause = QStringLiteral(" AND H.HORFECHA BETWEEN ") + store::sql::date(from) + QStringLiteral(" AND ") +
                 store::sql::date(to);
        break;
    case Filter::Area:
        clause = QStringLiteral(" AND ARE.AREID=") + store::sql::text(value);
        break;
    case Filter::Staff:
        clause = QStringLiteral(" AND H.FUNCEDULA=") + store::sql::text(value);
        break;
    }
    return kHead + clause + kTail;
}

QString StatisticsQuery::column(Grouping grouping)
{
    switch (grouping) {
    case Grouping::Activity:
        return QStringLiteral("ActDescripcion");
    case Grouping::Area:
        return QStringLiteral("AreDescripcion");
    case Grouping::Destination:
        return QStringLiteral("DesDescripcion");
    case Grouping::Type:
        break;
    }
    return QStringLiteral("TipDescripcion");
}

store::ShapeResult StatisticsQuery::totals(const QString &statement, store::Connection &conn)
{
    return store::runShapeTotals(statement, [&](const QString &s) { return conn.select(s); }, kRecordKey);
}

}  // namespace core
