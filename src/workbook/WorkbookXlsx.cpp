#include "workbook/WorkbookXlsx.h"

#include "workbook/XlsxChartParts.h"

#include <xlsxwriter.h>

#include <zip.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QRegularExpression>
#include <QSaveFile>
#include <QTemporaryDir>
#include <QXmlStreamReader>

#include <charconv>
#include <cmath>
#include <limits>

namespace output {

// --- writing -------------------------------------------------------------------------------

namespace {

QString quotedSheet(const QString &name)
{
    static const QRegularExpression plain(QStringLiteral("^[A-Za-z_][A-Za-z0-9_.]*$"));
    static const QRegularExpression reference(QStringLiteral("^([A-Za-z]{1,3}\\d+|[Rr]\\d*[Cc]\\d*)$"));
    if (plain.match(name).hasMatch() && !reference.match(name).hasMatch())
        return name;
    QString q = name;
    q.replace(QLatin1Char('\''), QStringLiteral("''"));
    return QLatin1Char('\'') + q + QLatin1Char('\'');
}

QString sheetRange(const QString &sheet, const CellRange &range)
{
    return QLatin1Char('=') + quotedSheet(sheet) + QLatin1Char('!') + range.toA1(true);
}

QString writeError(lxw_error error)
{
    return QString::fromUtf8(lxw_strerror(error));
}

void check(lxw_error error)
{
    if (error != LXW_NO_ERROR)
        throw WorkbookError(writeError(error));
}

}  // namespace

// How many characters a cell shows; whole numbers, most of what is written, are counted
// without being turned into text.
static qsizetype shownLength(const Cell &c, int row, int column)
{
    if (c.kind == Cell::Kind::Text)
        return c.value.toString().size();
    if (c.kind == Cell::Kind::Number) {
        const double v = c.value.toDouble();
        if (showsWhole(v)) {
            qsizetype length = v < 0 ? 2 : 1;
            for (qint64 rest = qAbs(qint64(v)); rest >= 10; rest /= 10)
                ++length;
            return length;
        }
    }
    return c.displayText(row, column).size();
}

// The width a cell asks of its column, in characters (0: none): as wide as what it shows
// when it can't spill into its right neighbour (numbers and dates, which otherwise show as
// ###, and text with something to its right). Text with room to its right asks nothing.
static double widthNeeded(const Sheet &sheet, std::map<std::pair<int, int>, Cell>::const_iterator it)
{
    const auto &[pos, c] = *it;
    if (c.isEmpty())
        return 0;
    if (c.kind == Cell::Kind::Text) {
        // The right neighbour, if it holds anything, is the next cell of the map.
        const auto next = std::next(it);
        const bool spills = next == sheet.cells.end() || next->first != std::pair(pos.first, pos.second + 1) ||
                            next->second.isEmpty();
        if (spills)
            return 0;
    }
    return std::max(8.43, std::min(60.0, shownLength(c, pos.first, pos.second) * 1.15 + 2));
}

namespace {

// A number as the chart writer caches it (printf's %.16g).
void appendNumber(QByteArray &out, double value)
{
    char text[32];
    const auto end = std::to_chars(text, text + sizeof text, value, std::chars_format::general, 16).ptr;
    out.append(text, end - text);
}

void appendIndex(QByteArray &out, int index)
{
    char text[12];
    const auto end = std::to_chars(text, text + sizeof text, index).ptr;
    out.append(text, end - text);
}

// A text as XML element content.
void appendEscaped(QByteArray &out, const QString &text)
{
    const QByteArray utf8 = text.toUtf8();
    for (const char ch : utf8) {
        switch (ch) {
        case '&':
            out.append("&amp;");
            break;
        case '<':
            out.append("&lt;");
            break;
        case '>':
            out.append("&gt;");
            break;
        default:
            out.append(ch);
        }
    }
}

// The values of a chart's reference to `range`, one point per cell numbered from 0 (a blank
// cell has none), as a spreadsheet keeps them beside the reference.
ChartCache chartCache(const Sheet &sheet, const CellRange &range)
{
    ChartCache cache;
    const int count = range.rows() * range.columns();
    cache.points.reserve(qsizetype(std::min<std::size_t>(std::size_t(count), sheet.cells.size())) * 40);
    cache.points.append("<c:ptCount val=\"");
    appendIndex(cache.points, count);
    cache.points.append("\"/>");
    // The cells of the range, in the map's order (row, then column), which is the points' order.
    for (auto it = sheet.cells.lower_bound({range.top, range.left});
         it != sheet.cells.end() && it->first.first <= range.bottom; ++it) {
        const auto &[pos, c] = *it;
        if (c.isEmpty() || !range.contains(pos.first, pos.second))
            continue;
        cache.points.append("<c:pt idx=\"");
        appendIndex(cache.points, (pos.first - range.top) * range.columns() + (pos.second - range.left));
        cache.points.append("\"><c:v>");
        const bool text =
            c.kind == Cell::Kind::Text || (c.kind == Cell::Kind::Formula && c.value.typeId() == QMetaType::QString);
        if (text) {
            appendEscaped(cache.points, c.value.toString());
            cache.text = true;
        } else if (c.kind == Cell::Kind::Date) {
            appendNumber(cache.points, dateSerial(c.value.toDate()));
        } else if (c.kind == Cell::Kind::Boolean) {
            cache.points.append(c.value.toBool() ? '1' : '0');
        } else {
            appendNumber(cache.points, c.value.toDouble());
        }
        cache.points.append("</c:v></c:pt>");
    }
    return cache;
}

}  // namespace

void saveXlsx(const Workbook &book, const QString &path)
{
    const QFileInfo target(path);
    if (path.trimmed().isEmpty())
        throw WorkbookError(QStringLiteral("no se indicó el nombre del archivo."));
    if (!target.absoluteDir().exists())
        throw WorkbookError(QStringLiteral("la carpeta «%1» no existe.")
                                .arg(QDir::toNativeSeparators(target.absolutePath())));
    if (target.isDir())
        throw WorkbookError(QStringLiteral("«%1» es una carpeta.").arg(QDir::toNativeSeparators(path)));

    QTemporaryDir scratch;
    if (!scratch.isValid())
        throw WorkbookError(QStringLiteral("no se pudo crear un archivo temporal."));
    const QByteArray tmpFile = QFile::encodeName(scratch.filePath(QStringLiteral("book.xlsx")));
    QByteArray tmpDir = QFile::encodeName(scratch.path());
    lxw_workbook_options options{};
    options.tmpdir = tmpDir.data();
    options.use_zip64 = LXW_TRUE;
    options.constant_memory = LXW_TRUE;
    lxw_workbook *wb = workbook_new_opt(tmpFile.constData(), &options);
    if (!wb)
        throw WorkbookError(QStringLiteral("no se pudo preparar el libro."));

    std::map<int, ChartPartEdit> chartEdits;  // by the number of the chart part
    int charts = 0;
    try {
        lxw_format *dateFormat = workbook_add_format(wb);
        format_set_num_format(dateFormat, "dd/mm/yyyy");
        for (int i = 0; i < int(book.sheets.size()); ++i) {
            const Sheet &s = book.sheets[i];
            const QByteArray name = s.name.toUtf8();
            if (s.isChart()) {
                lxw_chartsheet *cs = workbook_add_chartsheet(wb, name.constData());
                if (!cs)
                    throw WorkbookError(QStringLiteral("la hoja «%1» no se pudo escribir.").arg(s.name));
                lxw_chart *chart = workbook_add_chart(wb, LXW_CHART_PIE);
                ChartPartEdit &edit = chartEdits[++charts];
                edit.threeDimensional = !s.chart || s.chart->type == ChartSpec::Pie3D;
                const auto ranges = s.chart ? book.chartSeries(*s.chart) : std::nullopt;
                if (ranges) {
                    const Sheet &source = book.sheets[book.sheetIndex(s.chart->sourceSheet)];
                    const QByteArray values = sheetRange(s.chart->sourceSheet, ranges->values).toUtf8();
                    const QByteArray labels =
                        ranges->labels ? sheetRange(s.chart->sourceSheet, *ranges->labels).toUtf8() : QByteArray();
                    lxw_chart_series *series =
                        chart_add_series(chart, labels.isEmpty() ? nullptr : labels.constData(), values.constData());
                    if (!series)
                        throw WorkbookError(QStringLiteral("el gráfico «%1» no se pudo escribir.").arg(s.name));
                    // The values go beside the references afterwards (finishChartParts).
                    if (ranges->labels) {
                        series->categories->ignore_cache = LXW_TRUE;
                        edit.caches.push_back(chartCache(source, *ranges->labels));
                    }
                    series->values->ignore_cache = LXW_TRUE;
                    edit.caches.push_back(chartCache(source, ranges->values));
                }
                if (!s.chart || !s.chart->hasTitle)
                    chart_title_off(chart);
                check(chartsheet_set_chart(cs, chart));
                if (i == book.active)
                    chartsheet_activate(cs);
                continue;
            }
            lxw_worksheet *ws = workbook_add_worksheet(wb, name.constData());
            if (!ws)
                throw WorkbookError(QStringLiteral("la hoja «%1» no se pudo escribir.").arg(s.name));
            std::map<int, double> widths;  // of the columns that need one
            for (auto it = s.cells.begin(); it != s.cells.end(); ++it) {
                const auto &[pos, c] = *it;
                if (const double need = widthNeeded(s, it); need > 0) {
                    double &width = widths[pos.second];
                    width = std::max(width, need);
                }
                const lxw_row_t r = lxw_row_t(pos.first - 1);
                const lxw_col_t col = lxw_col_t(pos.second - 1);
                switch (c.kind) {
                case Cell::Kind::Empty:
                    break;
                case Cell::Kind::Number:
                    check(worksheet_write_number(ws, r, col, c.value.toDouble(), nullptr));
                    break;
                case Cell::Kind::Text:
                    check(worksheet_write_string(ws, r, col, c.value.toString().toUtf8().constData(), nullptr));
                    break;
                case Cell::Kind::Date: {
                    const QDate d = c.value.toDate();
                    lxw_datetime dt{d.year(), d.month(), d.day(), 0, 0, 0};
                    check(worksheet_write_datetime(ws, r, col, &dt, dateFormat));
                    break;
                }
                case Cell::Kind::Boolean:
                    check(worksheet_write_boolean(ws, r, col, c.value.toBool() ? 1 : 0, nullptr));
                    break;
                case Cell::Kind::Formula: {
                    const QByteArray f = r1c1ToA1(c.formula, pos.first, pos.second).toUtf8();
                    if (c.value.typeId() == QMetaType::Double)
                        check(worksheet_write_formula_num(ws, r, col, f.constData(), nullptr, c.value.toDouble()));
                    else
                        check(worksheet_write_formula(ws, r, col, f.constData(), nullptr));
                    break;
                }
                }
            }
            for (const auto &[column, width] : widths)
                check(worksheet_set_column(ws, lxw_col_t(column - 1), lxw_col_t(column - 1), width, nullptr));
            if (s.autoFilter)
                check(worksheet_autofilter(ws, lxw_row_t(s.autoFilter->top - 1), lxw_col_t(s.autoFilter->left - 1),
                                           lxw_row_t(s.autoFilter->bottom - 1), lxw_col_t(s.autoFilter->right - 1)));
            worksheet_set_selection(ws, lxw_row_t(s.selection.top - 1), lxw_col_t(s.selection.left - 1),
                                    lxw_row_t(s.selection.bottom - 1), lxw_col_t(s.selection.right - 1));
            if (i == book.active)
                worksheet_activate(ws);
        }
    } catch (...) {
        workbook_close(wb);
        throw;
    }
    check(workbook_close(wb));
    QString finished = QString::fromLocal8Bit(tmpFile);
    if (!chartEdits.empty()) {
        const QString patched = scratch.filePath(QStringLiteral("charts.xlsx"));
        finishChartParts(finished, patched, chartEdits);
        finished = patched;
    }

    QFile written(finished);
    if (!written.open(QIODevice::ReadOnly))
        throw WorkbookError(written.errorString());
    QSaveFile out(path);
    if (!out.open(QIODevice::WriteOnly))
        throw WorkbookError(out.errorString());
    while (!written.atEnd()) {
        const QByteArray chunk = written.read(1 << 20);
        if (out.write(chunk) != chunk.size()) {
            out.cancelWriting();
            throw WorkbookError(out.errorString());
        }
    }
    if (!out.commit())
        throw WorkbookError(out.errorString());
}

// --- reading -------------------------------------------------------------------------------

namespace {

QString notAWorkbook(const QString &path)
{
    return QStringLiteral("«%1» no es un libro de Excel que se pueda leer.").arg(QDir::toNativeSeparators(path));
}

QString attr(const QXmlStreamReader &xml, QStringView localName)
{
    for (const QXmlStreamAttribute &a : xml.attributes())
        if (a.name() == localName)
            return a.value().toString();
    return {};
}

// The file a relationship points to, as a path inside the archive.
QString resolve(const QString &fromPart, const QString &target)
{
    if (target.startsWith(QLatin1Char('/')))
        return target.mid(1);
    const int slash = int(fromPart.lastIndexOf(QLatin1Char('/')));
    const QString base = slash >= 0 ? fromPart.left(slash + 1) : QString();
    return QDir::cleanPath(base + target);
}

QString relsOf(const QString &part)
{
    const int slash = int(part.lastIndexOf(QLatin1Char('/')));
    return part.left(slash + 1) + QStringLiteral("_rels/") + part.mid(slash + 1) + QStringLiteral(".rels");
}

// The parts of a zip archive, read through libzip. (QuaZip can't be used next to the writer:
// it carries its own copy of minizip, whose exported functions take the place of those the
// writer calls; libzip has no such clash.) Nothing a file's headers claim is trusted for
// memory: a part is read in slices and refused once it passes kMaxPartBytes, so a damaged or
// hostile file costs at most that much, whatever sizes it announces.
class Archive {
public:
    static constexpr qint64 kMaxPartBytes = 64 * 1024 * 1024;

