#pragma once

// Draws the pages of a laid-out report: on screen (the preview), on a printer, into a PDF.

#include "reports/ReportDocument.h"

#include <QString>

class QFont;
class QPainter;
class QPrinter;

namespace output {

// The font a report control is drawn with, its size in twips (the painter's unit).
QFont reportFont(const ReportFont &font);
// The height in twips that `text` needs in `width` twips when broken into lines.
int wrappedHeight(const QString &text, const ReportFont &font, int width);

// Draws page `page` with the painter's origin at the sheet's top-left corner; `scale` is
// device units per twip. The painter's state is left as it was found.
void paintPage(QPainter &painter, const ReportDocument &document, int page, double scale);

// Prints every page on a printer already chosen (A4, full page).
void printDocument(const ReportDocument &document, QPrinter &printer);

// Writes the report as a PDF file; false (and *error set) when the file can't be written.
bool writePdf(const ReportDocument &document, const QString &path, QString *error = nullptr);

}  // namespace output
