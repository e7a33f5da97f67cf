#pragma once

// The two report designs (month hours, budget) and the statements of the month reports.

#include "reports/ReportLayout.h"

#include <QString>

namespace output {

inline const QString kMonthReportCaption = QStringLiteral("Reporte de horas realizadas durante el mes en curso");
inline const QString kBudgetReportCaption = QStringLiteral("Presupuesto de horas trabajadas");

// Person -> area -> hours, with area and person totals. Data: the command "Funcionarios".
ReportLayout monthReportLayout();
// One line per row of the budget statement, under column headings; no totals.
ReportLayout budgetReportLayout();

// The "Funcionarios" command with its two inner statements made specific.
QString monthReportStatement(const QString &staffStatement, const QString &hoursStatement);
// The person report: the staff member `cedula` (as given, not trimmed), all hour rows.
QString personReportStatement(const QString &cedula);
// The area report: every staff member, the hour rows written in area `areaId` (not trimmed).
QString areaReportStatement(const QString &areaId);

// The budget statement's columns, for a report that has no statement to run.
QStringList budgetColumns();

}  // namespace output