    explicit Archive(const QString &path) : m_path(path) {}
    ~Archive()
    {
        if (m_zip)
            zip_discard(m_zip);
    }
    Archive(const Archive &) = delete;
    Archive &operator=(const Archive &) = delete;

    bool open()
    {
        int error = 0;
        m_zip = zip_open(QFile::encodeName(m_path).constData(), ZIP_RDONLY, &error);
        return m_zip != nullptr;
    }

    // The part's bytes; empty when the archive has no such part or it can't be read whole
    // (damaged data, a wrong checksum). Throws when the part is larger than a workbook's part
    // can reasonably be.
    QByteArray read(const QString &name)
    {
        const zip_int64_t index = zip_name_locate(m_zip, name.toUtf8().constData(), 0);
        if (index < 0)
            return {};
        zip_file_t *file = zip_fopen_index(m_zip, zip_uint64_t(index), 0);
        if (!file)
            return {};
        QByteArray out;
        char slice[64 * 1024];
        zip_int64_t got = 0;
        while ((got = zip_fread(file, slice, sizeof slice)) > 0) {
            if (out.size() + got > kMaxPartBytes) {
                zip_fclose(file);
                throw WorkbookError(tooLarge());
            }
            out.append(slice, qsizetype(got));
        }
        const bool whole = got == 0 && zip_fclose(file) == 0;
        if (got < 0)
            zip_fclose(file);
        return whole ? out : QByteArray();
    }

