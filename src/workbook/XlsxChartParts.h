#pragma once

#include <QByteArray>
#include <QString>

#include <map>
#include <vector>

namespace output {

// The values a chart keeps of one of its references, so that a reader that does not
// recompute the chart (a preview) still draws it: the inside of a c:numCache or c:strCache.
struct ChartCache {
    bool text = false;  // a text among the values: the reference is read as texts
    QByteArray points;  // c:ptCount and the c:pt elements
};

// What a written chart part still needs.
struct ChartPartEdit {
    // The chart writer draws only flat pies: rewritten as a c:pie3DChart with a c:view3D.
    bool threeDimensional = false;
    // The cached values of the part's references, in the order of their c:f elements. The
    // chart writer is told not to cache them: it formats every value slowly, one printf each.
    std::vector<ChartCache> caches;
};

// A new archive with the parts of `from` in their order: the chart parts named by number (1
// for xl/charts/chart1.xml, in the order the charts were added) rewritten with their edits,
// every other part carried over as its compressed bytes, so nothing is compressed twice.
// Throws WorkbookError if the archive cannot be read or written.
void finishChartParts(const QString &from, const QString &to, const std::map<int, ChartPartEdit> &charts);

// The chart part's XML with its edits.
QByteArray finishedChartPart(const QByteArray &chartXml, const ChartPartEdit &edit);

}  // namespace output
