#include "workbook/Workbook.h"

#include "ui/Masks.h"

#include <QCollator>
#include <QLocale>
#include <QRegularExpression>

#include <algorithm>
#include <cmath>
#include <set>

namespace output {

WorkbookError::WorkbookError(const QString &message)
    : m_message(message), m_utf8(message.toUtf8())
{
}

// --- names of cells ------------------------------------------------------------------------

QString columnName(int column)
{
    QString name;
    while (column > 0) {
        const int rest = (column - 1) % 26;
        name.prepend(QChar('A' + rest));
        column = (column - 1) / 26;
    }
    return name;
}

int columnNumber(QStringView name)
{
    if (name.isEmpty() || name.size() > 3)
        return 0;
    int number = 0;
    for (QChar ch : name) {
        char16_t c = ch.unicode();
        if (c >= 'a' && c <= 'z')
            c = char16_t(c - 'a' + 'A');
        if (c < 'A' || c > 'Z')
            return 0;
        number = number * 26 + (c - 'A' + 1);
    }
    return number <= kMaxColumns ? number : 0;
}

QString CellRange::toA1(bool absolute) const
{
    const QString d = absolute ? QStringLiteral("$") : QString();
    const QString first = d + columnName(left) + d + QString::number(top);
    if (isCell())
        return first;
    return first + QLatin1Char(':') + d + columnName(right) + d + QString::number(bottom);
}

namespace {

QString badCell(const QString &text)
{
    return QStringLiteral("La referencia de celda «%1» no es válida.").arg(text);
}

// One end of a range: a cell, a column alone or a row alone.
struct RangeEnd {
    int row = 0;     // 0: a whole column
    int column = 0;  // 0: a whole row
};

// `$A$1`, `A1`, `A`, `1` and their mixed forms: up to three letters, up to seven digits,
// each optionally after a dollar sign. Read by hand: it runs for every cell an export writes.
std::optional<RangeEnd> parseEnd(QStringView text)
{
    const auto isLetter = [](QChar c) {
        return (c >= QLatin1Char('A') && c <= QLatin1Char('Z')) || (c >= QLatin1Char('a') && c <= QLatin1Char('z'));
    };
    const auto isDigit = [](QChar c) { return c >= QLatin1Char('0') && c <= QLatin1Char('9'); };
    const QStringView s = text.trimmed();
    qsizetype i = 0;
    if (i < s.size() && s[i] == QLatin1Char('$'))
        ++i;
    const qsizetype lettersAt = i;
    while (i < s.size() && isLetter(s[i]))
        ++i;
    const QStringView letters = s.sliced(lettersAt, i - lettersAt);
    if (i < s.size() && s[i] == QLatin1Char('$'))
        ++i;
    const qsizetype digitsAt = i;
    while (i < s.size() && isDigit(s[i]))
        ++i;
    const QStringView digits = s.sliced(digitsAt, i - digitsAt);
    if (i != s.size() || letters.size() > 3 || digits.size() > 7 || (letters.isEmpty() && digits.isEmpty()))
        return std::nullopt;
    RangeEnd end;
    if (!letters.isEmpty()) {
        end.column = columnNumber(letters);
        if (end.column == 0)
            return std::nullopt;
    }
    if (!digits.isEmpty()) {
        end.row = digits.toInt();
        if (end.row < 1 || end.row > kMaxRows)
            return std::nullopt;
    }
    return end;
}

}  // namespace

CellRange parseRange(const QString &text)
{
    const QStringView whole = QStringView(text).trimmed();
    const qsizetype colon = whole.indexOf(QLatin1Char(':'));
    if (colon >= 0 && whole.indexOf(QLatin1Char(':'), colon + 1) >= 0)
        throw WorkbookError(badCell(text));
    const bool pair = colon >= 0;
    const auto a = parseEnd(pair ? whole.first(colon) : whole);
    const auto b = pair ? parseEnd(whole.sliced(colon + 1)) : a;
    if (!a || !b)
        throw WorkbookError(badCell(text));
    const bool cells = a->row && a->column && b->row && b->column;
    const bool columns = !a->row && !b->row && a->column && b->column && pair;
    const bool rows = !a->column && !b->column && a->row && b->row && pair;
    if (!cells && !columns && !rows)
        throw WorkbookError(badCell(text));
    CellRange r;
    r.top = rows || cells ? std::min(a->row, b->row) : 1;
    r.bottom = rows || cells ? std::max(a->row, b->row) : kMaxRows;
    r.left = columns || cells ? std::min(a->column, b->column) : 1;
    r.right = columns || cells ? std::max(a->column, b->column) : kMaxColumns;
    return r;
}

// --- dates and display ---------------------------------------------------------------------

double dateSerial(const QDate &date)
{
    return double(QDate(1899, 12, 30).daysTo(date));
}

QDate serialDate(double serial)
{
    return QDate(1899, 12, 30).addDays(qint64(std::floor(serial)));
}

bool showsWhole(double v)
{
    return v == std::trunc(v) && std::abs(v) < 1e15 && !(v == 0 && std::signbit(v));
}

QString spanishDate(const QDate &date)
{
    if (!date.isValid() || date.year() < 1000)
        return date.toString(QStringLiteral("dd/MM/yyyy"));
    // Written digit by digit: an export turns every one of its dates into text.
    const int day = date.day(), month = date.month(), year = date.year();
    const char16_t text[10] = {char16_t(u'0' + day / 10),    char16_t(u'0' + day % 10),       u'/',
                               char16_t(u'0' + month / 10),  char16_t(u'0' + month % 10),     u'/',
                               char16_t(u'0' + year / 1000), char16_t(u'0' + year / 100 % 10), char16_t(u'0' + year / 10 % 10),
                               char16_t(u'0' + year % 10)};
    return QString(reinterpret_cast<const QChar *>(text), 10);
}

namespace {

QString generalNumber(double v)
{
    // Whole numbers, most of what a sheet holds, read the same without the general format.
    if (showsWhole(v))
        return QString::number(qint64(v));
    QString text = QString::number(v, 'g', 15);
    text.replace(QLatin1Char('.'), QLatin1Char(','));
    return text;
}

}  // namespace

QString Cell::displayText(int row, int column) const
{
    switch (kind) {
    case Kind::Empty:
        return {};
    case Kind::Number:
        return generalNumber(value.toDouble());
    case Kind::Text:
        return value.toString();
    case Kind::Date:
        return spanishDate(value.toDate());
    case Kind::Boolean:
        return value.toBool() ? QStringLiteral("VERDADERO") : QStringLiteral("FALSO");
    case Kind::Formula:
        if (value.isValid()) {
            if (value.typeId() == QMetaType::Double)
                return generalNumber(value.toDouble());
            return value.toString();
        }
        return r1c1ToA1(formula, row, column);
    }
    return {};
}

// --- sheets --------------------------------------------------------------------------------

const Cell &Sheet::cell(int row, int column) const
{
    static const Cell empty;
    const auto it = cells.find({row, column});
    return it == cells.end() ? empty : it->second;
}

Cell &Sheet::cellForWrite(int row, int column)
{
    return cells[{row, column}];
}

QString Sheet::formulaA1(int row, int column) const
{
    const Cell &c = cell(row, column);
    return c.kind == Cell::Kind::Formula ? r1c1ToA1(c.formula, row, column) : QString();
}

int Sheet::lastRow() const
{
    int last = 0;
    for (const auto &[pos, c] : cells)
        last = std::max(last, pos.first);
    return last;
}

int Sheet::lastColumn() const
{
    int last = 0;
    for (const auto &[pos, c] : cells)
        last = std::max(last, pos.second);
    return last;
}

void Sheet::select(const CellRange &range)
{
    if (isChart())
        throw WorkbookError(QStringLiteral("La hoja «%1» es un gráfico y no tiene celdas.").arg(name));
    selection = range;
    activeRow = range.top;
    activeColumn = range.left;
}

namespace {

std::optional<double> readNumber(const QString &raw)
{
    const QString text = raw.trimmed();
    // Names and descriptions, most of what is typed, hold a character no number has: no
    // need to match them.
    bool digit = false, onlyDigits = !text.isEmpty() && text.size() <= 15;
    for (const QChar c : text) {
        const char16_t u = c.unicode();
        if (u >= '0' && u <= '9') {
            digit = true;
            continue;
        }
        onlyDigits = false;
        if (u != '+' && u != '-' && u != '.' && u != ',' && u != 'e' && u != 'E')
            return std::nullopt;
    }
    if (!digit)
        return std::nullopt;
    // Plain whole numbers (a cédula, a count) need no pattern.
    if (onlyDigits)
        return double(text.toLongLong());
    // Spanish form first: dots group thousands, a comma is the decimal sign.
    static const QRegularExpression spanish(
        QStringLiteral("^[+-]?(\\d{1,3}(\\.\\d{3})+|\\d+)(,\\d*)?([eE][+-]?\\d+)?$|^[+-]?,\\d+$"));
    static const QRegularExpression plain(QStringLiteral("^[+-]?(\\d+\\.\\d*|\\.\\d+)([eE][+-]?\\d+)?$"));
    bool ok = false;
    double v = 0;
    if (spanish.match(text).hasMatch()) {
        QString c = text;
        c.remove(QLatin1Char('.'));
        c.replace(QLatin1Char(','), QLatin1Char('.'));
        v = c.toDouble(&ok);
    } else if (plain.match(text).hasMatch()) {
        v = text.toDouble(&ok);
    }
    if (!ok || !std::isfinite(v))
        return std::nullopt;
    return v;
}

std::optional<QDate> readDate(const QString &raw)
{
    const QString text = raw.trimmed();
    if (text.isEmpty() || !text.front().isDigit())
        return std::nullopt;
    static const QRegularExpression re(
        QStringLiteral("^\\d{1,2}([/-])(\\d{1,2}|[A-Za-zñÑéÉ]{3,10})\\1(\\d{2}|\\d{4})$"));
    if (!re.match(text).hasMatch())
        return std::nullopt;
    bool ok = false;
    const QDate d = ui::parseDate(text, &ok);
    if (!ok || !d.isValid())
        return std::nullopt;
    return d;
}

}  // namespace

void Sheet::setFormulaR1C1(int row, int column, const QVariant &value)
{
    if (isChart())
        throw WorkbookError(QStringLiteral("La hoja «%1» es un gráfico y no tiene celdas.").arg(name));
    if (!value.isValid() || value.isNull()) {
        clearCell(row, column);
        return;
    }
    Cell c;
    switch (value.typeId()) {
    case QMetaType::Bool:
        c.kind = Cell::Kind::Boolean;
        c.value = value.toBool();
        break;
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::LongLong:
    case QMetaType::ULongLong:
    case QMetaType::Short:
    case QMetaType::UShort:
    case QMetaType::Double:
    case QMetaType::Float:
        c.kind = Cell::Kind::Number;
        c.value = value.toDouble();
        break;
    case QMetaType::QDate:
        c.kind = Cell::Kind::Date;
        c.value = value.toDate();
        break;
    case QMetaType::QDateTime:
        c.kind = Cell::Kind::Date;
        c.value = value.toDateTime().date();
        break;
    default: {
        const QString text = value.toString();
        if (text.isEmpty()) {
            clearCell(row, column);
            return;
        }
        if (text.startsWith(QLatin1Char('=')) && text.size() > 1) {
            c.kind = Cell::Kind::Formula;
            c.formula = text;
        } else if (text.startsWith(QLatin1Char('\''))) {
            c.kind = Cell::Kind::Text;
            c.value = text.mid(1);
        } else if (const auto n = readNumber(text)) {
            c.kind = Cell::Kind::Number;
            c.value = *n;
        } else if (const auto d = readDate(text)) {
            c.kind = Cell::Kind::Date;
            c.value = *d;
        } else if (text.compare(QLatin1String("VERDADERO"), Qt::CaseInsensitive) == 0 ||
                   text.compare(QLatin1String("FALSO"), Qt::CaseInsensitive) == 0) {
            c.kind = Cell::Kind::Boolean;
            c.value = text.compare(QLatin1String("VERDADERO"), Qt::CaseInsensitive) == 0;
        } else {
            c.kind = Cell::Kind::Text;
            c.value = text;
        }
    }
    }
    // Cells are mostly written in order, each after the last: the end is then the place.
    const std::pair<int, int> key{row, column};
    if (cells.empty() || cells.rbegin()->first < key)
        cells.emplace_hint(cells.end(), key, std::move(c));
    else
        cells.insert_or_assign(key, std::move(c));
}

namespace {

// The cells of a sheet after rows or columns moved. Cells whose row or column went are
// dropped; formulas are rewritten for where they and what they point to now stand.
void moveCells(Sheet &sheet, const IndexMap &rowMap, const IndexMap &columnMap)
{
    std::map<std::pair<int, int>, Cell> moved;
    for (auto &[pos, c] : sheet.cells) {
        const int r = rowMap(pos.first, RefSide::Single);
        const int col = columnMap(pos.second, RefSide::Single);
        if (r == 0 || col == 0)
            continue;
        Cell n = c;
        if (n.kind == Cell::Kind::Formula)
            n.formula = moveReferences(n.formula, pos.first, pos.second, r, col, rowMap, columnMap);
        moved[{r, col}] = n;
    }
    sheet.cells = std::move(moved);
    if (sheet.autoFilter) {
        CellRange &f = *sheet.autoFilter;
        const int top = rowMap(f.top, RefSide::RangeStart), bottom = rowMap(f.bottom, RefSide::RangeEnd);
        const int left = columnMap(f.left, RefSide::RangeStart), right = columnMap(f.right, RefSide::RangeEnd);
        if (!top || !bottom || !left || !right || bottom < top || right < left)
            sheet.autoFilter.reset();
        else
            f = {top, left, bottom, right};
    }
}

int same(int index, RefSide)
{
    return index;
}

IndexMap insertMap(int first, int count, int limit)
{
    return [=](int index, RefSide) {
        if (index < first)
            return index;
        return index + count <= limit ? index + count : 0;
    };
}

IndexMap deleteMap(int first, int count)
{
    return [=](int index, RefSide side) {
        if (index < first)
            return index;
        if (index >= first + count)
            return index - count;
        switch (side) {
        case RefSide::Single:
            return 0;
        case RefSide::RangeStart:
            return first;
        case RefSide::RangeEnd:
            return first - 1;
        }
        return 0;
    };
}

}  // namespace

void Sheet::insertRows(int first, int count)
{
    for (const auto &[pos, c] : cells)
        if (pos.first >= first && pos.first + count > kMaxRows)
            throw WorkbookError(QStringLiteral("No se pueden insertar filas: se perderían datos al final de la hoja."));
    moveCells(*this, insertMap(first, count, kMaxRows), same);
}

void Sheet::deleteRows(int first, int count)
{
    moveCells(*this, deleteMap(first, count), same);
}

void Sheet::insertColumns(int first, int count)
{
    for (const auto &[pos, c] : cells)
        if (pos.second >= first && pos.second + count > kMaxColumns)
            throw WorkbookError(QStringLiteral("No se pueden insertar columnas: se perderían datos al final de la hoja."));
    moveCells(*this, same, insertMap(first, count, kMaxColumns));
}

void Sheet::deleteColumns(int first, int count)
{
    moveCells(*this, same, deleteMap(first, count));
}

namespace {

// Order of kinds when sorting ascending; blanks are handled apart (always last).
int kindRank(const Cell &c)
{
    switch (c.kind) {
    case Cell::Kind::Number:
    case Cell::Kind::Date:
        return 0;
    case Cell::Kind::Text:
        return 1;
    case Cell::Kind::Boolean:
        return 2;
    case Cell::Kind::Formula:
        return 3;
    case Cell::Kind::Empty:
        return 4;
    }
    return 4;
}

double numberOf(const Cell &c)
{
    return c.kind == Cell::Kind::Date ? dateSerial(c.value.toDate()) : c.value.toDouble();
}

int compareCells(const Cell &a, const Cell &b, const QCollator &collator)
{
    const int ra = kindRank(a), rb = kindRank(b);
    if (ra != rb)
        return ra < rb ? -1 : 1;
    switch (ra) {
    case 0: {
        const double x = numberOf(a), y = numberOf(b);
        return x < y ? -1 : (x > y ? 1 : 0);
    }
    case 1:
        return collator.compare(a.value.toString(), b.value.toString());
    case 2:
        return int(a.value.toBool()) - int(b.value.toBool());
    case 3:
        return collator.compare(a.formula, b.formula);
    default:
        return 0;
    }
}

QCollator spanishCollator(bool matchCase)
{
    QCollator collator(QLocale(QLocale::Spanish, QLocale::Spain));
    collator.setCaseSensitivity(matchCase ? Qt::CaseSensitive : Qt::CaseInsensitive);
    collator.setNumericMode(false);
    return collator;
}

}  // namespace

// The header guess: the first row holds headings when every filled cell of it is text
// and the row under it holds something that is not text in at least one column.
void Sheet::sort(const CellRange &range, int key1, int key2, bool guessHeader, bool matchCase)
{
    if (key1 < range.left || key1 > range.right || (key2 && (key2 < range.left || key2 > range.right)))
        throw WorkbookError(QStringLiteral("La referencia de ordenación no es válida."));
    const int bottom = std::min(range.bottom, std::max(lastRow(), range.top));
    int top = range.top;
    if (guessHeader && bottom > top) {
        bool filled = false, allText = true, below = false;
        for (int c = range.left; c <= range.right; ++c) {
            const Cell &h = cell(top, c);
            if (!h.isEmpty()) {
                filled = true;
                allText = allText && h.kind == Cell::Kind::Text;
            }
            const Cell &n = cell(top + 1, c);
            below = below || (!n.isEmpty() && n.kind != Cell::Kind::Text);
        }
        if (filled && allText && below)
            ++top;
    }
    if (bottom <= top)
        return;
    const QCollator collator = spanishCollator(matchCase);
    std::vector<int> order;
    for (int r = top; r <= bottom; ++r)
        order.push_back(r);
    auto compareKey = [&](int a, int b, int key) {
        const Cell &x = cell(a, key), &y = cell(b, key);
        if (x.isEmpty() != y.isEmpty())
            return x.isEmpty() ? 1 : -1;  // blanks last
        return compareCells(x, y, collator);
    };
    std::stable_sort(order.begin(), order.end(), [&](int a, int b) {
        int c = compareKey(a, b, key1);
        if (c == 0 && key2)
            c = compareKey(a, b, key2);
        return c < 0;
    });
    std::map<std::pair<int, int>, Cell> moved;
    for (int i = 0; i < int(order.size()); ++i) {
        for (int c = range.left; c <= range.right; ++c) {
            auto it = cells.find({order[i], c});
            if (it != cells.end())
                moved[{top + i, c}] = it->second;
        }
    }
    for (int r = top; r <= bottom; ++r)
        for (int c = range.left; c <= range.right; ++c)
            cells.erase({r, c});
    for (auto &[pos, c] : moved)
        cells[pos] = c;
}

CellRange Sheet::currentRegion(int row, int column) const
{
    CellRange r = CellRange::cell(row, column);
    auto filled = [&](int r1, int c1, int r2, int c2) {
        for (const auto &[pos, c] : cells)
            if (pos.first >= r1 && pos.first <= r2 && pos.second >= c1 && pos.second <= c2 && !c.isEmpty())
                return true;
        return false;
    };
    for (bool grown = true; grown;) {
        grown = false;
        const int l = std::max(1, r.left - 1), rt = std::min(kMaxColumns, r.right + 1);
        if (r.top > 1 && filled(r.top - 1, l, r.top - 1, rt)) {
            --r.top;
            grown = true;
        }
        if (r.bottom < kMaxRows && filled(r.bottom + 1, l, r.bottom + 1, rt)) {
            ++r.bottom;
            grown = true;
        }
        if (r.left > 1 && filled(r.top, r.left - 1, r.bottom, r.left - 1)) {
            --r.left;
            grown = true;
        }
        if (r.right < kMaxColumns && filled(r.top, r.right + 1, r.bottom, r.right + 1)) {
            ++r.right;
            grown = true;
        }
    }
    return r;
}

// --- the workbook --------------------------------------------------------------------------

Workbook::Workbook(const QString &bookName, int count) : name(bookName)
{
    for (int i = 0; i < std::max(1, count); ++i) {
        Sheet s;
        s.name = unusedName(QStringLiteral("Sheet"), m_sheetCounter);
        sheets.push_back(s);
    }
}

Sheet &Workbook::activeWorksheet()
{
    Sheet &s = activeSheet();
    if (s.isChart())
        throw WorkbookError(QStringLiteral("La hoja activa «%1» es un gráfico y no tiene celdas.").arg(s.name));
    return s;
}

int Workbook::sheetIndex(const QString &sheetName) const
{
    for (int i = 0; i < int(sheets.size()); ++i)
        if (sheets[i].name.compare(sheetName, Qt::CaseInsensitive) == 0)
            return i;
    return -1;
}

int Workbook::findSheet(const QVariant &sheet) const
{
    switch (sheet.typeId()) {
    case QMetaType::Int:
    case QMetaType::Short:
    case QMetaType::LongLong:
    case QMetaType::UInt:
    case QMetaType::Double: {
        const int position = sheet.toInt();
        if (position < 1 || position > int(sheets.size()))
            throw WorkbookError(QStringLiteral("El libro no tiene una hoja número %1.").arg(position));
        return position - 1;
    }
    default: {
        const int index = sheetIndex(sheet.toString());
        if (index < 0)
            throw WorkbookError(QStringLiteral("El libro no tiene ninguna hoja llamada «%1».").arg(sheet.toString()));
        return index;
    }
    }
}

QString Workbook::unusedName(const QString &stem, int &counter) const
{
    QString candidate;
    do {
        candidate = stem + QString::number(++counter);
    } while (sheetIndex(candidate) >= 0);
    return candidate;
}

int Workbook::addWorksheet()
{
    Sheet s;
    s.name = unusedName(QStringLiteral("Sheet"), m_sheetCounter);
    sheets.insert(sheets.begin() + active, s);
    return active;
}

int Workbook::addChartSheet()
{
    Sheet s;
    s.type = Sheet::Type::Chart;
    s.name = unusedName(QStringLiteral("Chart"), m_chartCounter);
    s.chart = ChartSpec{};
    sheets.insert(sheets.begin() + active, s);
    return active;
}

void Workbook::removeSheet(int index)
{
    if (sheets.size() <= 1)
        throw WorkbookError(QStringLiteral("Un libro debe contener al menos una hoja."));
    sheets.erase(sheets.begin() + index);
    if (active > index || active >= int(sheets.size()))
        active = std::max(0, active - 1);
}

void Workbook::renameSheet(int index, const QString &newName)
{
    static const QRegularExpression bad(QStringLiteral("[\\[\\]:*?/\\\\]"));
    if (newName.trimmed().isEmpty())
        throw WorkbookError(QStringLiteral("El nombre de una hoja no puede quedar vacío."));
    if (newName.size() > 31 || newName.contains(bad) || newName.startsWith(QLatin1Char('\'')) ||
        newName.endsWith(QLatin1Char('\'')))
        throw WorkbookError(QStringLiteral("«%1» no es un nombre válido para una hoja: tiene más de 31 "
                                           "caracteres o alguno de : \\ / ? * [ ].").arg(newName));
    const int other = sheetIndex(newName);
    if (other >= 0 && other != index)
        throw WorkbookError(QStringLiteral("Ya hay una hoja llamada «%1».").arg(newName));
    const QString old = sheets.at(index).name;
    sheets.at(index).name = newName;
    for (Sheet &s : sheets)
        if (s.chart && s.chart->sourceSheet.compare(old, Qt::CaseInsensitive) == 0)
            s.chart->sourceSheet = newName;
}

namespace {

QString itemKey(const Cell &c)
{
    switch (c.kind) {
    case Cell::Kind::Number:
        return QStringLiteral("n") + QString::number(c.value.toDouble(), 'g', 17);
    case Cell::Kind::Date:
        return QStringLiteral("d") + c.value.toDate().toString(Qt::ISODate);
    case Cell::Kind::Text:
        return QStringLiteral("t") + c.value.toString().toCaseFolded();
    case Cell::Kind::Boolean:
        return QStringLiteral("b") + QString::number(c.value.toBool());
    case Cell::Kind::Formula:
        return QStringLiteral("f") + c.formula;
    case Cell::Kind::Empty:
        return QStringLiteral("e");
    }
    return {};
}

// The distinct values of a field, sorted as the pivot table lists its items.
struct Items {
    std::vector<Cell> cells;
    std::vector<QString> keys;

