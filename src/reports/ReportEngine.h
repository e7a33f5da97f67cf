#pragma once

// Lays a report's sections out over a hierarchical result, page by page.
//
// The order on paper: the report header (first page only, above the page header), then for
// each row of the top level its group header, its children (recursively, down to the
// detail section of the last level), its group footer; then the report footer. Every page
// carries the page header at its top and the page footer at its bottom. A section is never
// split: one that does not fit in what is left of the page body starts the next page.
// Sections of height 0 are not printed.
//
// Layout can run in steps so that a window stays responsive over thousands of rows: step()
// handles a batch of rows and returns; the document grows page by page. Layout only places
// sections; a page's items are made when the page is drawn or read (PageComposer). "%P"
// (the number of pages) is only known, and shown, once the layout is complete.

#include "reports/ReportDocument.h"
#include "reports/ReportLayout.h"
#include "store/Shape.h"

#include <QDate>

#include <memory>
#include <vector>

namespace output {

// The date in long form under the Spanish settings: "lunes, 4 de noviembre de 2001".
QString longDate(const QDate &date);

// The text a field shows for a value with no mask (as a grid column without a mask).
QString fieldText(const QVariant &value);

// Makes the items of one laid-out page from the design and the data it was laid out over,
// both of which it keeps alive for the document.
class PageComposer {
public:
    PageComposer(ReportLayout layout, store::ShapeChapter data, const QDate &printDate);

    const ReportLayout &layout() const { return m_layout; }
    const store::ShapeRecordset &data() const { return *m_data; }
    std::vector<DisplayItem> compose(const ReportDocument &document, int page) const;

private:
    ReportLayout m_layout;
    store::ShapeChapter m_data;
    QDate m_printDate;
};

class ReportLayouter {
public:
    ReportLayouter(ReportLayout layout, store::ShapeChapter data, const QDate &printDate = QDate::currentDate());

    // Lays out at most `rows` more rows (of any level); true once the report is complete.
    bool step(int rows = 400);
    bool done() const { return m_done; }
    // Rows laid out so far, and in all (for a progress bar).
    int rowsDone() const { return m_rowsDone; }
    int rowsTotal() const { return m_rowsTotal; }

    // The pages so far; complete once done().
    const ReportDocument &document() const { return m_doc; }

private:
    struct Frame {
        const store::ShapeRecordset *rows;
        std::size_t row = 0;
        int level = 0;
    };

    void start();
    void finish();
    void openPage();
    void closePage();
    void place(const ReportSection &section, int level, const store::ShapeRecordset *rows, std::size_t row);
    int growth(const ReportSection &section, const store::ShapeRecordset *rows, std::size_t row) const;
    // `height`: the section's height as placed (its design's, or more for wrapped fields).
    void record(const ReportSection &section, int level, int top, const store::ShapeRecordset *rows,
                std::size_t row, int height);
    int bodyBottom() const;

    std::shared_ptr<const PageComposer> m_composer;
    const ReportLayout &m_layout;
    ReportDocument m_doc;
    std::vector<Frame> m_stack;
    bool m_started = false;
    bool m_done = false;
    bool m_pageOpen = false;
    int m_cursor = 0;
    int m_bodyTop = 0;
    int m_rowsDone = 0;
    int m_rowsTotal = 0;
};

// The whole layout in one go.
ReportDocument layoutReport(const ReportLayout &layout, store::ShapeChapter data,
                            const QDate &printDate = QDate::currentDate());

}  // namespace output
