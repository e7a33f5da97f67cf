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
            // A subquery or (for INSERT) a column list: not a table of this statement.
            if (depth == 0 && oneTable && !current.name.isEmpty())
                break;
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
            current = {};
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

}  // namespace

StatementTables StatementTables::of(const QString &statement)
{
    StatementTables result;
    std::vector<SqlToken> w;
    try {
        w = SqlTokenizer::significant(statement);
    } catch (const StoreError &) {
        return result;  // running the statement tells the user what is wrong with it
    }
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
        } else if (inSelectList && result.starAlias.isEmpty() && t.isName() && i + 2 < w.size() &&
                   w[i + 1].isSymbol(u".") && w[i + 2].isSymbol(u"*")) {
            result.starAlias = t.name();
        }
    }
    return result;
}

QString StatementTables::tableOf(const QString &aliasOrName) const
{
    for (const Table &t : tables)
        if (t.alias.compare(aliasOrName, Qt::CaseInsensitive) == 0)
            return t.name;
    for (const Table &t : tables)
        if (t.name.compare(aliasOrName, Qt::CaseInsensitive) == 0)
            return t.name;
    return {};
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