    void add(const Cell &c)
    {
        const QString k = itemKey(c);
        if (std::find(keys.begin(), keys.end(), k) == keys.end()) {
            keys.push_back(k);
            cells.push_back(c);
        }
    }
    void sort(const QCollator &collator)
    {
        std::vector<int> idx(cells.size());
        for (int i = 0; i < int(idx.size()); ++i)
            idx[i] = i;
        std::stable_sort(idx.begin(), idx.end(), [&](int a, int b) {
            if (cells[a].isEmpty() != cells[b].isEmpty())
                return cells[b].isEmpty();
            return compareCells(cells[a], cells[b], collator) < 0;
        });
        Items sorted;
        for (int i : idx) {
            sorted.cells.push_back(cells[i]);
            sorted.keys.push_back(keys[i]);
        }
        *this = sorted;
    }
};

Cell textCell(const QString &text)
{
    Cell c;
    c.kind = Cell::Kind::Text;
    c.value = text;
    return c;
}

Cell numberCell(double v)
{
    Cell c;
    c.kind = Cell::Kind::Number;
    c.value = v;
    return c;
}

Cell itemCell(const Cell &c)
{
    return c.isEmpty() ? textCell(QStringLiteral("(vacío)")) : c;
}

}  // namespace

int Workbook::addPivotTable(const CellRange &range, const QString &tableName, const QString &rowField,
                            const QStringList &columnFields, const QString &dataField)
{
    const Sheet &src = activeWorksheet();
    if (columnFields.isEmpty() || columnFields.size() > 2)
        throw WorkbookError(QStringLiteral("La tabla dinámica admite uno o dos campos de columna."));
    if (range.rows() < 2)
        throw WorkbookError(QStringLiteral("El rango de la tabla dinámica no tiene datos."));
    auto column = [&](const QString &field) {
        for (int c = range.left; c <= range.right; ++c)
            if (src.cell(range.top, c).displayText(range.top, c).trimmed().compare(field, Qt::CaseInsensitive) == 0)
                return c;
        throw WorkbookError(QStringLiteral("El campo «%1» no está en el rango de la tabla dinámica.").arg(field));
    };
    const int rowCol = column(rowField);
    const int outerCol = column(columnFields.at(0));
    const int innerCol = columnFields.size() > 1 ? column(columnFields.at(1)) : 0;
    const int dataCol = column(dataField);
    const bool twoLevels = innerCol != 0;

    struct Record {
        Cell row, outer, inner, data;
    };
    std::vector<Record> records;
    bool allNumbers = true;
    const int bottom = std::min(range.bottom, std::max(src.lastRow(), range.top));
    for (int r = range.top + 1; r <= bottom; ++r) {
        bool any = false;
        for (int c = range.left; c <= range.right && !any; ++c)
            any = !src.cell(r, c).isEmpty();
        if (!any)
            continue;
        Record rec{src.cell(r, rowCol), src.cell(r, outerCol), twoLevels ? src.cell(r, innerCol) : Cell{},
                   src.cell(r, dataCol)};
        if (!rec.data.isEmpty() && rec.data.kind != Cell::Kind::Number)
            allNumbers = false;
        records.push_back(rec);
    }
    const QCollator collator = spanishCollator(false);
    Items rowItems, outerItems;
    std::map<QString, Items> innerItems;
    std::map<QString, double> sums;  // keyed "row|outer|inner", with empty parts for totals
    auto add = [&](const QString &key, const Record &rec) {
        sums[key] += allNumbers ? rec.data.value.toDouble() : (rec.data.isEmpty() ? 0.0 : 1.0);
    };
    for (const Record &rec : records) {
        rowItems.add(rec.row);
        outerItems.add(rec.outer);
        innerItems[itemKey(rec.outer)].add(rec.inner);
        const QString r = itemKey(rec.row), o = itemKey(rec.outer), i = itemKey(rec.inner);
        add(r + u'|' + o + u'|' + i, rec);
        add(r + u'|' + o + u'|', rec);
        add(r + QStringLiteral("||"), rec);
        add(u'|' + o + u'|' + i, rec);
        add(u'|' + o + u'|', rec);
        add(QStringLiteral("||"), rec);
    }
    rowItems.sort(collator);
    outerItems.sort(collator);
    for (auto &[k, items] : innerItems)
        items.sort(collator);

    const int index = addWorksheet();
    Sheet &pivot = sheets[index];
    pivot.pivotTable = tableName;
    const QString caption = (allNumbers ? QStringLiteral("Suma de ") : QStringLiteral("Cuenta de ")) + dataField;
    const int headRow = 3;
    const int itemsRow = twoLevels ? 5 : 4;  // the row of the row field's heading
    pivot.cells[{headRow, 1}] = textCell(caption);
    pivot.cells[{headRow, 2}] = textCell(columnFields.at(0));
    if (twoLevels)
        pivot.cells[{headRow, 3}] = textCell(columnFields.at(1));
    pivot.cells[{itemsRow, 1}] = textCell(rowField);

    // The columns: one per (outer, inner) pair, a subtotal per outer item, the grand total.
    struct Column {
        QString key;  // "outer|inner" or "outer|" for a subtotal
    };
    std::vector<Column> columns;
    int col = 2;
    for (int o = 0; o < int(outerItems.cells.size()); ++o) {
        const QString ok = outerItems.keys[o];
        pivot.cells[{4, col}] = itemCell(outerItems.cells[o]);
        if (twoLevels) {
            const Items &inner = innerItems[ok];
            for (int i = 0; i < int(inner.cells.size()); ++i) {
                pivot.cells[{5, col++}] = itemCell(inner.cells[i]);
                columns.push_back({ok + u'|' + inner.keys[i]});
            }
            pivot.cells[{4, col++}] = textCell(outerItems.cells[o].displayText(0, 0) + QStringLiteral(" Total"));
            columns.push_back({ok + u'|'});
        } else {
            ++col;
            columns.push_back({ok + u'|'});
        }
    }
    pivot.cells[{4, col}] = textCell(QStringLiteral("Total general"));
    columns.push_back({QStringLiteral("|")});

    auto writeRow = [&](int sheetRow, const QString &rowKey) {
        for (int c = 0; c < int(columns.size()); ++c) {
            QString key = rowKey + u'|' + columns[c].key;
            if (columns[c].key == QLatin1String("|"))
                key = rowKey + QStringLiteral("||");
            const auto it = sums.find(key);
            if (it != sums.end())
                pivot.cells[{sheetRow, 2 + c}] = numberCell(it->second);
        }
    };
    int r = itemsRow + 1;
    for (int i = 0; i < int(rowItems.cells.size()); ++i, ++r) {
        pivot.cells[{r, 1}] = itemCell(rowItems.cells[i]);
        writeRow(r, rowItems.keys[i]);
    }
    pivot.cells[{r, 1}] = textCell(QStringLiteral("Total general"));
    writeRow(r, QString());
    pivot.select(CellRange::cell(headRow, 1));
    return index;
}

std::optional<Workbook::SeriesRanges> Workbook::chartSeries(const ChartSpec &chart) const
{
    const int index = sheetIndex(chart.sourceSheet);
    if (index < 0 || sheets[index].isChart())
        return std::nullopt;
    const Sheet &s = sheets[index];
    const CellRange &r = chart.source;
    const int series = chart.byColumns ? r.columns() : r.rows();
    auto line = [&](int j) {
        return chart.byColumns ? CellRange{r.top, r.left + j, r.bottom, r.left + j}
                               : CellRange{r.top + j, r.left, r.top + j, r.right};
    };
    // Which lines hold a number, from the rows of the source alone.
    std::vector<bool> numbers(std::size_t(std::max(series, 0)), false);
    for (auto it = s.cells.lower_bound({r.top, 0}); it != s.cells.end() && it->first.first <= r.bottom; ++it) {
        const auto &[pos, c] = *it;
        if (c.kind == Cell::Kind::Number && r.contains(pos.first, pos.second))
            numbers[std::size_t(chart.byColumns ? pos.second - r.left : pos.first - r.top)] = true;
    }
    for (int j = series > 1 ? 1 : 0; j < series; ++j) {
        if (!numbers[std::size_t(j)])
            continue;
        SeriesRanges ranges;
        if (j > 0)
            ranges.labels = line(0);
        ranges.values = line(j);
        return ranges;
    }
    return std::nullopt;
}

std::vector<ChartSlice> Workbook::chartSlices(const ChartSpec &chart) const
{
    std::vector<ChartSlice> slices;
    const auto ranges = chartSeries(chart);
    if (!ranges)
        return slices;
    const Sheet &s = sheets[sheetIndex(chart.sourceSheet)];
    const CellRange &v = ranges->values;
    const int count = chart.byColumns ? v.rows() : v.columns();
    for (int i = 0; i < count; ++i) {
        const int vr = chart.byColumns ? v.top + i : v.top, vc = chart.byColumns ? v.left : v.left + i;
        const Cell &value = s.cell(vr, vc);
        ChartSlice slice;
        slice.value = value.kind == Cell::Kind::Number ? value.value.toDouble() : 0.0;
        if (ranges->labels) {
            const CellRange &l = *ranges->labels;
            const int lr = chart.byColumns ? l.top + i : l.top, lc = chart.byColumns ? l.left : l.left + i;
            slice.label = s.cell(lr, lc).displayText(lr, lc);
        } else {
            slice.label = QString::number(i + 1);
        }
        slices.push_back(slice);
    }
    return slices;
}

// --- formula references --------------------------------------------------------------------

namespace {

struct Ref {
    int row = 0, column = 0;  // the cell pointed at
    bool rowAbsolute = false, columnAbsolute = false;
};

// Walks a formula and hands every reference token to `replace`, which returns its new text
// (a null string keeps the token). Quoted texts and quoted sheet names are copied as they are.
template <typename Parse, typename Replace>
QString scanReferences(const QString &f, const QRegularExpression &token, Parse parse, Replace replace)
{
    QString out;
    const int n = int(f.size());
    auto wordChar = [](QChar c) { return c.isLetterOrNumber() || c == u'_' || c == u'.'; };
    int i = 0;
    while (i < n) {
        const QChar ch = f[i];
        if (ch == u'"' || ch == u'\'') {
            int j = i + 1;
            while (j < n) {
                if (f[j] == ch) {
                    if (j + 1 < n && f[j + 1] == ch) {
                        j += 2;
                        continue;
                    }
                    break;
                }
                ++j;
            }
            out += f.mid(i, j - i + 1);
            i = j + 1;
            continue;
        }
        if (i == 0 || !wordChar(f[i - 1])) {
            const auto m = token.match(f, i, QRegularExpression::NormalMatch,
                                       QRegularExpression::AnchorAtOffsetMatchOption);
            if (m.hasMatch()) {
                const int end = int(m.capturedEnd());
                const bool endOk = end >= n || !(wordChar(f[end]) || f[end] == u'(' || f[end] == u'[');
                Ref ref;
                if (endOk && parse(m, ref)) {
                    RefSide side = RefSide::Single;
                    if (end < n && f[end] == u':')
                        side = RefSide::RangeStart;
                    else if (i > 0 && f[i - 1] == u':')
                        side = RefSide::RangeEnd;
                    const bool otherSheet = i > 0 && f[i - 1] == u'!';
                    const QString text = replace(ref, side, otherSheet);
                    out += text.isNull() ? m.captured(0) : text;
                    i = end;
                    continue;
                }
            }
        }
        if (wordChar(ch)) {
            int j = i;
            while (j < n && wordChar(f[j]))
                ++j;
            out += f.mid(i, j - i);
            i = j;
            continue;
        }
        out += ch;
        ++i;
    }
    return out;
}

const QRegularExpression &r1c1Token()
{
    static const QRegularExpression re(QStringLiteral("R(\\[-?\\d+\\]|\\d+)?C(\\[-?\\d+\\]|\\d+)?"),
                                       QRegularExpression::CaseInsensitiveOption);
    return re;
}

const QRegularExpression &a1Token()
{
    static const QRegularExpression re(QStringLiteral("(\\$?)([A-Za-z]{1,3})(\\$?)(\\d{1,7})"));
    return re;
}

// "R[-4]" at row 10 is row 6; "R5" is row 5; "R" alone is the formula's own row.
bool readR1C1Part(const QString &part, int base, int &index, bool &absolute)
{
    absolute = !part.isEmpty() && !part.startsWith(u'[');
    if (part.isEmpty())
        index = base;
    else if (absolute)
        index = part.toInt();
    else
        index = base + part.mid(1, part.size() - 2).toInt();
    return true;
}

auto parseR1C1At(int row, int column)
{
    return [=](const QRegularExpressionMatch &m, Ref &ref) {
        readR1C1Part(m.captured(1), row, ref.row, ref.rowAbsolute);
        readR1C1Part(m.captured(2), column, ref.column, ref.columnAbsolute);
        return true;
    };
}

QString r1c1Text(const Ref &ref, int row, int column)
{
    auto part = [](QChar letter, int index, bool absolute, int base) {
        if (absolute)
            return letter + QString::number(index);
        const int offset = index - base;
        return offset == 0 ? QString(letter) : letter + QStringLiteral("[%1]").arg(offset);
    };
    return part(u'R', ref.row, ref.rowAbsolute, row) + part(u'C', ref.column, ref.columnAbsolute, column);
}

QString a1Text(const Ref &ref)
{
    if (ref.row < 1 || ref.row > kMaxRows || ref.column < 1 || ref.column > kMaxColumns)
        return QStringLiteral("#REF!");
    return (ref.columnAbsolute ? QStringLiteral("$") : QString()) + columnName(ref.column) +
           (ref.rowAbsolute ? QStringLiteral("$") : QString()) + QString::number(ref.row);
}

}  // namespace

QString r1c1ToA1(const QString &formula, int row, int column)
{
    return scanReferences(formula, r1c1Token(), parseR1C1At(row, column),
                          [](const Ref &ref, RefSide, bool) { return a1Text(ref); });
}

QString a1ToR1C1(const QString &formula, int row, int column)
{
    auto parse = [](const QRegularExpressionMatch &m, Ref &ref) {
        ref.columnAbsolute = !m.captured(1).isEmpty();
        ref.column = columnNumber(m.captured(2));
        ref.rowAbsolute = !m.captured(3).isEmpty();
        ref.row = m.captured(4).toInt();
        return ref.column > 0 && ref.row >= 1 && ref.row <= kMaxRows;
    };
    return scanReferences(formula, a1Token(), parse,
                          [=](const Ref &ref, RefSide, bool) { return r1c1Text(ref, row, column); });
}

QString moveReferences(const QString &formula, int oldRow, int oldColumn, int newRow, int newColumn,
                       const IndexMap &rowMap, const IndexMap &columnMap)
{
    return scanReferences(formula, r1c1Token(), parseR1C1At(oldRow, oldColumn),
                          [&](const Ref &ref, RefSide side, bool otherSheet) {
                              Ref moved = ref;
                              if (!otherSheet) {
                                  moved.row = rowMap(ref.row, side);
                                  moved.column = columnMap(ref.column, side);
                                  if (moved.row == 0 || moved.column == 0)
                                      return QStringLiteral("#REF!");
                              }
                              return r1c1Text(moved, newRow, newColumn);
                          });
}

}  // namespace output
