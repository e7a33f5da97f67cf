#include "output/BudgetReport.h"

#include "reports/ReportDesigns.h"
#include "reports/dteRRHH.h"

namespace output {

BudgetReport::BudgetReport(store::ShapeChapter data, const QString &objectName)
    : ReportPreview(budgetReportLayout(), std::move(data))
{
    setObjectName(objectName);
}

store::ShapeChapter BudgetReport::budgetData(const QString &statement)
{
    if (statement.trimmed().isEmpty())
        return std::make_shared<store::ShapeRecordset>(QStringLiteral("Presupuesto"), budgetColumns());
    return dteRRHH::instance().open(QStringLiteral("Presupuesto"), statement);
}

}  // namespace output
