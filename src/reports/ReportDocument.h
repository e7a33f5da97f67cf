#pragma once

// The laid-out pages of a report. A page keeps only where its sections were placed and for
// which row; its display list (plain items in twips, 1/1440 inch, page coordinates counted
// from the sheet's top-left corner, margins included) is made when the page is drawn or
// read, so a report of thousands of pages holds one page's items at a time. The preview,
// the printer, the PDF writer and the tests all read this and nothing else.

#include <QRect>
#include <QSize>
#include <QString>
#include <QStringList>

#include <memory>
#include <vector>

namespace store {
class ShapeRecordset;
}

namespace output {

struct ReportSection;
class PageComposer;

inline constexpr int kTwipsPerPoint = 20;
inline constexpr int kTwipsPerInch = 1440;

// A4 portrait, in twips.
inline constexpr int kA4Width = 11906;
inline constexpr int kA4Height = 16838;

struct ReportFont {
    QString family;        // empty: the platform's default sans serif
    double pointSize = 9;
    bool bold = false;
    bool italic = false;

    bool operator==(const ReportFont &) const = default;
};

struct DisplayItem {
    enum class Kind {
        Text,     // a label, a field or a resolved token
        Rule,     // a horizontal line across rect (its top edge)
        Band,     // a filled rectangle (grey)
        Picture,  // a picture named by `text` ("icon": the program's icon)
    };

    Kind kind = Kind::Text;
    QRect rect;                 // twips, on the page
    QString text;               // the text shown, or the picture's name
    ReportFont font;
    int alignment = 0;          // Qt::Alignment flags for text; 0 = left, vertically centred
    int shade = 0;              // grey level of a band or rule, 0 (black) .. 255 (white)
    QString section;            // the section it belongs to ("MesActual_Detail")
    QString source;             // the field it shows ("HORFECHA"), the token ("%p"), or
                                // empty for a fixed label
    bool wraps = false;         // a field's text breaks into lines within its width
};

// Where one section was placed on a page, in the order of placement, and what it shows.
struct PlacedSection {
    QString name;
    int top = 0;     // twips on the page
    int height = 0;  // as placed: the design's, or more for fields broken into lines
    int level = -1;  // data level of a group header/footer or detail; -1 for the others
    const ReportSection *design = nullptr;
    const store::ShapeRecordset *rows = nullptr;  // the row's level; null for page and report sections
    std::size_t row = 0;
};

struct DisplayPage {
    std::vector<PlacedSection> sections;
};

struct ReportDocument {
    QString title;                          // the preview caption
    QSize pageSize{kA4Width, kA4Height};    // twips
    std::vector<DisplayPage> pages;
    bool complete = false;                  // every page laid out: "%P" is known
    // Holds the design and the data the placed sections point into, and makes the items.
    std::shared_ptr<const PageComposer> composer;

    int pageCount() const { return int(pages.size()); }
    // The display list of a page, made now.
    std::vector<DisplayItem> items(int page) const;
    // Texts of the page's items that came from `section` (and from `source`, if given: the
    // field or token exactly as the design names it), in order.
    QStringList texts(int page, const QString &section, const QString &source = {}) const;
    // Every placed section of every page, in order: the report as one sequence.
    QStringList sectionSequence() const;
    // All texts of a page, top to bottom and left to right, one line per section row.
    QString pageText(int page) const;
};

}  // namespace output
