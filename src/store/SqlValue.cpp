#include "store/SqlValue.h"

#include "store/StoreError.h"

#include <QLocale>
#include <cmath>

namespace store::sql {

QString text(const QString &value)
{
    QString out;
    out.reserve(value.size() + 2);
    out += QLatin1Char('\'');
    for (QChar c : value) {
        if (c == QLatin1Char('\''))
            out += QLatin1Char('\'');
        out += c;
    }
    out += QLatin1Char('\'');
    return out;
}

QString number(double value)
{
    if (!std::isfinite(value))
        throw StoreError(StoreError::Kind::BadValue, 13, QStringLiteral("El número no es válido."));
    return QLocale::c().toString(value, 'g', 15);
}

QString number(qlonglong value)
{
    return QString::number(value);
}

QString number(const QString &value)
{
    QString t = value.trimmed();
    if (t.contains(QLatin1Char(',')) && !t.contains(QLatin1Char('.')))
        t.replace(QLatin1Char(','), QLatin1Char('.'));
    bool ok = false;
    const double d = QLocale::c().toDouble(t, &ok);
    if (!ok)
        throw StoreError(StoreError::Kind::BadValue, 13,
                         QStringLiteral("\"%1\" no es un número válido.").arg(value));
    return number(d);
}

QString date(const QDate &value)
{
    if (!value.isValid())
        throw StoreError(StoreError::Kind::BadValue, 13, QStringLiteral("La fecha no es válida."));
    const int y = value.year();
    const QString year = (y >= 1930 && y <= 2029) ? QStringLiteral("%1").arg(y % 100, 2, 10, QLatin1Char('0'))
                                                  : QString::number(y);
    return QStringLiteral("#%1-%2-%3#").arg(value.month(), 2, 10, QLatin1Char('0')).arg(value.day()).arg(year);
}

}  // namespace store::sql
