#include "workbook/WorkbookPrint.h"

#include <QFontMetricsF>
#include <QPainter>
#include <QPrinter>

#include <cmath>
#include <numbers>

namespace output {

namespace {

const QColor kPalette[] = {QColor(0x99, 0x99, 0xFF), QColor(0x99, 0x33, 0x66), QColor(0xFF, 0xFF, 0xCC),
                           QColor(0xCC, 0xFF, 0xFF), QColor(0x66, 0x00, 0x66), QColor(0xFF, 0x80, 0x80),
                           QColor(0x00, 0x66, 0xCC), QColor(0xCC, 0xCC, 0xFF), QColor(0x00, 0x00, 0x80),
                           QColor(0xFF, 0x00, 0xFF), QColor(0xFF, 0xFF, 0x00), QColor(0x00, 0xFF, 0xFF)};

QColor sliceColor(int i)
{
    return kPalette[i % int(std::size(kPalette))];
}

}  // namespace

void paintPie(QPainter &painter, const QRectF &area, const std::vector<ChartSlice> &slices, bool threeD)
{
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    double total = 0;
    for (const ChartSlice &s : slices)
        total += std::max(0.0, s.value);
    const QFontMetricsF fm(painter.font());
    // Legend on the right, a line per slice (as many as fit).
    double legendWidth = 0;
    for (const ChartSlice &s : slices)
        legendWidth = std::max(legendWidth, fm.horizontalAdvance(s.label));
    legendWidth = std::min(legendWidth + fm.height() * 2, area.width() / 3);
    const QRectF pieArea(area.left(), area.top(), area.width() - legendWidth, area.height());
    double side = std::min(pieArea.width(), pieArea.height()) * 0.85;
    QRectF pie(0, 0, side, threeD ? side * 0.6 : side);
    pie.moveCenter(pieArea.center());
    const double depth = threeD ? side * 0.08 : 0;
    if (total > 0) {
        auto drawSlices = [&](const QRectF &rect, bool dark) {
            double start = 90.0;
            for (int i = 0; i < int(slices.size()); ++i) {
                const double span = -360.0 * std::max(0.0, slices[i].value) / total;
                const QColor c = dark ? sliceColor(i).darker(150) : sliceColor(i);
                painter.setBrush(c);
                painter.setPen(dark ? QPen(c) : QPen(Qt::black, 0));
                painter.drawPie(rect, int(std::lround(start * 16)), int(std::lround(span * 16)));
                start += span;
            }
        };
        for (double d = depth; d > 0; d -= std::max(1.0, depth / 12))
            drawSlices(pie.translated(0, d), true);
        drawSlices(pie, false);
    }
    double y = area.top() + (area.height() - fm.height() * 1.4 * double(slices.size())) / 2;
    y = std::max(y, area.top());
    const double x = pieArea.right() + fm.height() * 0.5;
    for (int i = 0; i < int(slices.size()) && y + fm.height() <= area.bottom(); ++i) {
        painter.setPen(QPen(Qt::black, 0));
        painter.setBrush(sliceColor(i));
        painter.drawRect(QRectF(x, y + fm.height() * 0.2, fm.height() * 0.6, fm.height() * 0.6));
        painter.drawText(QPointF(x + fm.height(), y + fm.ascent()),
                         fm.elidedText(slices[i].label, Qt::ElideRight, legendWidth - fm.height() * 1.5));
        y += fm.height() * 1.4;
    }
    painter.restore();
}

namespace {

class PrintJob {
public:
    explicit PrintJob(QPrinter &printer) : m_printer(printer) {}

    void begin()
    {
        if (m_painter.isActive())
            return;
        if (!m_painter.begin(&m_printer))
            throw WorkbookError(QStringLiteral("No se pudo imprimir: la impresora no está disponible."));
        QFont f(QStringLiteral("Arial"));
        f.setPointSizeF(10);
        m_painter.setFont(f);
    }
    void newPage()
    {
        begin();
        if (m_pages++ > 0)
            m_printer.newPage();
    }
    void end()
    {
        if (m_painter.isActive())
            m_painter.end();
    }
    QRectF page() const { return QRectF(0, 0, m_printer.width(), m_printer.height()); }

