#pragma once

// The design of a report, as the report runtime holds it: sections from top to bottom,
// each with a height and controls placed by their offsets in twips from the section's
// top-left corner. A control is a label, a field bound to a column of the section's data
// level, a sum over a chapter of that level, a rule, a grey band or a picture.
//
// Labels may hold the tokens "%D" (the date of printing in long form), "%p" (the page
// number) and "%P" (the number of pages).

#include "reports/ReportDocument.h"

#include <QString>

#include <optional>
#include <vector>

namespace output {

struct ReportControl {
    enum class Kind { Label, Field, Sum, Rule, Band, Picture };

    Kind kind = Kind::Label;
    int left = 0;
    int top = 0;
    int width = 0;
    int height = 285;
    QString text;      // label caption, or picture name
    QString field;     // Field: the column; Sum: the column summed
    QString chapter;   // Sum: the chapter of the current row whose rows are summed
    ReportFont font;
    int alignment = 0;
    int shade = 0;     // rules and bands

    static ReportControl label(int left, int top, int width, const QString &text, ReportFont font = {});
    static ReportControl fieldOf(int left, int top, int width, const QString &field, ReportFont font = {});
    static ReportControl sumOf(int left, int top, int width, const QString &chapter, const QString &field,
                               ReportFont font = {});
    static ReportControl rule(int top, int left, int width, int shade = 0);
    static ReportControl band(int left, int top, int width, int height, int shade);
    static ReportControl picture(int left, int top, int width, int height, const QString &name);
};

struct ReportSection {
    QString name;
    int height = 0;  // a section of height 0 is not printed
    std::vector<ReportControl> controls;
};

// One level of the data: the first is the top recordset, each further one the chapter of
// that name in a row of the level above. Every level but the last may have a group header
// and footer around its rows' children; the last has the detail section.
struct ReportLevel {
    QString chapter;  // empty for the top level
    std::optional<ReportSection> header;
    std::optional<ReportSection> footer;
};

struct ReportLayout {
    QString title;  // the preview caption
    int width = 9360;
    ReportSection reportHeader;
    ReportSection pageHeader;
    std::vector<ReportLevel> levels;
    ReportSection detail;
    ReportSection pageFooter;
    ReportSection reportFooter;

    // Left margin that centres the report's width on the sheet.
    int leftMargin(int pageWidth = kA4Width) const { return (pageWidth - width) / 2; }
    static constexpr int kTopMargin = 1080;
    static constexpr int kBottomMargin = 1080;
};

}  // namespace output