    // Id -> part, for the relationships of `part`.
    QHash<QString, QString> relationships(const QString &part)
    {
        QHash<QString, QString> rels;
        QXmlStreamReader xml(read(relsOf(part)));
        while (!xml.atEnd()) {
            if (xml.readNext() == QXmlStreamReader::StartElement && xml.name() == u"Relationship")
                rels.insert(attr(xml, u"Id"), resolve(part, attr(xml, u"Target")));
        }
        return rels;
    }

private:
    QString tooLarge() const
    {
        return QStringLiteral("«%1» tiene partes de más de %2 MB: no parece un libro de esta aplicación y no se abrió.")
            .arg(QDir::toNativeSeparators(m_path))
            .arg(kMaxPartBytes / (1024 * 1024));
    }

    QString m_path;
    zip_t *m_zip = nullptr;
};

// Every start element of a part, in document order.
template <typename F>
void forEachElement(const QByteArray &data, F f)
{
    QXmlStreamReader xml(data);
    while (!xml.atEnd()) {
        if (xml.readNext() == QXmlStreamReader::StartElement)
            f(xml);
    }
}

QStringList sharedStrings(Archive &zip, const QString &part)
{
    QStringList strings;
    if (part.isEmpty())
        return strings;
    QXmlStreamReader xml(zip.read(part));
    QString current;
    bool inPhonetic = false;
    while (!xml.atEnd()) {
        const auto token = xml.readNext();
        if (token == QXmlStreamReader::StartElement) {
            if (xml.name() == u"si")
                current.clear();
            else if (xml.name() == u"rPh")
                inPhonetic = true;
            else if (xml.name() == u"t" && !inPhonetic)
                current += xml.readElementText();
        } else if (token == QXmlStreamReader::EndElement) {
            if (xml.name() == u"si")
                strings << current;
            else if (xml.name() == u"rPh")
                inPhonetic = false;
        }
    }
    return strings;
}

// For each cell style, whether it shows a date.
std::vector<bool> dateStyles(Archive &zip, const QString &part)
{
    std::vector<bool> styles;
    if (part.isEmpty())
        return styles;
    QHash<int, QString> formats;
    bool inCellXfs = false;
    QXmlStreamReader xml(zip.read(part));
    while (!xml.atEnd()) {
        const auto token = xml.readNext();
        if (token == QXmlStreamReader::StartElement) {
            if (xml.name() == u"numFmt")
                formats.insert(attr(xml, u"numFmtId").toInt(), attr(xml, u"formatCode"));
            else if (xml.name() == u"cellXfs")
                inCellXfs = true;
            else if (xml.name() == u"xf" && inCellXfs) {
                const int id = attr(xml, u"numFmtId").toInt();
                bool date = (id >= 14 && id <= 17) || id == 22;
                if (formats.contains(id)) {
                    QString code = formats.value(id);
                    code.remove(QRegularExpression(QStringLiteral("\"[^\"]*\"|\\[[^\\]]*\\]")));
                    date = code.contains(QLatin1Char('d'), Qt::CaseInsensitive) ||
                           code.contains(QLatin1Char('y'), Qt::CaseInsensitive);
                }
                styles.push_back(date);
            }
        } else if (token == QXmlStreamReader::EndElement && xml.name() == u"cellXfs") {
            inCellXfs = false;
        }
    }
    return styles;
}

std::pair<int, int> cellPosition(const QString &ref)
{
    const CellRange r = parseRange(ref);
    return {r.top, r.left};
}

void readWorksheet(Sheet &sheet, const QByteArray &data, const QStringList &strings,
                   const std::vector<bool> &dates)
{
    QHash<QString, QString> sharedFormulas;  // si -> R1C1 text
    QXmlStreamReader xml(data);
    int nextRow = 0, nextColumn = 0;
    while (!xml.atEnd()) {
        if (xml.readNext() != QXmlStreamReader::StartElement)
            continue;
        if (xml.name() == u"selection") {
            const QString active = attr(xml, u"activeCell");
            const QString sqref = attr(xml, u"sqref").section(QLatin1Char(' '), 0, 0);
            try {
                if (!sqref.isEmpty())
                    sheet.selection = parseRange(sqref);
                if (!active.isEmpty()) {
                    std::tie(sheet.activeRow, sheet.activeColumn) = cellPosition(active);
                    if (sqref.isEmpty())
                        sheet.selection = CellRange::cell(sheet.activeRow, sheet.activeColumn);
                }
            } catch (const WorkbookError &) {
            }
        } else if (xml.name() == u"autoFilter") {
            try {
                sheet.autoFilter = parseRange(attr(xml, u"ref"));
            } catch (const WorkbookError &) {
            }
        } else if (xml.name() == u"row") {
            bool ok = true;
            nextRow = attr(xml, u"r").isEmpty() ? nextRow + 1 : attr(xml, u"r").toInt(&ok);
            if (!ok || nextRow < 1 || nextRow > kMaxRows)
                throw WorkbookError(QStringLiteral("una fila está fuera de la hoja."));
            nextColumn = 0;
        } else if (xml.name() == u"c") {
            const QString ref = attr(xml, u"r");
            int row = nextRow, column = nextColumn + 1;
            if (!ref.isEmpty())
                std::tie(row, column) = cellPosition(ref);
            if (row < 1 || column > kMaxColumns)
                throw WorkbookError(QStringLiteral("una celda está fuera de la hoja."));
            nextColumn = column;
            const QString type = attr(xml, u"t");
            const int style = attr(xml, u"s").toInt();
            QString value, formula, inlineText;
            bool hasValue = false, hasFormula = false;
            while (xml.readNextStartElement()) {
                if (xml.name() == u"v") {
                    value = xml.readElementText();
                    hasValue = true;
                } else if (xml.name() == u"f") {
                    const QString si = attr(xml, u"si");
                    const bool shared = attr(xml, u"t") == u"shared";
                    formula = xml.readElementText();
                    if (shared && !formula.isEmpty() && !si.isEmpty())
                        sharedFormulas.insert(si, a1ToR1C1(QLatin1Char('=') + formula, row, column));
                    if (!formula.isEmpty())
                        formula = a1ToR1C1(QLatin1Char('=') + formula, row, column);
                    else if (shared)
                        formula = sharedFormulas.value(si);
                    hasFormula = !formula.isEmpty();
                } else if (xml.name() == u"is") {
                    while (xml.readNextStartElement()) {
                        if (xml.name() == u"t")
                            inlineText += xml.readElementText();
                        else if (xml.name() == u"r") {
                            while (xml.readNextStartElement()) {
                                if (xml.name() == u"t")
                                    inlineText += xml.readElementText();
                                else
                                    xml.skipCurrentElement();
                            }
                        } else
                            xml.skipCurrentElement();
                    }
                } else {
                    xml.skipCurrentElement();
                }
            }
            Cell c;
            QVariant v;
            Cell::Kind kind = Cell::Kind::Empty;
            if (type == u"s" && hasValue) {
                const int i = value.toInt();
                v = i >= 0 && i < strings.size() ? strings.at(i) : QString();
                kind = Cell::Kind::Text;
            } else if (type == u"inlineStr") {
                v = inlineText;
                kind = Cell::Kind::Text;
            } else if (type == u"str" || type == u"e") {
                if (hasValue) {
                    v = value;
                    kind = Cell::Kind::Text;
                }
            } else if (type == u"b" && hasValue) {
                v = value.trimmed() == u"1";
                kind = Cell::Kind::Boolean;
            } else if (hasValue && !value.isEmpty()) {
                const double d = value.toDouble();
                if (style >= 0 && style < int(dates.size()) && dates[style] && d >= 1) {
                    v = serialDate(d);
                    kind = Cell::Kind::Date;
                } else {
                    v = d;
                    kind = Cell::Kind::Number;
                }
            }
            if (hasFormula) {
                c.kind = Cell::Kind::Formula;
                c.formula = formula;
                if (kind == Cell::Kind::Number)
                    c.value = v.toDouble();
                else if (kind != Cell::Kind::Empty)
                    c.value = v.toString();
            } else if (kind != Cell::Kind::Empty) {
                c.kind = kind;
                c.value = v;
            }
            if (!c.isEmpty())
                sheet.cells[{row, column}] = c;
        }
    }
    // A sheet cut short or not well formed is refused, not read in part.
    if (xml.hasError())
        throw WorkbookError(xml.errorString());
}

// What a chart sheet holds: its type, whether it has a title, the range of its first series.
void readChartSheet(Sheet &sheet, Archive &zip, const QString &part)
{
    sheet.chart = ChartSpec{};
    sheet.chart->hasTitle = false;
    sheet.chart->type = ChartSpec::Pie;
    const auto sheetRels = zip.relationships(part);
    QString drawing;
    forEachElement(zip.read(part), [&](QXmlStreamReader &xml) {
        if (xml.name() == u"drawing")
            drawing = sheetRels.value(attr(xml, u"id"));
    });
    if (drawing.isEmpty())
        return;
    const auto drawingRels = zip.relationships(drawing);
    QString chartPart;
    forEachElement(zip.read(drawing), [&](QXmlStreamReader &xml) {
        if (xml.name() == u"chart" && chartPart.isEmpty())
            chartPart = drawingRels.value(attr(xml, u"id"));
    });
    if (chartPart.isEmpty())
        return;
    QStringList refs;  // categories and values of the first series
    int series = 0, depth = 0, titleDepth = -1;
    bool autoTitleDeleted = false, titled = false;
    QXmlStreamReader xml(zip.read(chartPart));
    while (!xml.atEnd()) {
        const auto token = xml.readNext();
        if (token == QXmlStreamReader::StartElement) {
            ++depth;
            const QStringView n = xml.name();
            if (n == u"pie3DChart")
                sheet.chart->type = ChartSpec::Pie3D;
            else if (n == u"title" && depth == 3)  // chartSpace/chart/title
                titleDepth = depth, titled = true;
            else if (n == u"autoTitleDeleted")
                autoTitleDeleted = attr(xml, u"val") == u"1";
            else if (n == u"ser")
                ++series;
            else if (n == u"f" && series == 1) {
                refs << xml.readElementText();
                --depth;
            }
        } else if (token == QXmlStreamReader::EndElement) {
            if (depth == titleDepth)
                titleDepth = -1;
            --depth;
        }
    }
    sheet.chart->hasTitle = titled && !autoTitleDeleted;
    bool first = true;
    for (const QString &ref : refs) {
        const int bang = int(ref.lastIndexOf(QLatin1Char('!')));
        if (bang < 0)
            continue;
        QString name = ref.left(bang);
        if (name.startsWith(QLatin1Char('\'')) && name.endsWith(QLatin1Char('\'')))
            name = name.mid(1, name.size() - 2).replace(QStringLiteral("''"), QStringLiteral("'"));
        try {
            const CellRange r = parseRange(ref.mid(bang + 1));
            if (first) {
                sheet.chart->sourceSheet = name;
                sheet.chart->source = r;
                first = false;
            } else {
                CellRange &s = sheet.chart->source;
                s = {std::min(s.top, r.top), std::min(s.left, r.left), std::max(s.bottom, r.bottom),
                     std::max(s.right, r.right)};
            }
        } catch (const WorkbookError &) {
        }
    }
    sheet.chart->byColumns = sheet.chart->source.columns() > 1 || sheet.chart->source.rows() > 1
                                 ? sheet.chart->source.rows() >= sheet.chart->source.columns()
                                 : true;
}

}  // namespace

Workbook loadXlsx(const QString &path)
{
    if (!QFileInfo::exists(path))
        throw WorkbookError(QStringLiteral("No se encuentra el archivo «%1».").arg(QDir::toNativeSeparators(path)));
    Archive zip(path);
    if (!zip.open())
        throw WorkbookError(notAWorkbook(path));
    const QString bookPart = QStringLiteral("xl/workbook.xml");
    const QByteArray bookXml = zip.read(bookPart);
    if (bookXml.isEmpty())
        throw WorkbookError(notAWorkbook(path));
    const auto rels = zip.relationships(bookPart);
    QString stringsPart, stylesPart;
    {
        QXmlStreamReader xml(zip.read(relsOf(bookPart)));
        while (!xml.atEnd()) {
            if (xml.readNext() != QXmlStreamReader::StartElement || xml.name() != u"Relationship")
                continue;
            const QString type = attr(xml, u"Type");
            if (type.endsWith(QLatin1String("/sharedStrings")))
                stringsPart = resolve(bookPart, attr(xml, u"Target"));
            else if (type.endsWith(QLatin1String("/styles")))
                stylesPart = resolve(bookPart, attr(xml, u"Target"));
        }
    }
    const QStringList strings = sharedStrings(zip, stringsPart);
    const std::vector<bool> dates = dateStyles(zip, stylesPart);

    Workbook book(QFileInfo(path).fileName());
    book.sheets.clear();
    book.path = path;
    int activeTab = 0;
    struct Entry {
        QString name, part;
    };
    std::vector<Entry> entries;
    forEachElement(bookXml, [&](QXmlStreamReader &xml) {
        if (xml.name() == u"workbookView")
            activeTab = attr(xml, u"activeTab").toInt();
        else if (xml.name() == u"sheet")
            entries.push_back({attr(xml, u"name"), rels.value(attr(xml, u"id"))});
    });
    if (entries.empty())
        throw WorkbookError(notAWorkbook(path));
    for (const Entry &e : entries) {
        Sheet s;
        s.name = e.name;
        if (e.part.contains(QLatin1String("chartsheets/"))) {
            s.type = Sheet::Type::Chart;
            readChartSheet(s, zip, e.part);
        } else {
            const QByteArray data = zip.read(e.part);
            try {
                readWorksheet(s, data, strings, dates);
            } catch (const WorkbookError &) {
                throw WorkbookError(notAWorkbook(path));
            }
        }
        book.sheets.push_back(s);
    }
    book.active = std::clamp(activeTab, 0, int(book.sheets.size()) - 1);
    return book;
}

}  // namespace output