    void chart(const Workbook &book, const Sheet &sheet)
    {
        newPage();
        const bool threeD = sheet.chart && sheet.chart->type == ChartSpec::Pie3D;
        paintPie(m_painter, page(), sheet.chart ? book.chartSlices(*sheet.chart) : std::vector<ChartSlice>{}, threeD);
    }

    void cells(const Sheet &sheet, CellRange range)
    {
        range.bottom = std::min(range.bottom, sheet.lastRow());
        range.right = std::min(range.right, sheet.lastColumn());
        if (range.bottom < range.top || range.right < range.left)
            return;
        begin();
        const QFontMetricsF fm(m_painter.font());
        const QRectF area = page();
        const double pad = fm.horizontalAdvance(QLatin1Char('0')) * 0.5;
        const double rowHeight = fm.height() * 1.3;
        std::vector<double> widths;
        for (int c = range.left; c <= range.right; ++c) {
            double w = fm.horizontalAdvance(QStringLiteral("00000000"));
            for (int r = range.top; r <= range.bottom; ++r)
                w = std::max(w, fm.horizontalAdvance(sheet.cell(r, c).displayText(r, c)));
            widths.push_back(std::min(w + 2 * pad, area.width()));
        }
        const int rowsPerPage = std::max(1, int(area.height() / rowHeight));
        // Columns in bands as wide as the page; each band printed top to bottom.
        int firstColumn = range.left;
        while (firstColumn <= range.right) {
            int lastColumn = firstColumn;
            double used = widths[firstColumn - range.left];
            while (lastColumn < range.right && used + widths[lastColumn + 1 - range.left] <= area.width())
                used += widths[++lastColumn - range.left];
            for (int top = range.top; top <= range.bottom; top += rowsPerPage) {
                newPage();
                const int bottom = std::min(range.bottom, top + rowsPerPage - 1);
                for (int r = top; r <= bottom; ++r) {
                    double x = area.left();
                    const double y = area.top() + (r - top) * rowHeight;
                    for (int c = firstColumn; c <= lastColumn; ++c) {
                        const double w = widths[c - range.left];
                        const QRectF box(x, y, w, rowHeight);
                        m_painter.setPen(QPen(Qt::lightGray, 0));
                        m_painter.drawRect(box);
                        const Cell &cell = sheet.cell(r, c);
                        const bool right = cell.kind == Cell::Kind::Number || cell.kind == Cell::Kind::Date;
                        m_painter.setPen(Qt::black);
                        m_painter.drawText(box.adjusted(pad, 0, -pad, 0),
                                           Qt::AlignVCenter | (right ? Qt::AlignRight : Qt::AlignLeft),
                                           cell.displayText(r, c));
                        x += w;
                    }
                }
            }
            firstColumn = lastColumn + 1;
        }
    }

private:
    QPrinter &m_printer;
    QPainter m_painter;
    int m_pages = 0;
};

}  // namespace

void printSheets(QPrinter &printer, const Workbook &book, const std::vector<int> &sheets)
{
    PrintJob job(printer);
    for (int index : sheets) {
        const Sheet &s = book.sheets.at(index);
        if (s.isChart())
            job.chart(book, s);
        else
            job.cells(s, CellRange{1, 1, kMaxRows, kMaxColumns});
    }
    job.end();
}

void printRange(QPrinter &printer, const Workbook &book, int sheet, const CellRange &range)
{
    PrintJob job(printer);
    const Sheet &s = book.sheets.at(sheet);
    if (s.isChart())
        job.chart(book, s);
    else
        job.cells(s, range);
    job.end();
}

}  // namespace output
