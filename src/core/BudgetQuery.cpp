#include "core/BudgetQuery.h"

#include "store/Connection.h"
#include "store/SqlValue.h"

namespace core {
namespace {

const QString kHead = QStringLiteral(
    "SELECT SUM(H.HORHORAS), SUM(H.HORVALORHORA*(H.HORHORAS*T.TIPPORCENTAJE)), H.HORMONEDA, T.TIPDESCRIPCION, "
    "D.DESDESCRIPCION, ACT.ACTDESCRIPCION FROM TIPOHORAS T, ");
const QString kJoins = QStringLiteral(
    " H, ACTIVIDADES ACT, AREAS ARE, DESTINOS D WHERE H.ACTID=ACT.ACTID AND H.AREID=ARE.AREID AND H.DESID=D.DESID "
    "AND H.TIPID=T.TIPID");
const QString kTail = QStringLiteral(" GROUP BY H.HORMONEDA, T.TIPDESCRIPCION, D.DESDESCRIPCION, ACT.ACTDESCRIPCION");

}  // namespace

QString BudgetQuery::statement() const
{
    const QString table = period == Period::CurrentMonth ? QStringLiteral("HORAS") : QStringLiteral("HHORAS");
    QString periodClause;
    if (period == Period::CurrentYear)
        periodClause = QStringLiteral(" AND YEAR(H.HORFECHA)=YEAR(Date())");
    else if (period == Period::Range)
        periodClause = QStringLiteral(" AND H.HORFECHA BETWEEN ") + store::sql::date(from) + QStringLiteral(" AND ") +
                       store::sql::date(to);

    QString activityClause;
    if (activities == Activities::Teaching)
        activityClause = QStringLiteral(" AND ACT.ACTESDOCENTE");
    else if (activities == Activities::NonTeaching)
        activityClause = QStringLiteral(" AND NOT ACT.ACTESDOCENTE");

    const QString areaClause = area ? QStringLiteral(" AND H.AREID=") + store::sql::text(*area) : QString();
    const QString clauses = areaPlace == AreaPlace::AfterPeriod ? periodClause + areaClause + activityClause
                                                                : periodClause + activityClause + areaClause;
    return kHead + table + kJoins + clauses + kTail;
}

store::ResultSet BudgetQuery::run(store::Connection &conn) const
{
    return conn.select(statement());
}

void BudgetTotals::add(const QVariant &amount, const QVariant &currency)
{
    const double value = amount.toDouble();  // Null adds nothing
    if (currency.toString() == QLatin1String("Dolares"))
        dolares += value;
    else
        pesos += value;
}

BudgetTotals BudgetTotals::of(const store::ResultSet &rows)
{
    BudgetTotals totals;
    for (const store::Row &row : rows.rows)
        totals.add(row.value(kAmountColumn), row.value(kCurrencyColumn));
    return totals;
}

}  // namespace core
