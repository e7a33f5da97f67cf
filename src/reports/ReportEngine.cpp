#include "reports/ReportEngine.h"

#include "reports/ReportPainter.h"

#include "ui/Masks.h"

#include <QLocale>

#include <algorithm>
#include <limits>
#include <map>

namespace output {

// ---- the design's building blocks ---------------------------------------------------------

ReportControl ReportControl::label(int left, int top, int width, const QString &text, ReportFont font)
{
    ReportControl c;
    c.kind = Kind::Label;
    c.left = left;
    c.top = top;
    c.width = width;
    c.text = text;
    c.font = font;
    return c;
}

ReportControl ReportControl::fieldOf(int left, int top, int width, const QString &field, ReportFont font)
{
    ReportControl c = label(left, top, width, {}, font);
    c.kind = Kind::Field;
    c.field = field;
    return c;
}

ReportControl ReportControl::sumOf(int left, int top, int width, const QString &chapter, const QString &field,
                                   ReportFont font)
{
    ReportControl c = fieldOf(left, top, width, field, font);
    c.kind = Kind::Sum;
    c.chapter = chapter;
    return c;
}

ReportControl ReportControl::rule(int top, int left, int width, int shade)
{
    ReportControl c = band(left, top, width, 15, shade);
    c.kind = Kind::Rule;
    return c;
}

ReportControl ReportControl::band(int left, int top, int width, int height, int shade)
{
    ReportControl c;
    c.kind = Kind::Band;
    c.left = left;
    c.top = top;
    c.width = width;
    c.height = height;
    c.shade = shade;
    return c;
}

ReportControl ReportControl::picture(int left, int top, int width, int height, const QString &name)
{
    ReportControl c;
    c.kind = Kind::Picture;
    c.left = left;
    c.top = top;
    c.width = width;
    c.height = height;
    c.text = name;
    return c;
}

// ---- the display list ---------------------------------------------------------------------

std::vector<DisplayItem> ReportDocument::items(int page) const
{
    if (!composer || page < 0 || page >= pageCount())
        return {};
    return composer->compose(*this, page);
}

QStringList ReportDocument::texts(int page, const QString &section, const QString &source) const
{
    QStringList out;
    for (const DisplayItem &item : items(page)) {
        if (item.kind != DisplayItem::Kind::Text || item.section != section)
            continue;
        if (!source.isEmpty() && item.source != source)
            continue;
        out << item.text;
    }
    return out;
}

QStringList ReportDocument::sectionSequence() const
{
    QStringList out;
    for (const DisplayPage &page : pages)
        for (const PlacedSection &s : page.sections)
            out << s.name;
    return out;
}

QString ReportDocument::pageText(int page) const
{
    std::map<std::pair<int, int>, QString> byPosition;
    for (const DisplayItem &item : items(page)) {
        if (item.kind == DisplayItem::Kind::Text && !item.text.isEmpty())
            byPosition[{item.rect.top(), item.rect.left()}] = item.text;
    }
    QStringList lines;
    int lastTop = -1;
    for (const auto &[pos, text] : byPosition) {
        if (pos.first != lastTop)
            lines << text;
        else
            lines.last() += QLatin1Char(' ') + text;
        lastTop = pos.first;
    }
    return lines.join(QLatin1Char('\n'));
}

// ---- values -------------------------------------------------------------------------------

QString longDate(const QDate &date)
{
    return QLocale(QLocale::Spanish, QLocale::Uruguay).toString(date, QLocale::LongFormat);
}

QString fieldText(const QVariant &value)
{
    return ui::formatValue(value, QString());
}

namespace {

// The sum of a column over the rows of a chapter: Nulls skipped, an integer while every
// value is one, 0 over no rows.
QVariant sumOver(const store::ShapeRecordset &rows, const QString &column)
{
    qlonglong whole = 0;
    double real = 0;
    bool integral = true;
    for (std::size_t r = 0; r < rows.size(); ++r) {
        const QVariant v = rows.value(r, column);
        if (!v.isValid() || v.isNull())
            continue;
        const int type = v.typeId();
        if (integral && (type == QMetaType::LongLong || type == QMetaType::Int || type == QMetaType::ULongLong
                         || type == QMetaType::UInt)) {
            whole += v.toLongLong();
        } else {
            if (integral)
                real = double(whole);
            integral = false;
            real += v.toDouble();
        }
    }
    return integral ? QVariant(whole) : QVariant(real);
}

int countRows(const store::ShapeRecordset &rows, const std::vector<ReportLevel> &levels, std::size_t level)
{
    int n = int(rows.size());
    if (level + 1 < levels.size()) {
        for (std::size_t r = 0; r < rows.size(); ++r)
            n += countRows(rows.child(r, levels[level + 1].chapter), levels, level + 1);
    }
    return n;
}

}  // namespace

// ---- the items of a page ------------------------------------------------------------------

PageComposer::PageComposer(ReportLayout layout, store::ShapeChapter data, const QDate &printDate)
    : m_layout(std::move(layout)), m_data(std::move(data)), m_printDate(printDate)
{
    if (!m_data)
        m_data = std::make_shared<store::ShapeRecordset>();
    if (m_layout.levels.empty())
        m_layout.levels.push_back(ReportLevel{});
}

std::vector<DisplayItem> PageComposer::compose(const ReportDocument &document, int page) const
{
    std::vector<DisplayItem> out;
    const int left = m_layout.leftMargin(document.pageSize.width());
    const QString pageNumber = QString::number(page + 1);
    // Written once the number of pages is known.
    const QString pageCount = document.complete ? QString::number(document.pageCount()) : QString();
    for (const PlacedSection &placed : document.pages[std::size_t(page)].sections) {
        const store::ShapeRecordset *rows = placed.rows;
        const std::size_t row = placed.row;
        // A section that grew for a field broken into lines pushes down what stands below
        // that field (the rule under a detail line) by as much as the field grew, within the
        // section, so nothing is drawn across the text.
        int pushedFrom = std::numeric_limits<int>::max();
        int pushedBy = 0;
        if (placed.height > placed.design->height && rows) {
            for (const ReportControl &c : placed.design->controls) {
                if (c.kind != ReportControl::Kind::Field)
                    continue;
                const int need = wrappedHeight(fieldText(rows->value(row, c.field)), c.font, c.width);
                if (need > c.height) {
                    pushedFrom = std::min(pushedFrom, c.top + c.height);
                    pushedBy = std::max(pushedBy, need - c.height);
                }
            }
        }
        for (const ReportControl &c : placed.design->controls) {
            DisplayItem item;
            const int top = c.top < pushedFrom ? c.top : std::max(c.top, std::min(c.top + pushedBy, placed.height - c.height));
            item.rect = QRect(left + c.left, placed.top + top, c.width, c.height);
            item.section = placed.name;
            item.font = c.font;
            item.alignment = c.alignment;
            item.shade = c.shade;
            switch (c.kind) {
            case ReportControl::Kind::Label:
                item.kind = DisplayItem::Kind::Text;
                item.text = c.text;
                if (c.text == QLatin1String("%D")) {
                    item.source = c.text;
                    item.text = longDate(m_printDate);
                } else if (c.text == QLatin1String("%p")) {
                    item.source = c.text;
                    item.text = pageNumber;
                } else if (c.text == QLatin1String("%P")) {
                    item.source = c.text;
                    item.text = pageCount;
                }
                break;
            case ReportControl::Kind::Field:
                item.kind = DisplayItem::Kind::Text;
                item.source = c.field;
                item.text = rows ? fieldText(rows->value(row, c.field)) : QString();
                item.wraps = true;
                item.rect.setHeight(std::max(c.height, wrappedHeight(item.text, c.font, c.width)));
                if (!item.alignment && item.rect.height() > c.height)
                    item.alignment = int(Qt::AlignLeft | Qt::AlignTop);
                break;
            case ReportControl::Kind::Sum:
                item.kind = DisplayItem::Kind::Text;
                item.source = c.field;
                item.text = rows ? fieldText(sumOver(rows->child(row, c.chapter), c.field)) : QString();
                break;
            case ReportControl::Kind::Rule:
                item.kind = DisplayItem::Kind::Rule;
                break;
            case ReportControl::Kind::Band:
                item.kind = DisplayItem::Kind::Band;
                break;
            case ReportControl::Kind::Picture:
                item.kind = DisplayItem::Kind::Picture;
                item.text = c.text;
                break;
            }
            out.push_back(std::move(item));
        }
    }
    return out;
}

// ---- layout -------------------------------------------------------------------------------

ReportLayouter::ReportLayouter(ReportLayout layout, store::ShapeChapter data, const QDate &printDate)
    : m_composer(std::make_shared<PageComposer>(std::move(layout), std::move(data), printDate)),
      m_layout(m_composer->layout())
{
    m_doc.title = m_layout.title;
    m_doc.composer = m_composer;
    m_rowsTotal = countRows(m_composer->data(), m_layout.levels, 0);
}

int ReportLayouter::bodyBottom() const
{
    return m_doc.pageSize.height() - ReportLayout::kBottomMargin - m_layout.pageFooter.height;
}

void ReportLayouter::openPage()
{
    m_doc.pages.emplace_back();
    m_pageOpen = true;
    m_cursor = ReportLayout::kTopMargin;
    if (m_doc.pages.size() == 1)
        place(m_layout.reportHeader, -1, nullptr, 0);
    if (m_layout.pageHeader.height > 0) {
        record(m_layout.pageHeader, -1, m_cursor, nullptr, 0, m_layout.pageHeader.height);
        m_cursor += m_layout.pageHeader.height;
    }
    m_bodyTop = m_cursor;
}

void ReportLayouter::closePage()
{
    if (m_layout.pageFooter.height > 0)
        record(m_layout.pageFooter, -1, bodyBottom(), nullptr, 0, m_layout.pageFooter.height);
    m_pageOpen = false;
}

void ReportLayouter::place(const ReportSection &section, int level, const store::ShapeRecordset *rows,
                           std::size_t row)
{
    if (section.height <= 0)
        return;
    if (!m_pageOpen)
        openPage();
    const int height = section.height + growth(section, rows, row);
    // A section that does not fit goes to the next page, unless the page body is still
    // empty (a section taller than a page is printed as it is, cut by the footer).
    if (m_cursor + height > bodyBottom() && m_cursor > m_bodyTop) {
        closePage();
        openPage();
    }
    record(section, level, m_cursor, rows, row, height);
    m_cursor += height;
}

// A field whose text is wider than the field breaks into lines: how much taller than its
// design the section must be for the longest of them.
int ReportLayouter::growth(const ReportSection &section, const store::ShapeRecordset *rows, std::size_t row) const
{
    int extra = 0;
    for (const ReportControl &c : section.controls) {
        if (c.kind != ReportControl::Kind::Field || !rows)
            continue;
        const QString text = fieldText(rows->value(row, c.field));
        const int need = wrappedHeight(text, c.font, c.width);
        extra = std::max(extra, c.top + need - section.height + 20);
    }
    return std::max(0, extra);
}

void ReportLayouter::record(const ReportSection &section, int level, int top, const store::ShapeRecordset *rows,
                            std::size_t row, int height)
{
    m_doc.pages.back().sections.push_back(PlacedSection{section.name, top, height, level, &section, rows, row});
}

void ReportLayouter::start()
{
    m_started = true;
    openPage();
    m_stack.push_back(Frame{&m_composer->data(), 0, 0});
}

void ReportLayouter::finish()
{
    place(m_layout.reportFooter, -1, nullptr, 0);
    closePage();
    m_doc.complete = true;
    m_done = true;
}

bool ReportLayouter::step(int rows)
{
    if (m_done)
        return true;
    if (!m_started)
        start();
    const int lastLevel = int(m_layout.levels.size()) - 1;
    int budget = std::max(1, rows);
    while (budget > 0) {
        if (m_stack.empty()) {
            finish();
            return true;
        }
        const std::size_t top = m_stack.size() - 1;
        const Frame f = m_stack[top];
        const ReportLevel &level = m_layout.levels[std::size_t(f.level)];
        if (f.row >= f.rows->size()) {
            // This level's rows are done: the footer of the parent row closes its group.
            m_stack.pop_back();
            if (!m_stack.empty()) {
                Frame &parent = m_stack.back();
                const ReportLevel &parentLevel = m_layout.levels[std::size_t(parent.level)];
                if (parentLevel.footer)
                    place(*parentLevel.footer, parent.level, parent.rows, parent.row);
                ++parent.row;
            }
            continue;
        }
        if (level.header)
            place(*level.header, f.level, f.rows, f.row);
        ++m_rowsDone;
        --budget;
        if (f.level == lastLevel) {
            place(m_layout.detail, f.level, f.rows, f.row);
            if (level.footer)
                place(*level.footer, f.level, f.rows, f.row);
            ++m_stack[top].row;
        } else {
            const QString &chapter = m_layout.levels[std::size_t(f.level) + 1].chapter;
            m_stack.push_back(Frame{&f.rows->child(f.row, chapter), 0, f.level + 1});
        }
    }
    return m_done;
}

ReportDocument layoutReport(const ReportLayout &layout, store::ShapeChapter data, const QDate &printDate)
{
    ReportLayouter layouter(layout, std::move(data), printDate);
    while (!layouter.step(100000)) {
    }
    return layouter.document();
}

}  // namespace output
