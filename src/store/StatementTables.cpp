#include "store/StatementTables.h"

#include "store/SqlTokenizer.h"
#include "store/StoreError.h"

namespace store {
namespace {

// Words that end the list of tables after FROM.
bool endsTableList(const SqlToken &t)
{
    for (const char16_t *w : {u"WHERE", u"GROUP", u"ORDER", u"HAVING", u"UNION", u"EXCEPT", u"INTERSECT",
                              u"LIMIT", u"SET", u"VALUES", u"SELECT"})
        if (t.isWord(w))
            return true;
    return t.isSymbol(u";");
}

// Reads "name [AS] alias, name alias ..." from `from` on, at the top level, into `out`.
void readTableList(const std::vector<SqlToken> &w, std::size_t from, QVector<StatementTables::Table> &out,
                   bool oneTable)
{
    StatementTables::Table current;
    int depth = 0;
    bool inJoinCondition = false;  // after ON, up to the next table
    for (std::size_t i = from; i < w.size(); ++i) {
        const SqlToken &t = w[i];
        if (t.isSymbol(u"(")) {
            // For INSERT, a column list: not a table of this statement.
            if (depth == 0 && oneTable && !current.name.isEmpty())
                break;
            if (depth == 0 && !oneTable && current.name.isEmpty() && !current.subquery) {
                // A subquery standing for a table: read on its own, named by what follows.
                std::size_t close = i + 1;
                for (int level = 1; close < w.size(); ++close) {
                    if (w[close].isSymbol(u"("))
                        ++level;
                    else if (w[close].isSymbol(u")") && --level == 0)
                        break;
                }
                const std::vector<SqlToken> inner(w.begin() + std::ptrdiff_t(i + 1),
                                                  w.begin() + std::ptrdiff_t(std::min(close, w.size())));
                current.subquery = std::make_shared<const StatementTables>(StatementTables::of(inner));
                i = close;
                continue;
            }
            ++depth;
            continue;
        }
        if (t.isSymbol(u")")) {
            if (--depth < 0)
                break;
            continue;
        }
        if (depth > 0)
            continue;
        if (endsTableList(t))
            break;
        if (t.isSymbol(u",") || t.isWord(u"JOIN")) {
            if (!current.name.isEmpty())
                out << current;
            current = StatementTables::Table();
            inJoinCondition = false;
            if (oneTable)
                return;
            continue;
        }
        if (t.isWord(u"ON"))
            inJoinCondition = true;
        if (inJoinCondition)
            continue;
        if (t.isWord(u"AS") || t.isWord(u"INNER") || t.isWord(u"LEFT") || t.isWord(u"RIGHT") ||
            t.isWord(u"OUTER") || t.isWord(u"CROSS"))
            continue;
        if (!t.isName())
            continue;
        if (current.name.isEmpty())
            current.name = t.name();
        else if (current.alias.isEmpty())
            current.alias = t.name();
    }
    if (!current.name.isEmpty())
        out << current;
}

// One entry of a select list, tokens [from, to) at the top level.
StatementTables::Selected readSelected(const std::vector<SqlToken> &w, std::size_t from, std::size_t to)
{
    StatementTables::Selected entry;
    // A name given to the entry: "... AS name", or a name right after a complete operand.
    if (to - from >= 3 && w[to - 2].isWord(u"AS") && w[to - 1].isName()) {
        entry.name = w[to - 1].name();
        to -= 2;
    } else if (to - from >= 2 && w[to - 1].isName() && !w[to - 2].isSymbol(u".") &&
               (w[to - 2].isName() || w[to - 2].isSymbol(u")") || w[to - 2].kind == SqlToken::Kind::String ||
                w[to - 2].kind == SqlToken::Kind::Number)) {
        entry.name = w[to - 1].name();
        to -= 1;
    }
    const std::size_t n = to - from;
    const auto columnAt = [&](std::size_t i) { return w[i].isSymbol(u"*") || w[i].isName(); };
    if (n == 1 && columnAt(from)) {
        entry.column = w[from].isSymbol(u"*") ? QStringLiteral("*") : w[from].name();
    } else if (n == 3 && w[from].isName() && w[from + 1].isSymbol(u".") && columnAt(from + 2)) {
        entry.qualifier = w[from].name();
        entry.column = w[from + 2].isSymbol(u"*") ? QStringLiteral("*") : w[from + 2].name();
    }
    return entry;
}

}  // namespace

StatementTables StatementTables::of(const QString &statement)
{
    try {
        return of(SqlTokenizer::significant(statement));
    } catch (const StoreError &) {
        return {};  // running the statement tells the user what is wrong with it
    }
}

StatementTables StatementTables::of(const std::vector<SqlToken> &w)
{
    StatementTables result;
    int depth = 0;
    bool inSelectList = false;
    bool tablesRead = false;
    for (std::size_t i = 0; i < w.size(); ++i) {
        const SqlToken &t = w[i];
        if (t.isSymbol(u"(")) {
            ++depth;
            continue;
        }
        if (t.isSymbol(u")")) {
            --depth;
            continue;
        }
        if (depth != 0)
            continue;
        if (t.isWord(u"SELECT")) {
            inSelectList = !tablesRead;
            if (inSelectList)
                result.selected.clear();
            std::size_t from = i + 1;
            while (from < w.size() && (w[from].isWord(u"DISTINCT") || w[from].isWord(u"ALL") ||
                                       w[from].isWord(u"DISTINCTROW")))
                ++from;
            int level = 0;
            for (std::size_t k = from; inSelectList && k <= w.size(); ++k) {
                const bool end = k == w.size() || (level == 0 && (w[k].isWord(u"FROM") || w[k].isWord(u"INTO") ||
                                                                  w[k].isSymbol(u";")));
                if (end || (level == 0 && w[k].isSymbol(u","))) {
                    if (k > from)
                        result.selected << readSelected(w, from, k);
                    from = k + 1;
                    if (end)
                        break;
                } else if (w[k].isSymbol(u"(")) {
                    ++level;
                } else if (w[k].isSymbol(u")")) {
                    --level;
                }
            }
        } else if (t.isWord(u"GROUP") && i + 1 < w.size() && w[i + 1].isWord(u"BY")) {
            result.grouped = true;
        } else if (tablesRead) {
            continue;
        } else if (t.isWord(u"FROM")) {
            inSelectList = false;
            tablesRead = true;
            readTableList(w, i + 1, result.tables, false);
        } else if (t.isWord(u"UPDATE") || (t.isWord(u"INTO") && !inSelectList)) {
            tablesRead = true;
            readTableList(w, i + 1, result.tables, true);
        }
    }
    for (const Selected &s : std::as_const(result.selected))
        if (s.column == QLatin1String("*") && !s.qualifier.isEmpty()) {
            result.starAlias = s.qualifier;
            break;
        }
    return result;
}

const StatementTables::Table *StatementTables::table(const QString &aliasOrName) const
{
    for (const Table &t : tables)
        if (t.alias.compare(aliasOrName, Qt::CaseInsensitive) == 0)
            return &t;
    for (const Table &t : tables)
        if (t.name.compare(aliasOrName, Qt::CaseInsensitive) == 0)
            return &t;
    return nullptr;
}

QString StatementTables::tableOf(const QString &aliasOrName) const
{
    const Table *t = table(aliasOrName);
    return t ? t->name : QString();
}

std::optional<ColumnKind> StatementTables::Table::kindOf(const QString &column) const
{
    return subquery ? subquery->resultKind(column) : columnKind(name, column);
}

std::optional<ColumnKind> StatementTables::columnKindOf(const QString &qualifier, const QString &column) const
{
    if (!qualifier.isEmpty()) {
        const Table *t = table(qualifier);
        return t ? t->kindOf(column) : std::nullopt;
    }
    for (const Table &t : tables)
        if (const auto kind = t.kindOf(column))
            return kind;
    return std::nullopt;
}

std::optional<ColumnKind> StatementTables::resultKind(const QString &resultColumn) const
{
    const auto same = [](const QString &a, const QString &b) { return a.compare(b, Qt::CaseInsensitive) == 0; };
    const auto kindIn = [&](const QString &qualifier, const QString &column) {
        return columnKindOf(qualifier, column);
    };
    for (const Selected &s : selected) {
        const QString shown = s.name.isEmpty() ? s.column : s.name;
        if (s.column != QLatin1String("*") && same(shown, resultColumn))
            return s.column.isEmpty() ? std::nullopt : kindIn(s.qualifier, s.column);
    }
    for (const Selected &s : selected)
        if (s.column == QLatin1String("*"))
            if (const auto kind = kindIn(s.qualifier, resultColumn))
                return kind;
    return std::nullopt;
}

QString StatementTables::writeTable() const
{
    if (!starAlias.isEmpty()) {
        const QString table = tableOf(starAlias);
        if (!table.isEmpty())
            return table;
    }
    return tables.isEmpty() ? QString() : tables.first().name;
}

}  // namespace store
