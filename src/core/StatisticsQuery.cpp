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

// The totals of the statement above with its filter clause: the archive's hours summed by
// their four keys first, the texts joined to the few groups afterwards, so the store groups a
// million rows by short keys instead of joining each of them to four texts. Groups whose texts
// coincide are summed once more, so the totals are those of the statement grouped by its texts,
// each group in the place of its first hour record. A clause on the hours themselves filters
// them before they are grouped; one on an area or an activity filters the groups.
QString groupedByKeys(const QString &clause)
{
    const bool onHours = clause.startsWith(QLatin1String(" AND H."));
    return QStringLiteral(
               "SELECT ARE.AreDescripcion, ACT.ActDescripcion, D.DesDescripcion, T.TipDescripcion, "
               "SUM(G.HorHoras) AS HorHoras FROM (SELECT H.AREID, H.ACTID, H.DESID, H.TIPID, "
               "SUM(H.HorHoras) AS HorHoras, MIN(H.HorId) AS HorId FROM HHoras H%1 "
               "GROUP BY H.AREID, H.ACTID, H.DESID, H.TIPID) G, Areas ARE, Actividades ACT, Destinos D, "
               "TipoHoras T WHERE G.AREID=ARE.AREID AND G.ACTID=ACT.ACTID AND G.DESID=D.DESID AND "
               "G.TIPID=T.TIPID%2 GROUP BY ARE.AreDescripcion, ACT.ActDescripcion, D.DesDescripcion, "
               "T.TipDescripcion ORDER BY MIN(G.HorId)")
        .arg(onHours ? QStringLiteral(" WHERE") + clause.mid(4) : QString(), onHours ? QString() : clause);
}

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
    const auto select = [&](const QString &s) { return conn.select(s); };
    // A statement of this class is known by its head and tail; any other goes the general way.
    if (!statement.startsWith(kHead) || !statement.endsWith(kTail) ||
        statement.size() < kHead.size() + kTail.size())
        return store::runShapeTotals(statement, select, kRecordKey);
    const QString clause = statement.mid(kHead.size(), statement.size() - kHead.size() - kTail.size());
    return store::shapeTotals(store::parseShape(statement), select(groupedByKeys(clause)));
}

}  // namespace core
