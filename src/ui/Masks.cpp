#include "ui/Masks.h"

#include <QDateTime>
#include <QRegularExpression>
#include <QStringList>

#include <array>
#include <cmath>
#include <limits>

namespace ui {
namespace {

constexpr std::array<const char *, 12> kAbbreviations = {
    "ene", "feb", "mar", "abr", "may", "jun", "jul", "ago", "sep", "oct", "nov", "dic"};

constexpr std::array<const char *, 12> kMonthNames = {
    "enero", "febrero", "marzo", "abril", "mayo", "junio",
    "julio", "agosto", "septiembre", "octubre", "noviembre", "diciembre"};

// A run of one letter in a mask ("dd", "MMM") or a literal stretch between them.
struct MaskToken {
    QChar letter;  // null for a literal
    int count = 0;
    QString literal;
};

QList<MaskToken> tokenize(const QString &mask, const QString &letters)
{
    QList<MaskToken> tokens;
    for (int i = 0; i < mask.size();) {
        const QChar c = mask.at(i);
        if (letters.contains(c)) {
            int j = i;
            while (j < mask.size() && mask.at(j) == c)
                ++j;
            tokens.append({c, j - i, {}});
            i = j;
        } else {
            if (tokens.isEmpty() || !tokens.last().letter.isNull())
                tokens.append({QChar(), 0, {}});
            tokens.last().literal += c;
            ++i;
        }
    }
    return tokens;
}

bool hasHour(const QString &mask)
{
    return mask.contains(QLatin1Char('H')) || mask.contains(QLatin1Char('h'));
}

QString padded(int value, int width)
{
    return QStringLiteral("%1").arg(value, width, 10, QLatin1Char('0'));
}

// Numbers as they come from the store: a number type, or text with a dot or a comma.
bool toNumber(const QVariant &value, double *out)
{
    switch (value.typeId()) {
    case QMetaType::Double:
    case QMetaType::Float:
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::LongLong:
    case QMetaType::ULongLong:
    case QMetaType::Short:
    case QMetaType::UShort:
    case QMetaType::Long:
    case QMetaType::ULong:
    case QMetaType::Char:
    case QMetaType::SChar:
    case QMetaType::UChar:
        *out = value.toDouble();
        return std::isfinite(*out);
    case QMetaType::Bool:
        *out = value.toBool() ? 1.0 : 0.0;
        return true;
    default:
        break;
    }
    bool ok = false;
    *out = parseNumber(value.toString(), &ok);
    return ok;
}

bool toDate(const QVariant &value, QDate *out)
{
    switch (value.typeId()) {
    case QMetaType::QDate:
        *out = value.toDate();
        return out->isValid();
    case QMetaType::QDateTime:
        *out = value.toDateTime().date();
        return out->isValid();
    default:
        break;
    }
    const QString text = value.toString().trimmed();
    // The store hands dates over as ISO text ("2001-11-04" or with a time after it).
    if (text.size() >= 10) {
        const QDate iso = QDate::fromString(text.left(10), Qt::ISODate);
        if (iso.isValid()) {
            *out = iso;
            return true;
        }
    }
    bool ok = false;
    *out = parseDate(text, &ok);
    return ok;
}

bool toTime(const QVariant &value, QTime *out)
{
    switch (value.typeId()) {
    case QMetaType::QTime:
        *out = value.toTime();
        return out->isValid();
    case QMetaType::QDateTime:
        *out = value.toDateTime().time();
        return out->isValid();
    case QMetaType::Double:
    case QMetaType::Float: {
        // A time kept as a fraction of a day.
        const double fraction = value.toDouble();
        if (!(fraction >= 0.0 && fraction < 1.0))
            return false;
        *out = QTime(0, 0).addSecs(static_cast<int>(std::lround(fraction * 86400.0)) % 86400);
        return true;
    }
    default:
        break;
    }
    QString text = value.toString().trimmed();
    // "1899-12-30 08:30:00", "2001-11-04T08:30:00": the time is what follows the date.
    static const QRegularExpression withDate(
        QStringLiteral("^\\d{4}-\\d{2}-\\d{2}[T ](\\d{1,2}:\\d{2}(:\\d{2})?)"));
    const auto m = withDate.match(text);
    if (m.hasMatch())
        text = m.captured(1);
    for (const char *format : {"H:mm:ss", "H:mm:ss.zzz"}) {
        const QTime t = QTime::fromString(text, QLatin1String(format));
        if (t.isValid()) {
            *out = t;
            return true;
        }
    }
    bool ok = false;
    *out = parseTime(text, &ok);
    return ok;
}

QString genericText(const QVariant &value)
{
    switch (value.typeId()) {
    case QMetaType::Bool:
        return yesNoText(value.toBool());
    case QMetaType::QDate:
        return value.toDate().toString(QStringLiteral("dd/MM/yyyy"));
    case QMetaType::QDateTime: {
        const QDateTime dt = value.toDateTime();
        if (dt.time() == QTime(0, 0))
            return dt.date().toString(QStringLiteral("dd/MM/yyyy"));
        return dt.toString(QStringLiteral("dd/MM/yyyy H:mm:ss"));
    }
    case QMetaType::QTime:
        return value.toTime().toString(QStringLiteral("H:mm:ss"));
    case QMetaType::Double:
    case QMetaType::Float: {
        const double v = value.toDouble();
        QString text = QString::number(v, 'g', 15);
        text.replace(QLatin1Char('.'), QLatin1Char(','));
        return text;
    }
    default:
        return value.toString();
    }
}

// Digits with an optional grouping sign every three places.
bool stripGrouping(QString &digits, QChar group)
{
    if (!digits.contains(group))
        return true;
    const QStringList parts = digits.split(group);
    if (parts.first().isEmpty() || parts.first().size() > 3)
        return false;
    for (qsizetype i = 1; i < parts.size(); ++i) {
        if (parts.at(i).size() != 3)
            return false;
    }
    digits.remove(group);
    return true;
}

int monthFromName(const QString &name)
{
    QString n = name.toLower();
    n.remove(QLatin1Char('.'));
    if (n.size() < 3)
        return 0;
    for (int i = 0; i < 12; ++i) {
        if (QLatin1String(kMonthNames[i]).startsWith(n))
            return i + 1;
    }
    // Uruguay and other countries write "setiembre" ("set", "set.").
    if (QLatin1String("setiembre").startsWith(n))
        return 9;
    return 0;
}

}  // namespace

MaskKind maskKind(const QString &mask)
{
    const QString m = mask.trimmed();
    if (m.isEmpty())
        return MaskKind::None;
    static const QRegularExpression number(QStringLiteral("^[0#.]*[0#][0#.]*(,[0#]+)?$"));
    if (number.match(m).hasMatch())
        return MaskKind::Number;
    const bool date = m.contains(QLatin1Char('d')) || m.contains(QLatin1Char('M'))
                      || m.contains(QLatin1Char('y'));
    if (date)
        return MaskKind::Date;
    if (hasHour(m))
        return MaskKind::Time;
    return MaskKind::None;
}

int maskDecimals(const QString &mask)
{
    if (maskKind(mask) != MaskKind::Number)
        return 0;
    const QString m = mask.trimmed();
    const qsizetype comma = m.lastIndexOf(QLatin1Char(','));
    return comma < 0 ? 0 : int(m.size() - comma - 1);
}

QString monthAbbreviation(int month)
{
    if (month < 1 || month > 12)
        return {};
    return QLatin1String(kAbbreviations[month - 1]);
}

int expandTwoDigitYear(int year)
{
    if (year < 0 || year > 99)
        return year;
    return year < 30 ? 2000 + year : 1900 + year;
}

QString yesNoText(bool value)
{
    return value ? QStringLiteral("Si") : QStringLiteral("No");
}

QString formatNumber(double value, int decimals)
{
    if (!std::isfinite(value))
        return {};
    decimals = qBound(0, decimals, 10);
    const double scale = std::pow(10.0, decimals);
    const double scaled = value * scale;
    // Round half away from zero on the decimal value the user sees: 2,675 reads 2,68 even
    // though the binary double lies a hair below it.
    const double nudge = std::copysign(1e-9 * std::max(1.0, std::fabs(scaled)), scaled);
    const double rounded = std::round(scaled + nudge);
    if (std::fabs(rounded) >= 9e15) {
        QString text = QString::number(value, 'f', decimals);
        text.replace(QLatin1Char('.'), QLatin1Char(','));
        return text;
    }
    const qint64 units = static_cast<qint64>(rounded);
    const qint64 whole = static_cast<qint64>(scale);
    const qint64 magnitude = units < 0 ? -units : units;
    QString text = QString::number(magnitude / whole);
    if (decimals > 0)
        text += QLatin1Char(',') + padded(int(magnitude % whole), decimals);
    if (units < 0)
        text.prepend(QLatin1Char('-'));
    return text;
}

QString formatDate(const QDate &date, const QString &mask)
{
    if (!date.isValid())
        return {};
    // Lower-case m is a month too where the mask has no hour ("mm-d-yy").
    const bool minutes = hasHour(mask);
    QString out;
    for (const MaskToken &t : tokenize(mask, QStringLiteral("dMym"))) {
        if (t.letter.isNull()) {
            out += t.literal;
            continue;
        }
        const char16_t c = t.letter.unicode();
        if (c == u'd') {
            out += t.count == 1 ? QString::number(date.day()) : padded(date.day(), 2);
        } else if (c == u'M' || (c == u'm' && !minutes)) {
            if (t.count == 1)
                out += QString::number(date.month());
            else if (t.count == 2)
                out += padded(date.month(), 2);
            else if (t.count == 3)
                out += monthAbbreviation(date.month());
            else
                out += QLatin1String(kMonthNames[date.month() - 1]);
        } else if (c == u'y') {
            out += t.count <= 2 ? padded(date.year() % 100, 2) : QString::number(date.year());
        } else {
            out += QString(t.count, t.letter);
        }
    }
    return out;
}

QString formatTime(const QTime &time, const QString &mask)
{
    if (!time.isValid())
        return {};
    QString out;
    for (const MaskToken &t : tokenize(mask, QStringLiteral("Hhms"))) {
        if (t.letter.isNull()) {
            out += t.literal;
            continue;
        }
        int part = 0;
        switch (t.letter.unicode()) {
        case u'H':
        case u'h':
            part = time.hour();
            break;
        case u'm':
            part = time.minute();
            break;
        default:
            part = time.second();
            break;
        }
        out += t.count == 1 ? QString::number(part) : padded(part, 2);
    }
    return out;
}

QString formatValue(const QVariant &value, const QString &mask)
{
    if (!value.isValid() || value.isNull())
        return {};
    switch (maskKind(mask)) {
    case MaskKind::Number: {
        double number = 0;
        if (!toNumber(value, &number))
            return value.toString();
        return formatNumber(number, maskDecimals(mask));
    }
    case MaskKind::Date: {
        QDate date;
        if (!toDate(value, &date))
            return value.toString();
        return formatDate(date, mask.trimmed());
    }
    case MaskKind::Time: {
        QTime time;
        if (!toTime(value, &time))
            return value.toString();
        return formatTime(time, mask.trimmed());
    }
    case MaskKind::None:
        break;
    }
    return genericText(value);
}

double parseNumber(const QString &text, bool *ok)
{
    if (ok)
        *ok = false;
    QString t = text.trimmed();
    t.remove(QLatin1Char(' '));
    bool negative = false;
    if (t.startsWith(QLatin1Char('-')) || t.startsWith(QLatin1Char('+'))) {
        negative = t.startsWith(QLatin1Char('-'));
        t.remove(0, 1);
    }
    // With both signs, the one that comes last is the decimal sign and the other groups
    // thousands ("1.234,5", "1,234.5"). A comma alone is the decimal sign; a dot alone is
    // too (the keypad's), unless it repeats as a grouping sign ("1.234.567").
    const qsizetype comma = t.lastIndexOf(QLatin1Char(','));
    const qsizetype dot = t.lastIndexOf(QLatin1Char('.'));
    QString whole = t;
    QString fraction;
    if (comma >= 0 && dot >= 0) {
        const QChar decimal = dot > comma ? QLatin1Char('.') : QLatin1Char(',');
        const QChar group = dot > comma ? QLatin1Char(',') : QLatin1Char('.');
        if (t.count(decimal) != 1)
            return 0.0;
        const qsizetype at = t.indexOf(decimal);
        whole = t.left(at);
        fraction = t.mid(at + 1);
        if (!stripGrouping(whole, group))
            return 0.0;
    } else if (comma >= 0) {
        if (t.count(QLatin1Char(',')) != 1)
            return 0.0;
        whole = t.left(comma);
        fraction = t.mid(comma + 1);
    } else if (dot >= 0) {
        if (t.count(QLatin1Char('.')) == 1) {
            whole = t.left(dot);
            fraction = t.mid(dot + 1);
        } else if (!stripGrouping(whole, QLatin1Char('.'))) {
            return 0.0;
        }
    }
    static const QRegularExpression digits(QStringLiteral("^\\d*$"));
    if (!digits.match(whole).hasMatch() || !digits.match(fraction).hasMatch())
        return 0.0;
    if (whole.isEmpty() && fraction.isEmpty())
        return 0.0;
    bool converted = false;
    const QString plain = (whole.isEmpty() ? QStringLiteral("0") : whole)
                          + (fraction.isEmpty() ? QString() : QLatin1Char('.') + fraction);
    double value = plain.toDouble(&converted);
    if (!converted || !std::isfinite(value))
        return 0.0;
    if (ok)
        *ok = true;
    return negative ? -value : value;
}

QTime parseTime(const QString &text, bool *ok)
{
    if (ok)
        *ok = false;
    const QString t = text.trimmed();
    static const QRegularExpression separated(
        QStringLiteral("^(\\d{1,2})(?:[:.](\\d{1,2}))?(?:[:.](\\d{1,2}))?$"));
    static const QRegularExpression compact(QStringLiteral("^(\\d{1,2})(\\d{2})$"));
    int h = 0, m = 0, s = 0;
    if (const auto c = compact.match(t); c.hasMatch() && t.size() >= 3) {
        h = c.captured(1).toInt();
        m = c.captured(2).toInt();
    } else if (const auto p = separated.match(t); p.hasMatch()) {
        h = p.captured(1).toInt();
        m = p.captured(2).isEmpty() ? 0 : p.captured(2).toInt();
        s = p.captured(3).isEmpty() ? 0 : p.captured(3).toInt();
    } else {
        return {};
    }
    if (h > 23 || m > 59 || s > 59)
        return {};
    if (ok)
        *ok = true;
    return QTime(h, m, s);
}

QDate parseDate(const QString &text, bool *ok)
{
    if (ok)
        *ok = false;
    static const QRegularExpression pieces(QStringLiteral("\\d+|[^\\W\\d_]+\\.?"));
    static const QRegularExpression separators(QStringLiteral("^[\\s/\\-.]*$"));
    QStringList parts;
    const QString t = text.trimmed();
    qsizetype last = 0;
    for (auto it = pieces.globalMatch(t); it.hasNext();) {
        const auto m = it.next();
        // Only blanks, '/', '-' and '.' may stand between the pieces.
        if (!separators.match(t.mid(last, m.capturedStart() - last)).hasMatch())
            return {};
        parts.append(m.captured());
        last = m.capturedEnd();
    }
    if (!separators.match(t.mid(last)).hasMatch())
        return {};
    if (parts.size() < 2 || parts.size() > 3)
        return {};

    auto isNumber = [](const QString &s) {
        return !s.isEmpty() && s.front().isDigit();
    };
    int day = 0, month = 0, year = 0;
    if (parts.size() == 3 && parts.at(0).size() == 4 && isNumber(parts.at(0))) {
        // 2001-11-04, as the store writes dates.
        if (!isNumber(parts.at(1)) || !isNumber(parts.at(2)))
            return {};
        year = parts.at(0).toInt();
        month = parts.at(1).toInt();
        day = parts.at(2).toInt();
    } else {
        if (!isNumber(parts.at(0)) || parts.at(0).size() > 2)
            return {};
        day = parts.at(0).toInt();
        const QString &m = parts.at(1);
        if (isNumber(m)) {
            if (m.size() > 2)
                return {};
            month = m.toInt();
        } else {
            month = monthFromName(m);
        }
        if (parts.size() == 3) {
            const QString &y = parts.at(2);
            if (!isNumber(y) || y.size() == 3 || y.size() > 4)
                return {};
            year = y.size() <= 2 ? expandTwoDigitYear(y.toInt()) : y.toInt();
        } else {
            year = QDate::currentDate().year();
        }
    }
    const QDate date(year, month, day);
    if (!date.isValid() || month == 0)
        return {};
    if (ok)
        *ok = true;
    return date;
}

QVariant parseValue(const QString &text, const QString &mask, bool *ok)
{
    if (ok)
        *ok = true;
    const MaskKind kind = maskKind(mask);
    if (kind == MaskKind::None)
        return text;
    if (text.trimmed().isEmpty())
        return {};
    bool good = false;
    QVariant result;
    switch (kind) {
    case MaskKind::Number: {
        const double v = parseNumber(text, &good);
        if (good)
            result = v;
        break;
    }
    case MaskKind::Time: {
        const QTime v = parseTime(text, &good);
        if (good)
            result = v;
        break;
    }
    case MaskKind::Date: {
        const QDate v = parseDate(text, &good);
        if (good)
            result = v;
        break;
    }
    case MaskKind::None:
        break;
    }
    if (ok)
        *ok = good;
    return result;
}

QString exampleDate(const QString &mask)
{
    return formatDate(QDate::currentDate(), mask.trimmed());
}

QString badValueMessage(const QString &text, const QString &mask)
{
    const QString shown = text.trimmed();
    switch (maskKind(mask)) {
    case MaskKind::Number:
        return QStringLiteral("\"%1\" no es un número válido. Escriba por ejemplo %2.")
            .arg(shown, formatNumber(12.5, maskDecimals(mask)));
    case MaskKind::Time:
        return QStringLiteral("\"%1\" no es una hora válida. Escriba por ejemplo %2.")
            .arg(shown, formatTime(QTime(8, 30), mask.trimmed()));
    case MaskKind::Date:
        return QStringLiteral("\"%1\" no es una fecha válida. Escriba por ejemplo %2.")
            .arg(shown, exampleDate(mask));
    case MaskKind::None:
        break;
    }
    return QStringLiteral("\"%1\" no es un valor válido.").arg(shown);
}

}  // namespace ui
