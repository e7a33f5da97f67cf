#include "reports/ReportPainter.h"

#include <QApplication>
#include <QFile>
#include <QFontDatabase>
#include <QIcon>
#include <QPageLayout>
#include <QPageSize>
#include <QPainter>
#include <QPainterPath>
#include <QPdfWriter>
#include <QPrinter>

namespace output {

QFont reportFont(const ReportFont &f)
{
    QFont font = QFontDatabase::systemFont(QFontDatabase::GeneralFont);
    if (!f.family.isEmpty())
        font.setFamily(f.family);
    font.setStyleHint(QFont::SansSerif);
    // The painter works in twips, so the size is given in them.
    font.setPixelSize(std::max(1, int(f.pointSize * kTwipsPerPoint + 0.5)));
    font.setBold(f.bold);
    font.setItalic(f.italic);
    return font;
}

int wrappedHeight(const QString &text, const ReportFont &font, int width)
{
    const QFontMetrics fm(reportFont(font));
    return fm.boundingRect(QRect(0, 0, std::max(1, width), 1 << 24), Qt::TextWordWrap, text).height();
}

namespace {

// The program's icon, or when the application has none a clock face drawn in its place.
void drawIcon(QPainter &p, const QRect &r)
{
    const QIcon icon = QApplication::windowIcon();
    if (!icon.isNull()) {
        p.drawPixmap(r, icon.pixmap(256, 256));
        return;
    }
    p.save();
    QPen pen(QColor(40, 70, 130));
    pen.setWidth(std::max(1, r.width() / 16));
    p.setPen(pen);
    p.setBrush(QColor(220, 230, 245));
    const QRect face = r.adjusted(pen.width(), pen.width(), -pen.width(), -pen.width());
    p.drawEllipse(face);
    const QPoint c = face.center();
    p.drawLine(c, QPoint(c.x(), face.top() + face.height() / 5));
    p.drawLine(c, QPoint(c.x() + face.width() / 4, c.y()));
    p.restore();
}

}  // namespace

void paintPage(QPainter &p, const ReportDocument &document, int page, double scale)
{
    if (page < 0 || page >= document.pageCount())
        return;
    p.save();
    p.scale(scale, scale);
    p.setRenderHint(QPainter::Antialiasing, true);
    p.setRenderHint(QPainter::TextAntialiasing, true);
    for (const DisplayItem &item : document.pages[std::size_t(page)].items) {
        switch (item.kind) {
        case DisplayItem::Kind::Text: {
            if (item.text.isEmpty())
                break;
            p.save();
            p.setClipRect(item.rect);
            p.setFont(reportFont(item.font));
            p.setPen(Qt::black);
            const int align = item.alignment ? item.alignment : int(Qt::AlignLeft | Qt::AlignVCenter);
            p.drawText(item.rect, align | (item.wraps ? Qt::TextWordWrap : Qt::TextSingleLine), item.text);
            p.restore();
            break;
        }
        case DisplayItem::Kind::Rule: {
            QPen pen(QColor(item.shade, item.shade, item.shade));
            pen.setWidth(std::max(1, item.rect.height()));
            p.setPen(pen);
            p.drawLine(item.rect.left(), item.rect.top(), item.rect.left() + item.rect.width(), item.rect.top());
            break;
        }
        case DisplayItem::Kind::Band:
            p.fillRect(item.rect, QColor(item.shade, item.shade, item.shade));
            break;
        case DisplayItem::Kind::Picture:
            drawIcon(p, item.rect);
            break;
        }
    }
    p.restore();
}

void printDocument(const ReportDocument &document, QPrinter &printer)
{
    printer.setFullPage(true);
    printer.setPageLayout(QPageLayout(QPageSize(QPageSize::A4), QPageLayout::Portrait, QMarginsF()));
    printer.setDocName(document.title);
    QPainter p;
    if (!p.begin(&printer))
        return;
    const double scale = printer.resolution() / double(kTwipsPerInch);
    // A range chosen in the print dialog (pages counted from 1; 0 means all).
    const int first = printer.fromPage() > 0 ? printer.fromPage() - 1 : 0;
    const int last = printer.toPage() > 0 ? std::min(printer.toPage(), document.pageCount()) - 1
                                          : document.pageCount() - 1;
    for (int i = first; i <= last; ++i) {
        if (i > first)
            printer.newPage();
        paintPage(p, document, i, scale);
    }
    p.end();
}

bool writePdf(const ReportDocument &document, const QString &path, QString *error)
{
    {
        // QPdfWriter says nothing about a file it can't open: try it first.
        QFile probe(path);
        if (!probe.open(QIODevice::WriteOnly)) {
            if (error)
                *error = probe.errorString();
            return false;
        }
    }
    QPdfWriter writer(path);
    writer.setTitle(document.title);
    writer.setCreator(QStringLiteral("Tempalia"));
    writer.setPageLayout(QPageLayout(QPageSize(QPageSize::A4), QPageLayout::Portrait, QMarginsF()));
    writer.setResolution(1200);
    QPainter p;
    if (!p.begin(&writer)) {
        if (error)
            *error = QStringLiteral("no se pudo escribir el archivo");
        return false;
    }
    const double scale = writer.resolution() / double(kTwipsPerInch);
    for (int i = 0; i < document.pageCount(); ++i) {
        if (i > 0)
            writer.newPage();
        paintPage(p, document, i, scale);
    }
    p.end();
    return true;
}

}  // namespace output
