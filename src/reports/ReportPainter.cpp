#include "reports/ReportPainter.h"

#include <QApplication>
#include <QFile>
#include <QFontDatabase>
#include <QFontMetricsF>
#include <QGlyphRun>
#include <QHash>
#include <QIcon>
#include <QPageLayout>
#include <QPageSize>
#include <QPainter>
#include <QPainterPath>
#include <QPdfWriter>
#include <QPrinter>
#include <QTextLayout>

#include <memory>
#include <vector>

namespace output {

namespace {

// A line of text shaped once in a font: its glyphs, ready to draw, and its width. Reports
// repeat their texts (dates, names, descriptions, totals) over thousands of rows.
struct ShapedLine {
    QList<QGlyphRun> runs;
    qreal width = 0;
};

// How many shaped lines a font keeps before it starts again: a few megabytes at most.
constexpr qsizetype kShapedLinesKept = 16384;

// A design font as drawn, with what drawing and layout ask of it, made once: a report uses
// a handful of fonts over thousands of items.
struct FontEntry {
    ReportFont key;
    QFont font;
    QFontMetricsF metrics;
    int lineHeight = 0;   // what one line of text takes when broken into lines
    int emptyHeight = 0;  // the same for no text
    QHash<QString, ShapedLine> lines;
};

QFont makeFont(const ReportFont &f)
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

int measuredHeight(const QFont &font, const QString &text, int width)
{
    return QFontMetrics(font).boundingRect(QRect(0, 0, std::max(1, width), 1 << 24), Qt::TextWordWrap, text).height();
}

FontEntry &fontEntry(const ReportFont &f)
{
    // Kept for the life of the process on purpose: fonts must not outlive the application
    // object in a static's destructor.
    static auto *cache = new std::vector<std::unique_ptr<FontEntry>>;
    for (const auto &entry : *cache)
        if (entry->key == f)
            return *entry;
    const QFont font = makeFont(f);
    auto entry = std::make_unique<FontEntry>(
        FontEntry{f, font, QFontMetricsF(font), measuredHeight(font, QStringLiteral("Xg"), 1 << 20),
                  measuredHeight(font, QString(), 1 << 20), {}});
    cache->push_back(std::move(entry));
    return *cache->back();
}

const ShapedLine &shaped(FontEntry &font, const QString &text)
{
    if (const auto it = font.lines.constFind(text); it != font.lines.cend())
        return *it;
    if (font.lines.size() >= kShapedLinesKept)
        font.lines.clear();
    QTextLayout layout(text, font.font);
    layout.beginLayout();
    const QTextLine line = layout.createLine();
    layout.endLayout();
    return *font.lines.insert(text, ShapedLine{layout.glyphRuns(), line.isValid() ? line.naturalTextWidth() : 0});
}

// True when `text` is one line that fits in `width` as it is: no line break, no character a
// fallback font might draw taller, and narrower than the width. Such a text takes one line
// of the font's height and is drawn from its shaped glyphs, without a text layout.
bool fitsOnOneLine(FontEntry &font, const QString &text, int width)
{
    for (const QChar c : text) {
        if (c.unicode() < 0x20 || c.unicode() >= 0x250)
            return false;
    }
    return shaped(font, text).width + 1 < width;
}

}  // namespace

QFont reportFont(const ReportFont &font)
{
    return fontEntry(font).font;
}

int wrappedHeight(const QString &text, const ReportFont &font, int width)
{
    FontEntry &entry = fontEntry(font);
    if (text.isEmpty())
        return entry.emptyHeight;
    if (fitsOnOneLine(entry, text, width))
        return entry.lineHeight;
    return measuredHeight(entry.font, text, width);
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

// Draws the items of a page with one graphics state shared between them: the font and pen
// change only when an item needs another, and a text is clipped only when it may overflow
// its rectangle. Every state change is written into the page of a PDF, so this keeps the
// page small and quick to write.
class ItemPainter {
public:
    explicit ItemPainter(QPainter &p) : m_p(p) {}

    void text(const DisplayItem &item)
    {
        if (item.text.isEmpty())
            return;
        FontEntry &font = fontEntry(item.font);
        if (&font != m_font) {
            m_p.setFont(font.font);
            m_font = &font;
        }
        if (!m_textPen) {
            m_p.setPen(Qt::black);
            m_textPen = true;
        }
        const int align = item.alignment ? item.alignment : int(Qt::AlignLeft | Qt::AlignVCenter);
        const QRect &r = item.rect;
        if (font.lineHeight <= r.height() && fitsOnOneLine(font, item.text, r.width())) {
            const ShapedLine &line = shaped(font, item.text);
            const QPointF origin = lineOrigin(font, line.width, r, align);
            for (const QGlyphRun &run : line.runs)
                m_p.drawGlyphRun(origin, run);
            return;
        }
        m_p.setClipRect(r);
        m_p.drawText(r, align | (item.wraps ? Qt::TextWordWrap : Qt::TextSingleLine), item.text);
        m_p.setClipping(false);
    }

    void rule(const DisplayItem &item)
    {
        QPen pen(QColor(item.shade, item.shade, item.shade));
        pen.setWidth(std::max(1, item.rect.height()));
        m_p.setPen(pen);
        m_textPen = false;
        m_p.drawLine(item.rect.left(), item.rect.top(), item.rect.left() + item.rect.width(), item.rect.top());
    }

private:
    // The top-left corner of a one-line text `width` wide, aligned in its rectangle as a
    // text layout would place it.
    static QPointF lineOrigin(const FontEntry &font, qreal width, const QRect &r, int align)
    {
        const qreal height = font.metrics.ascent() + font.metrics.descent();
        qreal x = r.left();
        if (align & Qt::AlignRight)
            x = r.left() + r.width() - width;
        else if (align & Qt::AlignHCenter)
            x = r.left() + (r.width() - width) / 2;
        qreal y = r.top();
        if (align & Qt::AlignBottom)
            y = r.top() + r.height() - height;
        else if (align & Qt::AlignVCenter)
            y = r.top() + (r.height() - height) / 2;
        return QPointF(x, y);
    }

    QPainter &m_p;
    const FontEntry *m_font = nullptr;
    bool m_textPen = false;
};

}  // namespace

void paintPage(QPainter &p, const ReportDocument &document, int page, double scale)
{
    if (page < 0 || page >= document.pageCount())
        return;
    const std::vector<DisplayItem> items = document.items(page);
    p.save();
    p.scale(scale, scale);
    p.setRenderHint(QPainter::Antialiasing, true);
    p.setRenderHint(QPainter::TextAntialiasing, true);
    ItemPainter painter(p);
    for (const DisplayItem &item : items) {
        switch (item.kind) {
        case DisplayItem::Kind::Text:
            painter.text(item);
            break;
        case DisplayItem::Kind::Rule:
            painter.rule(item);
            break;
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
