#pragma once

// The workbook as an Office Open XML file (.xlsx).
//
// Writing goes through libxlsxwriter into a temporary file and then into place in one
// step, so a failed save leaves whatever stood at the path untouched. A pie chart sheet is
// written as a plain pie (the writer has no three-dimensional pie) without a title when the
// chart has none; its categories come from the first column of the source and its values
// from the first later column that holds numbers, as on screen.
//
// Reading takes sheet names, values (numbers, shared and inline texts, yes/no, dates by
// their number format), formulas as text, the active sheet and cell, the autofilter, and of
// a chart sheet its type and source range.

#include "workbook/Workbook.h"

namespace output {

// Throws WorkbookError with the reason when the file can't be written.
void saveXlsx(const Workbook &book, const QString &path);
// Throws WorkbookError when the file can't be opened or is not a workbook.
Workbook loadXlsx(const QString &path);

}  // namespace output
