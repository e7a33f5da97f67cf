#include "store/StatementTables.h"

#include <QStringList>

namespace store {
namespace {

// Splits the statement into words and punctuation, dropping literals, so that keywords
// inside quotes or brackets are never taken for structure.
QStringList words(const QString &s)
{
    QStringList out;
    int i = 0;
    const int n = s.size();
    while (i < n) {
        const QChar c = s.at(i);
        if (c.isSpace()) {
            ++i;
        } else if (c == QLatin1Char('\'')) {
            ++i;
            while (i < n) {
                if (s.at(i) == QLatin1Char('\'')) {
                    if (i + 1 < n && s.at(i + 1) == QLatin1Char('\''))
                        i += 2;
                    else
                        break;
                } else {
                    ++i;
                }
            }
            ++i;
            out << QStringLiteral("'");
        } else if (c == QLatin1Char('[')) {
            const int end = s.indexOf(QLatin1Char(']'), i);
            out << s.mid(i + 1, (end < 0 ? n : end) - i - 1);
            i = end < 0 ? n : end + 1;
        } else if (c == QLatin1Char('#')) {
            const int end = s.indexOf(QLatin1Char('#'), i + 1);
            i = end < 0 ? n : end + 1;
            out << QStringLiteral("#");
        } else if (c.isLetterOrNumber() || c == QLatin1Char('_') || c == QLatin1Char('.')) {
            const int start = i;
            while (i < n && (s.at(i).isLetterOrNumber() || s.at(i) == QLatin1Char('_') || s.at(i) == QLatin1Char('.') ||
                             (s.at(i) == QLatin1Char('*') && i > start && s.at(i - 1) == QLatin1Char('.'))))
                ++i;
            out << s.mid(start, i - start);
        } else {
            out << QString(c);
            ++i;
        }
    }
    return out;
}

bool isWord(const QString &w, const char *kw)
{
    return w.compare(QLatin1String(kw), Qt::CaseInsensitive) == 0;
}

}  // namespace

StatementTables StatementTables::of(const QString &statement)
{
    StatementTables result;
    const QStringList w = words(statement);
    int depth = 0;
    int fromAt = -1;
    bool inSelectList = false;
    for (int i = 0; i < w.size(); ++i) {
        if (w[i] == QLatin1String("(")) {
            ++depth;
        } else if (w[i] == QLatin1String(")")) {
            --depth;
        } else if (depth == 0 && isWord(w[i], "SELECT")) {
            inSelectList = true;
        } else if (depth == 0 && isWord(w[i], "FROM")) {
            fromAt = i;
            break;
        } else if (inSelectList && depth == 0 && w[i].endsWith(QLatin1String(".*"))) {
            if (result.starAlias.isEmpty())
                result.starAlias = w[i].left(w[i].size() - 2);
        }
    }
    if (fromAt < 0)
        return result;
    Table current;
    depth = 0;
    for (int i = fromAt + 1; i < w.size(); ++i) {
        const QString &t = w[i];
        if (t == QLatin1String("(")) {
            ++depth;
            continue;
        }
        if (t == QLatin1String(")")) {
            --depth;
            continue;
        }
        if (depth > 0)
            continue;
        if (isWord(t, "WHERE") || isWord(t, "GROUP") || isWord(t, "ORDER") || isWord(t, "HAVING") ||
            t == QLatin1String(";"))
            break;
        if (t == QLatin1String(",")) {
            if (!current.name.isEmpty())
                result.tables << current;
            current = Table();
            continue;
        }
        if (isWord(t, "AS"))
            continue;
        if (current.name.isEmpty())
            current.name = t;
        else if (current.alias.isEmpty())
            current.alias = t;
    }
    if (!current.name.isEmpty())
        result.tables << current;
    return result;
}

QString StatementTables::writeTable() const
{
    if (!starAlias.isEmpty()) {
        for (const Table &t : tables)
            if (t.alias.compare(starAlias, Qt::CaseInsensitive) == 0 ||
                t.name.compare(starAlias, Qt::CaseInsensitive) == 0)
                return t.name;
    }
    return tables.isEmpty() ? QString() : tables.first().name;
}

}  // namespace store
