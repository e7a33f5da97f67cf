#pragma once

#include <QByteArray>
#include <QString>
#include <set>

namespace output {

// The chart writer draws only flat pies. This turns pies of a written workbook into
// three-dimensional ones: the chart parts named (1 for xl/charts/chart1.xml, in the order
// the charts were added) are rewritten as a c:pie3DChart with a c:view3D, the rest of the
// archive copied as it is. Throws WorkbookError if the archive cannot be read or written.
void makePiesThreeDimensional(const QString &from, const QString &to, const std::set<int> &charts);

// The chart part's XML as a three-dimensional pie (unchanged if it holds no pie).
QByteArray pieChartAsThreeDimensional(const QByteArray &chartXml);

}  // namespace output
