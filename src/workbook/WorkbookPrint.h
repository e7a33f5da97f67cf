#pragma once

// Paper and screen output of the workbook: sheets printed as a grid of their cells' texts,
// chart sheets as their pie.

#include "workbook/Workbook.h"

#include <vector>

class QPainter;
class QPrinter;
class QRectF;

namespace output {

// A pie with its legend inside `area`; with `threeD` the pie is tilted and given depth.
void paintPie(QPainter &painter, const QRectF &area, const std::vector<ChartSlice> &slices, bool threeD);

// Prints the given sheets (0-based) one after the other, each starting on a new page.
// Worksheets print what they hold, from A1; an empty worksheet prints nothing. Throws
// WorkbookError when the printer can't be started.
void printSheets(QPrinter &printer, const Workbook &book, const std::vector<int> &sheets);
// Prints one range of a worksheet.
void printRange(QPrinter &printer, const Workbook &book, int sheet, const CellRange &range);

}  // namespace output
