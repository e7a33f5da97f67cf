#include "store/Dialect.h"

#include "store/SchemaInfo.h"
#include "store/SqlTokenizer.h"
#include "store/StatementTables.h"
#include "store/StoreError.h"

#include <QDate>
#include <QSet>
#include <QStringList>
#include <vector>

namespace store {
namespace {

using Kind = SqlToken::Kind;

[[noreturn]] void fail(const QString &what, int position)
{
    throw StoreError(StoreError::Kind::Store, 3000,
                     QStringLiteral("Sentencia no válida: %1 (posición %2).").arg(what).arg(position + 1));
}

QSet<QString> upperSet(std::initializer_list<const char *> words)
{
    QSet<QString> set;
    for (const char *w : words)
        set.insert(QString::fromLatin1(w));
    return set;
}

// Words that end an operand chain and can never be an operand or a name of their own.
const QSet<QString> &keywords()
{
    static const QSet<QString> set = upperSet(
        {"SELECT", "FROM",   "WHERE",  "AND",    "OR",    "NOT",     "AS",       "ON",        "BETWEEN",
         "IN",     "LIKE",   "IS",     "NULL",   "ORDER", "GROUP",   "BY",       "HAVING",    "ASC",
         "DESC",   "DISTINCT", "DISTINCTROW", "ALL", "UNION", "EXCEPT", "INTERSECT", "INSERT", "INTO",
         "VALUES", "UPDATE", "SET",    "DELETE", "EXISTS", "CASE",   "WHEN",     "THEN",      "ELSE",
         "END",    "JOIN",   "INNER",  "OUTER",  "CROSS", "LIMIT",   "OFFSET",   "TOP",       "ESCAPE"});
    return set;
}

// Words that end the column list of a SELECT.
const QSet<QString> &selectListEnd()
{
    static const QSet<QString> set = upperSet({"FROM", "INTO", "WHERE", "GROUP", "ORDER", "HAVING", "UNION",
                                               "EXCEPT", "INTERSECT", "LIMIT"});
    return set;
}

// Words that stand for a value although they look like a name.
const QSet<QString> &valueWords()
{
    static const QSet<QString> set = upperSet({"TRUE", "FALSE", "CURRENT_DATE", "CURRENT_TIME",
                                               "CURRENT_TIMESTAMP", "LOCALTIME", "LOCALTIMESTAMP"});
    return set;
}

// A bracketed name that is one of these must stay quoted.
const QSet<QString> &reservedNames()
{
    static const QSet<QString> set = [] {
        QSet<QString> s = keywords();
        s.unite(valueWords());
        s.unite(upperSet({"USER", "TABLE", "CAST", "COLUMN", "DEFAULT", "CHECK", "PRIMARY", "FOREIGN",
                          "REFERENCES", "UNIQUE", "CONSTRAINT", "CREATE", "DROP", "ALTER", "INDEX", "FETCH",
                          "ANALYSE", "ANALYZE", "ANY", "SOME", "ARRAY", "BOTH", "LEADING", "TRAILING", "COLLATE",
                          "DO", "FOR", "GRANT", "ONLY", "PLACING", "RETURNING", "SYMMETRIC", "TO", "USING",
                          "WINDOW", "WITH", "LATERAL", "NATURAL", "FULL", "LEFT", "RIGHT", "ILIKE", "OVERLAPS",
                          "SIMILAR", "VARIADIC", "CURRENT_USER", "SESSION_USER", "CURRENT_ROLE"}));
        return s;
    }();
    return set;
}

// Functions whose result is text: an operand chain holding one of them joins text.
const QSet<QString> &textFunctions()
{
    static const QSet<QString> set = upperSet({"TRIM", "LTRIM", "RTRIM", "UCASE", "LCASE", "UPPER", "LOWER",
                                               "MID", "LEFT", "RIGHT", "SUBSTR", "SUBSTRING", "REPLACE"});
    return set;
}

bool isKeyword(const SqlToken &t)
{
    return t.kind == Kind::Word && keywords().contains(t.raw.toUpper());
}

bool isWordChar(QChar c)
{
    return c.isLetterOrNumber() || c == QLatin1Char('_');
}

// Plain ASCII identifier: what may stand unquoted on every backend.
bool isPlainIdentifier(const QString &name)
{
    if (name.isEmpty())
        return false;
    for (int i = 0; i < name.size(); ++i) {
        const char16_t c = name[i].unicode();
        const bool letter = (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z') || c == u'_';
        const bool digit = c >= u'0' && c <= u'9';
        if (!(letter || (digit && i > 0)))
            return false;
    }
    return !reservedNames().contains(name.toUpper());
}

// #mm-d-yy#, #m-d-yyyy#, with '-' or '/'; month first.
QDate parseDialectDate(const SqlToken &t)
{
    const QString text = t.value.trimmed();
    const QChar sep = text.contains(QLatin1Char('/')) ? QLatin1Char('/') : QLatin1Char('-');
    const QStringList parts = text.split(sep);
    const auto bad = [&]() -> QDate {
        fail(QStringLiteral("%1 no es una fecha válida (se espera #mm-d-aa#)").arg(t.raw), t.position);
    };
    if (parts.size() != 3)
        return bad();
    int numbers[3];
    for (int i = 0; i < 3; ++i) {
        const QString &p = parts[i];
        const int maxLength = i == 2 ? 4 : 2;
        if (p.isEmpty() || p.size() > maxLength)
            return bad();
        for (QChar c : p)
            if (c < QLatin1Char('0') || c > QLatin1Char('9'))
                return bad();
        numbers[i] = p.toInt();
    }
    int year = numbers[2];
    if (parts[2].size() <= 2)
        year += year < 30 ? 2000 : 1900;
    else if (parts[2].size() != 4)
        return bad();
    const QDate date(year, numbers[0], numbers[1]);
    if (!date.isValid())
        return bad();
    return date;
}

struct Node {
    const SqlToken *token = nullptr;  // a single token, or
    const SqlToken *open = nullptr;   // the '(' of a parenthesised group and what it holds
    std::vector<Node> children;

    bool isGroup() const { return open != nullptr; }
};

std::vector<Node> buildTree(const std::vector<SqlToken> &tokens)
{
    std::vector<std::vector<Node>> stack(1);
    std::vector<const SqlToken *> opens;
    for (const SqlToken &t : tokens) {
        if (t.isSymbol(u"(")) {
            stack.emplace_back();
            opens.push_back(&t);
        } else if (t.isSymbol(u")")) {
            if (opens.empty())
                fail(QStringLiteral("sobra un paréntesis de cierre"), t.position);
            Node group;
            group.open = opens.back();
            group.children = std::move(stack.back());
            stack.pop_back();
            opens.pop_back();
            stack.back().push_back(std::move(group));
        } else {
            Node leaf;
            leaf.token = &t;
            stack.back().push_back(std::move(leaf));
        }
    }
    if (!opens.empty())
        fail(QStringLiteral("falta cerrar un paréntesis"), opens.back()->position);
    return std::move(stack.front());
}

// Appends a piece of output, keeping apart what would otherwise read as one token
// (two names, "--" or "/*" that would start a comment, two literals that would merge).
void append(QString &out, const QString &piece)
{
    if (piece.isEmpty())
        return;
    if (!out.isEmpty()) {
        const QChar a = out.back();
        const QChar b = piece.front();
        const bool glue = (isWordChar(a) && isWordChar(b)) || (a == b && (a == QLatin1Char('-') ||
                                                                         a == QLatin1Char('\'') ||
                                                                         a == QLatin1Char('"'))) ||
                          (a == QLatin1Char('/') && b == QLatin1Char('*'));
        if (glue)
            out += QLatin1Char(' ');
    }
    out += piece;
}

// The significant (non-blank) nodes of one level of parentheses.
class Level {
public:
    explicit Level(const std::vector<Node> &nodes) : m_nodes(nodes)
    {
        for (int i = 0; i < int(nodes.size()); ++i)
            if (nodes[i].isGroup() || nodes[i].token->kind != Kind::Space)
                m_sig.push_back(i);
    }

    int size() const { return int(m_sig.size()); }
    int index(int k) const { return m_sig[k]; }
    const Node &node(int k) const { return m_nodes[m_sig[k]]; }
    // The token at k, or nullptr for a group or past the ends.
    const SqlToken *token(int k) const
    {
        return k >= 0 && k < size() && !node(k).isGroup() ? node(k).token : nullptr;
    }
    bool isGroup(int k) const { return k >= 0 && k < size() && node(k).isGroup(); }
    bool isSymbol(int k, QStringView s) const { return token(k) && token(k)->isSymbol(s); }
    bool isWord(int k, QStringView w) const { return token(k) && token(k)->isWord(w); }

    // A Word followed by a group: a function call.
    bool isCall(int k) const
    {
        const SqlToken *t = token(k);
        return t && t->kind == Kind::Word && !isKeyword(*t) && isGroup(k + 1);
    }
    // The name at k is a whole column reference's last part (not "T." nor "F(").
    bool isColumnName(int k) const
    {
        const SqlToken *t = token(k);
        return t && t->isName() && !isKeyword(*t) && !isSymbol(k + 1, u".") && !isGroup(k + 1);
    }

private:
    const std::vector<Node> &m_nodes;
    std::vector<int> m_sig;
};

class Translator {
public:
    explicit Translator(Backend backend) : m_backend(backend) {}

    QString translate(const std::vector<Node> &nodes) const;

private:
    struct Plan {
        explicit Plan(std::size_t n) : drop(n, false), replace(n), suffix(n), callGroup(n, -1) {}
        std::vector<bool> drop;
        std::vector<QString> replace;  // null: as written
        std::vector<QString> suffix;
        std::vector<int> callGroup;    // a mapped function: the index of its argument group
    };

    bool postgres() const { return m_backend == Backend::PostgreSQL; }

    void planDeleteStar(const Level &level, Plan &plan) const;
    void planYesNo(const Level &level, Plan &plan) const;
    void planConcatenation(const Level &level, Plan &plan) const;
    void planExprNames(const Level &level, Plan &plan) const;
    void planCalls(const Level &level, Plan &plan) const;

    static bool isChainBoundary(const Level &level, int k);
    bool runIsText(const Level &level, int from, int to) const;
    bool isTextExpression(const std::vector<Node> &nodes) const;
    bool isColumnOfKind(const Level &level, int k, ColumnKind kind) const;

    QString emitNode(const Node &node) const;
    QString emitCall(const SqlToken &name, const Node &group) const;
    QString dateLiteral(const SqlToken &t) const;
    QString booleanLiteral(bool value) const;

    Backend m_backend;
    // The tables of each SELECT (or UPDATE, INSERT) being translated, outermost first: a
    // column is known by the table it belongs to, never by its name alone.
    mutable std::vector<StatementTables> m_scopes;
};

// The significant tokens of nodes, parenthesised groups included.
void flatten(const std::vector<Node> &nodes, std::vector<SqlToken> &out)
{
    for (const Node &node : nodes) {
        if (node.isGroup()) {
            out.push_back(*node.open);
            flatten(node.children, out);
            out.push_back(SqlToken{SqlToken::Kind::Symbol, QStringLiteral(")"), {}, node.open->position});
        } else if (node.token->kind != Kind::Space) {
            out.push_back(*node.token);
        }
    }
}

// The tables named at one level of parentheses.
StatementTables tablesOf(const std::vector<Node> &nodes)
{
    std::vector<SqlToken> tokens;
    flatten(nodes, tokens);
    return StatementTables::of(tokens);
}

// Is the name at k a column of that kind in the table it belongs to: the table its
// qualifier names ("H." in H.HORHORAS), or else the innermost statement's first table that
// has a column of that name?
bool Translator::isColumnOfKind(const Level &level, int k, ColumnKind kind) const
{
    const QString column = level.token(k)->name();
    QString qualifier;
    if (level.isSymbol(k - 1, u".") && level.token(k - 2) && level.token(k - 2)->isName())
        qualifier = level.token(k - 2)->name();
    for (auto scope = m_scopes.rbegin(); scope != m_scopes.rend(); ++scope) {
        if (!qualifier.isEmpty()) {
            if (const StatementTables::Table *table = scope->table(qualifier))
                return table->kindOf(column) == kind;
            continue;
        }
        if (const auto found = scope->columnKindOf({}, column))
            return *found == kind;
    }
    return false;
}

QString Translator::translate(const std::vector<Node> &nodes) const
{
    const Level level(nodes);
    StatementTables tables = tablesOf(nodes);
    const bool ownScope = !tables.tables.isEmpty();
    if (ownScope)
        m_scopes.push_back(std::move(tables));
    struct PopScope {
        std::vector<StatementTables> *scopes;
        ~PopScope()
        {
            if (scopes)
                scopes->pop_back();
        }
    } popScope{ownScope ? &m_scopes : nullptr};
    Plan plan(nodes.size());
    planDeleteStar(level, plan);
    planYesNo(level, plan);
    planConcatenation(level, plan);
    planExprNames(level, plan);
    planCalls(level, plan);

    QString out;
    for (int i = 0; i < int(nodes.size()); ++i) {
        if (plan.drop[i])
            continue;
        int last = i;
        if (plan.callGroup[i] >= 0) {
            last = plan.callGroup[i];
            append(out, emitCall(*nodes[i].token, nodes[last]));
        } else if (!plan.replace[i].isNull()) {
            append(out, plan.replace[i]);
        } else {
            append(out, emitNode(nodes[i]));
        }
        for (int j = i; j <= last; ++j)
            append(out, plan.suffix[j]);
        i = last;
    }
    return out;
}

// "DELETE * FROM" and "DELETE T.* FROM": the star and the blanks after it go.
void Translator::planDeleteStar(const Level &level, Plan &plan) const
{
    for (int k = 0; k < level.size(); ++k) {
        if (!level.isWord(k, u"DELETE"))
            continue;
        int lastStar = -1;
        if (level.isSymbol(k + 1, u"*"))
            lastStar = k + 1;
        else if (level.token(k + 1) && level.token(k + 1)->isName() && level.isSymbol(k + 2, u".") &&
                 level.isSymbol(k + 3, u"*"))
            lastStar = k + 3;
        if (lastStar < 0)
            continue;
        const int from = level.index(k + 1);
        const int to = lastStar + 1 < level.size() ? level.index(lastStar + 1) : int(plan.drop.size());
        for (int i = from; i < to; ++i)
            plan.drop[i] = true;
    }
}

QString Translator::booleanLiteral(bool value) const
{
    if (postgres())
        return value ? QStringLiteral("true") : QStringLiteral("false");
    return value ? QStringLiteral("1") : QStringLiteral("0");
}

// A yes/no column compared with -1, 1, 0, True or False compares with the backend's own
// true and false: PostgreSQL refuses boolean = integer, SQLite stores true as 1, not -1.
void Translator::planYesNo(const Level &level, Plan &plan) const
{
    // The literal starting at k (an optional unary minus, then a number or True/False):
    // marks it replaced and returns true when it is one.
    const auto replaceLiteral = [&](int k, int end) -> bool {
        int minus = -1;
        if (level.isSymbol(k, u"-") && k + 1 < end) {
            minus = k;
            ++k;
        }
        const SqlToken *t = level.token(k);
        if (!t || k + 1 != end)
            return false;
        bool value;
        if (t->kind == Kind::Number)
            value = t->raw.toDouble() != 0;
        else if (t->isWord(u"TRUE") && minus < 0)
            value = true;
        else if (t->isWord(u"FALSE") && minus < 0)
            value = false;
        else
            return false;
        if (minus >= 0)
            plan.drop[level.index(minus)] = true;
        plan.replace[level.index(k)] = booleanLiteral(value);
        return true;
    };
    const auto isYesNoColumn = [&](int k) {
        return level.isColumnName(k) && isColumnOfKind(level, k, ColumnKind::YesNo);
    };
    // [from, to) is a reference "name" or "alias.name" to a yes/no column.
    const auto isYesNoReference = [&](int from, int to) {
        for (int k = from; k < to; ++k) {
            const bool dot = (to - 1 - k) % 2 == 1;
            if (dot ? !level.isSymbol(k, u".") : !(level.token(k) && level.token(k)->isName()))
                return false;
        }
        return to > from && isYesNoColumn(to - 1);
    };
    // The end of the operand that starts right after a comparison at k.
    const auto operandEnd = [&](int k) {
        int e = k + 1;
        while (e < level.size() && !isChainBoundary(level, e))
            ++e;
        return e;
    };

    for (int k = 1; k + 1 < level.size(); ++k) {
        if (!(level.isSymbol(k, u"=") || level.isSymbol(k, u"<>") || level.isSymbol(k, u"!=")))
            continue;
        if (isYesNoColumn(k - 1)) {
            replaceLiteral(k + 1, operandEnd(k));
        } else if (isYesNoReference(k + 1, operandEnd(k))) {
            // literal = column: the literal is the operand just before the comparison,
            // with a minus sign only when nothing stands before that sign as an operand.
            int start = k - 1;
            if (level.isSymbol(k - 2, u"-") && (k - 3 < 0 || isChainBoundary(level, k - 3)))
                start = k - 2;
            if (start == 0 || isChainBoundary(level, start - 1))
                replaceLiteral(start, k);
        }
    }
}

bool Translator::isChainBoundary(const Level &level, int k)
{
    if (level.isGroup(k))
        return false;
    const SqlToken *t = level.token(k);
    if (!t)
        return true;
    if (t->kind == Kind::Symbol) {
        static const QStringList ends = {QStringLiteral(","),  QStringLiteral("="),  QStringLiteral("<"),
                                         QStringLiteral(">"),  QStringLiteral("<="), QStringLiteral(">="),
                                         QStringLiteral("<>"), QStringLiteral("!="), QStringLiteral(";"),
                                         QStringLiteral("{"),  QStringLiteral("}")};
        return ends.contains(t->raw);
    }
    return isKeyword(*t);
}

// Does the operand chain [from, to) of a level hold a text operand?
bool Translator::runIsText(const Level &level, int from, int to) const
{
    for (int k = from; k < to; ++k) {
        if (level.isGroup(k)) {
            // The arguments of a call say nothing about the call's own result.
            if (k > from && level.isCall(k - 1))
                continue;
            if (isTextExpression(level.node(k).children))
                return true;
            continue;
        }
        const SqlToken &t = *level.token(k);
        switch (t.kind) {
        case Kind::String:
            // DATE '2001-11-04' is a date, not text.
            if (k > from && level.token(k - 1) && level.token(k - 1)->kind == Kind::Word &&
                QStringList({QStringLiteral("DATE"), QStringLiteral("TIME"), QStringLiteral("TIMESTAMP"),
                             QStringLiteral("INTERVAL")})
                    .contains(level.token(k - 1)->raw.toUpper()))
                continue;
            return true;
        case Kind::Word:
            if (level.isCall(k)) {
                if (textFunctions().contains(t.raw.toUpper()))
                    return true;
                continue;
            }
            [[fallthrough]];
        case Kind::BracketName:
        case Kind::QuotedName:
            if (level.isColumnName(k) && isColumnOfKind(level, k, ColumnKind::Text))
                return true;
            break;
        case Kind::Symbol:
            if (t.raw == QLatin1String("||"))
                return true;
            break;
        default:
            break;
        }
    }
    return false;
}

// A parenthesised expression that is one chain holding text.
bool Translator::isTextExpression(const std::vector<Node> &nodes) const
{
    const Level level(nodes);
    for (int k = 0; k < level.size(); ++k)
        if (isChainBoundary(level, k))
            return false;
    return runIsText(level, 0, level.size());
}

// '+' joins text in a chain of operands that holds text; elsewhere it adds numbers.
void Translator::planConcatenation(const Level &level, Plan &plan) const
{
    int from = 0;
    while (from < level.size()) {
        int to = from;
        bool hasPlus = false;
        while (to < level.size() && !isChainBoundary(level, to)) {
            hasPlus = hasPlus || level.isSymbol(to, u"+");
            ++to;
        }
        if (hasPlus && runIsText(level, from, to))
            for (int k = from; k < to; ++k)
                if (level.isSymbol(k, u"+"))
                    plan.replace[level.index(k)] = QStringLiteral("||");
        from = to + 1;
    }
}

// Computed columns without a name are Expr1000, Expr1001, ...: 1000 plus the number of
// entries before them in the list, a bare * not counted (T.* is).
void Translator::planExprNames(const Level &level, Plan &plan) const
{
    const auto isColumnReference = [&](int from, int to) {
        // name ( . name )* with an optional .* at the end
        if ((to - from) % 2 == 0)
            return false;
        for (int k = from; k < to; ++k) {
            const SqlToken *t = level.token(k);
            if (!t)
                return false;
            if ((k - from) % 2 == 1) {
                if (!t->isSymbol(u"."))
                    return false;
            } else if (t->isSymbol(u"*")) {
                if (k != to - 1 || k == from)
                    return false;
            } else if (!t->isName() || isKeyword(*t) ||
                       (t->kind == Kind::Word && valueWords().contains(t->raw.toUpper()))) {
                return false;
            }
        }
        return true;
    };
    const auto hasName = [&](int from, int to) {
        for (int k = from; k < to; ++k)
            if (level.isWord(k, u"AS"))
                return true;
        // "expression alias" without AS: a name right after a complete operand.
        if (to - from < 2)
            return false;
        const SqlToken *last = level.token(to - 1);
        if (!last || !last->isName() || isKeyword(*last))
            return false;
        if (level.isGroup(to - 2))
            return true;
        const SqlToken *before = level.token(to - 2);
        return before && before->kind != Kind::Symbol && !isKeyword(*before);
    };

    for (int k = 0; k < level.size(); ++k) {
        if (!level.isWord(k, u"SELECT"))
            continue;
        int p = k + 1;
        while (level.isWord(p, u"DISTINCT") || level.isWord(p, u"ALL") || level.isWord(p, u"DISTINCTROW"))
            ++p;
        int entries = 0;
        int itemStart = p;
        for (int q = p;; ++q) {
            const SqlToken *t = level.token(q);
            const bool atEnd = q >= level.size() ||
                               (t && ((t->kind == Kind::Word && selectListEnd().contains(t->raw.toUpper())) ||
                                      t->isSymbol(u";") || t->isSymbol(u"}")));
            if (!atEnd && !(t && t->isSymbol(u",")))
                continue;
            const int from = itemStart;
            itemStart = q + 1;
            if (q > from && !(q - from == 1 && level.isSymbol(from, u"*"))) {
                if (!isColumnReference(from, q) && !hasName(from, q))
                    plan.suffix[level.index(q - 1)] += QStringLiteral(" AS Expr%1").arg(1000 + entries);
                ++entries;
            }
            if (atEnd) {
                k = q - 1;
                break;
            }
        }
    }
}

void Translator::planCalls(const Level &level, Plan &plan) const
{
    static const QSet<QString> mapped =
        upperSet({"DATE", "YEAR", "MONTH", "DAY", "TRIM", "LTRIM", "RTRIM", "UCASE", "LCASE", "LEN"});
    for (int k = 0; k + 1 < level.size(); ++k) {
        if (!level.isCall(k))
            continue;
        const QString name = level.token(k)->raw.toUpper();
        if (!mapped.contains(name))
            continue;
        const bool noArguments = Level(level.node(k + 1).children).size() == 0;
        // date('now','localtime') and the like are already the backend's own.
        if ((name == QLatin1String("DATE")) != noArguments)
            continue;
        plan.callGroup[level.index(k)] = level.index(k + 1);
    }
}

QString Translator::emitCall(const SqlToken &nameToken, const Node &group) const
{
    const QString name = nameToken.raw.toUpper();
    if (name == QLatin1String("DATE"))
        return postgres() ? QStringLiteral("CURRENT_DATE") : QStringLiteral("date('now','localtime')");
    const QString argument = translate(group.children);
    if (name == QLatin1String("YEAR") || name == QLatin1String("MONTH") || name == QLatin1String("DAY")) {
        if (postgres())
            return QStringLiteral("CAST(EXTRACT(%1 FROM %2) AS INTEGER)").arg(name, argument.trimmed());
        const QString format = name == QLatin1String("YEAR")    ? QStringLiteral("%Y")
                               : name == QLatin1String("MONTH") ? QStringLiteral("%m")
                                                                : QStringLiteral("%d");
        return QStringLiteral("CAST(strftime('%1', %2) AS INTEGER)").arg(format, argument.trimmed());
    }
    QString function = name;
    if (name == QLatin1String("UCASE"))
        function = QStringLiteral("UPPER");
    else if (name == QLatin1String("LCASE"))
        function = QStringLiteral("LOWER");
    else if (name == QLatin1String("LEN"))
        function = QStringLiteral("LENGTH");
    return function + QLatin1Char('(') + argument + QLatin1Char(')');
}

QString Translator::dateLiteral(const SqlToken &t) const
{
    const QString iso = parseDialectDate(t).toString(QStringLiteral("yyyy-MM-dd"));
    return postgres() ? QStringLiteral("DATE '%1'").arg(iso) : QStringLiteral("'%1'").arg(iso);
}

QString Translator::emitNode(const Node &node) const
{
    if (node.isGroup())
        return QLatin1Char('(') + translate(node.children) + QLatin1Char(')');
    const SqlToken &t = *node.token;
    switch (t.kind) {
    case Kind::Date:
        return dateLiteral(t);
    case Kind::BracketName: {
        if (isPlainIdentifier(t.value))
            return t.value;
        if (t.value.isEmpty())
            fail(QStringLiteral("hay un nombre vacío entre corchetes"), t.position);
        QString quoted = t.value;
        quoted.replace(QLatin1Char('"'), QLatin1String("\"\""));
        return QLatin1Char('"') + quoted + QLatin1Char('"');
    }
    default:
        return t.raw;
    }
}

}  // namespace

QString Dialect::translate(const QString &statement, Backend backend)
{
    const std::vector<SqlToken> tokens = SqlTokenizer::tokenize(statement);
    const std::vector<Node> tree = buildTree(tokens);
    return Translator(backend).translate(tree);
}

}  // namespace store
