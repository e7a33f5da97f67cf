#include "store/Shape.h"

#include "store/SqlTokenizer.h"
#include "store/StoreError.h"

#include <QDateTime>
#include <QHash>
#include <QLocale>
#include <cmath>
#include <unordered_map>
#include <utility>

namespace store {

namespace {

constexpr int kShapeErrorNumber = 3001;
constexpr int kItemNotFoundNumber = 3265;

[[noreturn]] void fail(const QString &detail)
{
    throw StoreError(StoreError::Kind::Store, kShapeErrorNumber,
                     QStringLiteral("Sentencia SHAPE no válida: %1").arg(detail));
}

int indexOfName(const QStringList &names, const QString &name)
{
    for (int i = 0; i < names.size(); ++i) {
        if (names.at(i).compare(name, Qt::CaseInsensitive) == 0)
            return i;
    }
    return -1;
}

bool sameName(const QString &a, const QString &b)
{
    return a.compare(b, Qt::CaseInsensitive) == 0;
}

// ---- tokens -----------------------------------------------------------------------------

struct Token {
    enum class Type { Word, Quoted, Statement, Punct, End };
    Type type = Type::End;
    QString text;  // the name, the inner statement, or the punctuation character
    int pos = 0;   // 1-based position in the command, for messages

    bool isWord(const char *keyword) const
    {
        return type == Type::Word && text.compare(QLatin1String(keyword), Qt::CaseInsensitive) == 0;
    }
    bool isPunct(char c) const { return type == Type::Punct && text.size() == 1 && text.at(0) == QLatin1Char(c); }
    bool isName() const { return type == Type::Word || type == Type::Quoted; }
};

QString describe(const Token &t)
{
    switch (t.type) {
    case Token::Type::End:
        return QStringLiteral("el final del texto");
    case Token::Type::Statement:
        return QStringLiteral("una sentencia entre llaves");
    default:
        return QStringLiteral("'%1'").arg(t.text);
    }
}

// The SHAPE grammar's view of the lexer's tokens: names between [ ], " " or ' ' are all
// names here, each {statement} is one token, and blanks are dropped.
std::vector<Token> tokenize(const QString &text)
{
    using Kind = SqlToken::Kind;
    std::vector<Token> tokens;
    for (const SqlToken &s : SqlTokenizer::significant(text, SqlTokenizer::Mode::Shape)) {
        Token t;
        t.pos = s.position + 1;
        switch (s.kind) {
        case Kind::Word:
            t.type = Token::Type::Word;
            t.text = s.raw;
            break;
        case Kind::BracketName:
        case Kind::QuotedName:
        case Kind::String:
            if (s.value.trimmed().isEmpty())
                fail(QStringLiteral("nombre vacío en la posición %1").arg(t.pos));
            t.type = Token::Type::Quoted;
            t.text = s.value;
            break;
        case Kind::Braced:
            if (s.value.isEmpty())
                fail(QStringLiteral("la sentencia entre llaves de la posición %1 está vacía").arg(t.pos));
            t.type = Token::Type::Statement;
            t.text = s.value;
            break;
        case Kind::Symbol:
            if (s.isSymbol(u"(") || s.isSymbol(u")") || s.isSymbol(u",") || s.isSymbol(u".")) {
                t.type = Token::Type::Punct;
                t.text = s.raw;
                break;
            }
            if (s.isSymbol(u"}"))
                fail(QStringLiteral("llave de cierre sin abrir en la posición %1").arg(t.pos));
            [[fallthrough]];
        default:
            fail(QStringLiteral("carácter inesperado '%1' en la posición %2").arg(s.raw.front()).arg(t.pos));
        }
        tokens.push_back(std::move(t));
    }
    Token end;
    end.pos = int(text.size()) + 1;
    tokens.push_back(end);
    return tokens;
}

// ---- parser -----------------------------------------------------------------------------

class Parser {
public:
    explicit Parser(const QString &text) : m_tokens(tokenize(text)) {}

    ShapeCommand parseTop()
    {
        ShapeCommand command = parseShape();
        if (peek().type != Token::Type::End)
            fail(QStringLiteral("texto de más en la posición %1: %2").arg(peek().pos).arg(describe(peek())));
        return command;
    }

private:
    const Token &peek(int ahead = 0) const
    {
        const std::size_t k = std::min(m_pos + ahead, m_tokens.size() - 1);
        return m_tokens[k];
    }
    const Token &next()
    {
        const Token &t = m_tokens[m_pos];
        if (m_pos + 1 < m_tokens.size())
            ++m_pos;
        return t;
    }
    [[noreturn]] void expected(const QString &what) const
    {
        fail(QStringLiteral("se esperaba %1 en la posición %2 y se encontró %3")
                 .arg(what)
                 .arg(peek().pos)
                 .arg(describe(peek())));
    }
    void expectWord(const char *keyword)
    {
        if (!peek().isWord(keyword))
            expected(QLatin1String(keyword));
        next();
    }
    void expectPunct(char c)
    {
        if (!peek().isPunct(c))
            expected(QStringLiteral("'%1'").arg(QLatin1Char(c)));
        next();
    }

    static bool isKeyword(const Token &t)
    {
        static const char *const keywords[] = {"SHAPE", "AS", "APPEND", "COMPUTE", "BY", "RELATE", "TO"};
        for (const char *k : keywords) {
            if (t.isWord(k))
                return true;
        }
        return false;
    }

    QString parseName(const QString &what)
    {
        if (!peek().isName() || (peek().type == Token::Type::Word && isKeyword(peek())))
            expected(what);
        return next().text;
    }

    // [[AS] name]
    QString parseOptionalAlias()
    {
        if (peek().isWord("AS")) {
            next();
            return parseName(QStringLiteral("un nombre después de AS"));
        }
        if (peek().type == Token::Type::Quoted || (peek().type == Token::Type::Word && !isKeyword(peek())))
            return next().text;
        return {};
    }

    // SHAPE <source> [[AS] alias] [COMPUTE ... | APPEND ...]
    ShapeCommand parseShape()
    {
        expectWord("SHAPE");
        ShapeCommand command;
        parseSource(command);
        command.alias = parseOptionalAlias();
        if (command.alias.isEmpty())
            command.alias = QStringLiteral("Command1");
        if (peek().isWord("COMPUTE")) {
            next();
            command.kind = ShapeCommand::Kind::Compute;
            parseCompute(command);
        } else if (peek().isWord("APPEND")) {
            next();
            command.kind = ShapeCommand::Kind::Append;
            parseAppend(command);
        }
        return command;
    }

    // {statement} or (SHAPE ...)
    void parseSource(ShapeCommand &command)
    {
        if (peek().type == Token::Type::Statement) {
            command.statement = next().text;
        } else if (peek().isPunct('(')) {
            next();
            command.nested = std::make_shared<ShapeCommand>(parseShape());
            expectPunct(')');
        } else {
            expected(QStringLiteral("una sentencia entre llaves o un SHAPE entre paréntesis"));
        }
    }

    void parseCompute(ShapeCommand &command)
    {
        bool chapterSeen = false;
        for (;;) {
            static const std::pair<const char *, ShapeAggregate::Function> functions[] = {
                {"SUM", ShapeAggregate::Function::Sum},
                {"COUNT", ShapeAggregate::Function::Count},
                {"MIN", ShapeAggregate::Function::Min},
                {"MAX", ShapeAggregate::Function::Max},
                {"AVG", ShapeAggregate::Function::Avg},
            };
            const Token &head = peek();
            bool isAggregate = false;
            if (head.type == Token::Type::Word && peek(1).isPunct('(')) {
                for (const auto &[word, function] : functions) {
                    if (head.isWord(word)) {
                        next();
                        command.aggregates.push_back(parseAggregate(command, function, QLatin1String(word)));
                        isAggregate = true;
                        break;
                    }
                }
                if (!isAggregate)
                    fail(QStringLiteral("función de agregado desconocida '%1' en la posición %2").arg(head.text).arg(head.pos));
            }
            if (!isAggregate) {
                const int pos = peek().pos;
                const QString name = parseName(QStringLiteral("el capítulo o un agregado después de COMPUTE"));
                if (!sameName(name, command.alias))
                    fail(QStringLiteral("el capítulo '%1' de la posición %2 no es el alias '%3' de la sentencia")
                             .arg(name).arg(pos).arg(command.alias));
                if (chapterSeen)
                    fail(QStringLiteral("el capítulo '%1' se nombra dos veces en COMPUTE").arg(name));
                chapterSeen = true;
                command.computeChapter = command.alias;
            }
            if (!peek().isPunct(','))
                break;
            next();
        }
        if (!chapterSeen)
            fail(QStringLiteral("COMPUTE no nombra el capítulo '%1'").arg(command.alias));
        if (peek().isWord("BY")) {
            next();
            for (;;) {
                command.by << parseName(QStringLiteral("un nombre de columna después de BY"));
                if (!peek().isPunct(','))
                    break;
                next();
            }
        }
    }

    // FUNC( [chapter.]column )  or  COUNT(chapter), then [[AS] name]
    ShapeAggregate parseAggregate(const ShapeCommand &command, ShapeAggregate::Function function,
                                  const QString &functionName)
    {
        ShapeAggregate aggregate;
        aggregate.function = function;
        expectPunct('(');
        const QString first = parseName(QStringLiteral("una columna dentro de %1( )").arg(functionName));
        if (peek().isPunct('.')) {
            next();
            if (!sameName(first, command.alias))
                fail(QStringLiteral("%1 nombra el capítulo '%2', que no es el alias '%3' de la sentencia")
                         .arg(functionName, first, command.alias));
            aggregate.chapter = command.alias;
            aggregate.column = parseName(QStringLiteral("una columna después de '%1.'").arg(first));
        } else if (function == ShapeAggregate::Function::Count && sameName(first, command.alias)) {
            aggregate.chapter = command.alias;
        } else {
            aggregate.column = first;
        }
        expectPunct(')');
        aggregate.name = parseOptionalAlias();
        if (aggregate.name.isEmpty())
            aggregate.name = QStringLiteral("%1(%2)").arg(functionName, aggregate.column.isEmpty() ? aggregate.chapter
                                                                                               : aggregate.column);
        return aggregate;
    }

    void parseAppend(ShapeCommand &command)
    {
        for (;;) {
            expectPunct('(');
            ShapeAppend append;
            auto child = std::make_shared<ShapeCommand>();
            if (peek().isWord("SHAPE")) {
                *child = parseShape();
            } else {
                parseSource(*child);
                child->alias = parseOptionalAlias();
                if (child->alias.isEmpty())
                    child->alias = QStringLiteral("Command1");
            }
            append.child = child;
            expectWord("RELATE");
            for (;;) {
                ShapeRelation relation;
                relation.parentColumn = parseName(QStringLiteral("una columna del padre después de RELATE"));
                expectWord("TO");
                relation.childColumn = parseName(QStringLiteral("una columna del hijo después de TO"));
                append.relations.push_back(relation);
                if (!peek().isPunct(','))
                    break;
                next();
            }
            expectPunct(')');
            append.name = parseOptionalAlias();
            if (append.name.isEmpty())
                append.name = child->alias;
            command.appends.push_back(std::move(append));
            if (!peek().isPunct(','))
                break;
            next();
        }
    }

    std::vector<Token> m_tokens;
    std::size_t m_pos = 0;
};

// ---- value comparison -------------------------------------------------------------------

bool isNumber(const QVariant &v)
{
    switch (v.metaType().id()) {
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::LongLong:
    case QMetaType::ULongLong:
    case QMetaType::Short:
    case QMetaType::UShort:
    case QMetaType::Long:
    case QMetaType::ULong:
    case QMetaType::Double:
    case QMetaType::Float:
        return true;
    default:
        return false;
    }
}

bool isInteger(const QVariant &v)
{
    const int id = v.metaType().id();
    return isNumber(v) && id != QMetaType::Double && id != QMetaType::Float;
}

QString numberText(double d)
{
    if (d == 0)
        return QStringLiteral("0");  // also -0
    if (std::floor(d) == d && std::fabs(d) < 9.0e18)
        return QString::number(static_cast<qlonglong>(d));
    return QString::number(d, 'g', QLocale::FloatingPointShortest);
}

// The text a value is compared by; a null QString stands for Null and nothing else.
QString keyText(const QVariant &v)
{
    if (!v.isValid() || v.isNull())
        return QString();
    QString text;
    switch (v.metaType().id()) {
    case QMetaType::QString:
        text = *static_cast<const QString *>(v.constData());
        break;
    case QMetaType::Bool:
        text = v.toBool() ? QStringLiteral("1") : QStringLiteral("0");
        break;
    case QMetaType::QDate:
        text = v.toDate().toString(Qt::ISODate);
        break;
    case QMetaType::QTime:
        text = v.toTime().toString(Qt::ISODateWithMs);
        break;
    case QMetaType::QDateTime:
        text = v.toDateTime().toString(Qt::ISODateWithMs);
        break;
    case QMetaType::LongLong:
    case QMetaType::Int:
        text = QString::number(v.toLongLong());
        break;
    default:
        if (isNumber(v))
            text = numberText(v.toDouble());
        else
            text = v.toString();
        break;
    }
    if (text.isNull())
        text = QString("");  // an empty value, not Null
    return text;
}

// Column values of one row, as compared in group keys and relations.
struct Key {
    std::vector<QString> parts;

    bool hasNull() const
    {
        for (const QString &p : parts) {
            if (p.isNull())
                return true;
        }
        return false;
    }
    bool operator==(const Key &other) const
    {
        for (std::size_t i = 0; i < parts.size(); ++i) {
            const QString &a = parts[i];
            const QString &b = other.parts[i];
            if (a.isNull() != b.isNull() || a != b)
                return false;
        }
        return true;
    }
};

struct KeyHash {
    std::size_t operator()(const Key &key) const
    {
        std::size_t h = 0x9e3779b9u;
        for (const QString &p : key.parts)
            h ^= (p.isNull() ? 0x51ed27u : qHash(p)) + 0x9e3779b9u + (h << 6) + (h >> 2);
        return h;
    }
};

void fillKey(Key &key, const Row &row, const std::vector<int> &columns)
{
    for (std::size_t i = 0; i < columns.size(); ++i)
        key.parts[i] = keyText(row.at(columns[i]));
}

// ---- aggregates -------------------------------------------------------------------------

double numericValue(const QVariant &v, const ShapeAggregate &aggregate)
{
    if (isNumber(v) || v.metaType().id() == QMetaType::Bool)
        return v.toDouble();
    bool ok = false;
    const double d = v.toString().trimmed().toDouble(&ok);
    if (!ok)
        fail(QStringLiteral("la columna '%1' tiene un valor que no es un número ('%2')").arg(aggregate.column, v.toString()));
    return d;
}

bool lessThan(const QVariant &a, const QVariant &b)
{
    if (isNumber(a) && isNumber(b))
        return a.toDouble() < b.toDouble();
    const QPartialOrdering order = QVariant::compare(a, b);
    if (order == QPartialOrdering::Less)
        return true;
    if (order == QPartialOrdering::Greater || order == QPartialOrdering::Equivalent)
        return false;
    return keyText(a) < keyText(b);
}

QVariant aggregateOver(const ShapeAggregate &aggregate, int column, const std::vector<ShapeRecordset::Record> &records)
{
    using F = ShapeAggregate::Function;
    if (aggregate.function == F::Count) {
        if (column < 0)
            return QVariant(static_cast<qlonglong>(records.size()));
        qlonglong count = 0;
        for (const auto &r : records) {
            if (!r.values.at(column).isNull())
                ++count;
        }
        return QVariant(count);
    }
    if (aggregate.function == F::Min || aggregate.function == F::Max) {
        QVariant best;
        for (const auto &r : records) {
            const QVariant &v = r.values.at(column);
            if (v.isNull())
                continue;
            if (best.isNull() || (aggregate.function == F::Min ? lessThan(v, best) : lessThan(best, v)))
                best = v;
        }
        return best.isNull() ? QVariant() : best;
    }
    // SUM and AVG ignore Nulls; with no value at all the result is Null.
    double sum = 0;
    qlonglong integerSum = 0;
    bool allIntegers = true;
    qlonglong count = 0;
    for (const auto &r : records) {
        const QVariant &v = r.values.at(column);
        if (v.isNull())
            continue;
        ++count;
        if (allIntegers && isInteger(v)) {
            integerSum += v.toLongLong();
        } else {
            if (allIntegers) {
                sum = static_cast<double>(integerSum);
                allIntegers = false;
            }
            sum += numericValue(v, aggregate);
        }
    }
    if (count == 0)
        return QVariant();
    if (aggregate.function == F::Avg)
        return QVariant((allIntegers ? static_cast<double>(integerSum) : sum) / static_cast<double>(count));
    return allIntegers ? QVariant(integerSum) : QVariant(sum);
}

}  // namespace

// ---- ShapeRecordset ---------------------------------------------------------------------

ShapeRecordset::ShapeRecordset(QString name, QStringList columns, QStringList chapters)
    : m_name(std::move(name)), m_columns(std::move(columns)), m_chapters(std::move(chapters))
{
    for (const QString &chapter : m_chapters) {
        int at = indexOfName(m_columns, chapter);
        if (at < 0) {
            m_columns << chapter;
            at = static_cast<int>(m_columns.size()) - 1;
        }
        m_chapterColumn.push_back(at);
    }
}

int ShapeRecordset::columnIndex(const QString &name) const
{
    return indexOfName(m_columns, name);
}

int ShapeRecordset::chapterIndex(const QString &name) const
{
    return indexOfName(m_chapters, name);
}

bool ShapeRecordset::isChapter(int column) const
{
    for (int c : m_chapterColumn) {
        if (c == column)
            return true;
    }
    return false;
}

static StoreError itemNotFound(const QString &name)
{
    return StoreError(StoreError::Kind::Store, kItemNotFoundNumber,
                      QStringLiteral("No se encontró el elemento '%1' en la colección.").arg(name));
}

QVariant ShapeRecordset::value(std::size_t row, const QString &column) const
{
    const int c = columnIndex(column);
    if (c < 0)
        throw itemNotFound(column);
    const Row &values = m_records.at(row).values;
    return c < values.size() ? values.at(c) : QVariant();
}

const ShapeRecordset &ShapeRecordset::child(std::size_t row, const QString &chapter) const
{
    const int c = chapterIndex(chapter);
    if (c < 0)
        throw itemNotFound(chapter);
    return *m_records.at(row).children.at(static_cast<std::size_t>(c));
}

void ShapeRecordset::append(Record record)
{
    record.values.resize(m_columns.size());
    record.children.resize(m_chapters.size());
    for (auto &child : record.children) {
        if (!child)
            child = std::make_shared<const ShapeRecordset>();
    }
    m_records.push_back(std::move(record));
}

// ---- executor ---------------------------------------------------------------------------

class ShapeExecutor {
public:
    explicit ShapeExecutor(const ShapeStatementRunner &runInner) : m_runInner(runInner) {}

    ShapeRecordset run(const ShapeCommand &command)
    {
        ShapeRecordset source;
        if (command.nested) {
            source = run(*command.nested);
        } else {
            if (!m_runInner)
                fail(QStringLiteral("no hay con qué ejecutar la sentencia interna"));
            source = fromResultSet(m_runInner(command.statement));
        }
        source.m_name = command.alias;
        switch (command.kind) {
        case ShapeCommand::Kind::Plain:
            return source;
        case ShapeCommand::Kind::Compute:
            return compute(command, std::move(source));
        case ShapeCommand::Kind::Append:
            return append(command, std::move(source));
        }
        return source;
    }

private:
    static ShapeRecordset fromResultSet(ResultSet result)
    {
        ShapeRecordset rs(QString(), result.columns);
        const auto width = result.columns.size();
        rs.m_records.reserve(result.rows.size());
        for (Row &row : result.rows) {
            if (row.size() != width)
                row.resize(width);
            rs.m_records.push_back({std::move(row), {}});
        }
        return rs;
    }

    static int requireColumn(const ShapeRecordset &rs, const QString &column, const QString &where)
    {
        const int c = rs.columnIndex(column);
        if (c < 0 || rs.isChapter(c))
            fail(QStringLiteral("la columna '%1' de %2 no está entre las columnas de '%3'").arg(column, where, rs.name()));
        return c;
    }

    ShapeRecordset compute(const ShapeCommand &command, ShapeRecordset source)
    {
        std::vector<int> byColumns;
        for (const QString &column : command.by)
            byColumns.push_back(requireColumn(source, column, QStringLiteral("BY")));
        std::vector<int> aggregateColumns;
        for (const ShapeAggregate &aggregate : command.aggregates) {
            aggregateColumns.push_back(aggregate.column.isEmpty()
                                           ? -1
                                           : requireColumn(source, aggregate.column, QStringLiteral("COMPUTE")));
        }

        // Which group each source row falls in; groups numbered in order of first occurrence.
        std::vector<int> groupOf(source.m_records.size());
        std::vector<std::size_t> firstRow;
        std::vector<std::size_t> groupSize;
        if (byColumns.empty()) {
            // No BY: one group over all rows, present even when there are none.
            firstRow.push_back(0);
            groupSize.push_back(source.m_records.size());
        } else {
            std::unordered_map<Key, int, KeyHash> groups;
            groups.reserve(64);
            Key probe;
            probe.parts.resize(byColumns.size());
            for (std::size_t r = 0; r < source.m_records.size(); ++r) {
                fillKey(probe, source.m_records[r].values, byColumns);
                auto it = groups.find(probe);
                if (it == groups.end()) {
                    const int g = static_cast<int>(firstRow.size());
                    groups.emplace(probe, g);
                    firstRow.push_back(r);
                    groupSize.push_back(0);
                    groupOf[r] = g;
                } else {
                    groupOf[r] = it->second;
                }
                ++groupSize[static_cast<std::size_t>(groupOf[r])];
            }
        }

        // The detail rows move into their group's chapter, in source order.
        std::vector<ShapeRecordset> details;
        details.reserve(firstRow.size());
        for (std::size_t g = 0; g < firstRow.size(); ++g) {
            ShapeRecordset detail(command.alias, source.m_columns, source.m_chapters);
            detail.m_records.reserve(groupSize[g]);
            details.push_back(std::move(detail));
        }
        std::vector<Row> groupValues(firstRow.size());
        for (std::size_t g = 0; g < firstRow.size() && !byColumns.empty(); ++g) {
            const Row &first = source.m_records[firstRow[g]].values;
            Row values;
            values.reserve(static_cast<qsizetype>(byColumns.size()));
            for (int c : byColumns)
                values << first.at(c);
            groupValues[g] = values;
        }
        for (std::size_t r = 0; r < source.m_records.size(); ++r) {
            const std::size_t g = byColumns.empty() ? 0 : static_cast<std::size_t>(groupOf[r]);
            details[g].m_records.push_back(std::move(source.m_records[r]));
        }

        QStringList columns = command.by;
        for (const ShapeAggregate &aggregate : command.aggregates)
            columns << aggregate.name;
        ShapeRecordset result(command.alias, columns, QStringList{command.computeChapter});
        result.m_records.reserve(firstRow.size());
        for (std::size_t g = 0; g < firstRow.size(); ++g) {
            ShapeRecordset::Record record;
            record.values = groupValues[g];
            for (std::size_t a = 0; a < command.aggregates.size(); ++a)
                record.values << aggregateOver(command.aggregates[a], aggregateColumns[a], details[g].m_records);
            record.values << QVariant();  // the chapter column
            record.children.push_back(std::make_shared<const ShapeRecordset>(std::move(details[g])));
            result.m_records.push_back(std::move(record));
        }
        return result;
    }

    ShapeRecordset append(const ShapeCommand &command, ShapeRecordset parent)
    {
        QStringList chapters = parent.m_chapters;
        for (const ShapeAppend &a : command.appends)
            chapters << a.name;
        ShapeRecordset result(command.alias, parent.m_columns, chapters);

        struct Prepared {
            ShapeRecordset child;
            std::vector<int> parentColumns;
            std::unordered_map<Key, std::vector<std::size_t>, KeyHash> index;
            ShapeChapter empty;
        };
        std::vector<Prepared> prepared;
        prepared.reserve(command.appends.size());
        for (const ShapeAppend &a : command.appends) {
            Prepared p;
            p.child = run(*a.child);
            p.child.m_name = a.name;
            std::vector<int> childColumns;
            for (const ShapeRelation &relation : a.relations) {
                p.parentColumns.push_back(requireColumn(parent, relation.parentColumn, QStringLiteral("RELATE")));
                childColumns.push_back(requireColumn(p.child, relation.childColumn, QStringLiteral("TO")));
            }
            Key key;
            key.parts.resize(childColumns.size());
            for (std::size_t r = 0; r < p.child.m_records.size(); ++r) {
                fillKey(key, p.child.m_records[r].values, childColumns);
                if (!key.hasNull())
                    p.index[key].push_back(r);
            }
            p.empty = std::make_shared<const ShapeRecordset>(a.name, p.child.m_columns, p.child.m_chapters);
            prepared.push_back(std::move(p));
        }

        result.m_records.reserve(parent.m_records.size());
        for (ShapeRecordset::Record &record : parent.m_records) {
            // A chapter column sits at the end of the row, where the constructor put it.
            record.values.resize(result.m_columns.size());
            for (Prepared &p : prepared) {
                Key key;
                key.parts.resize(p.parentColumns.size());
                fillKey(key, record.values, p.parentColumns);
                const auto it = key.hasNull() ? p.index.end() : p.index.find(key);
                if (it == p.index.end()) {
                    record.children.push_back(p.empty);
                    continue;
                }
                auto chapter = std::make_shared<ShapeRecordset>(p.child.m_name, p.child.m_columns, p.child.m_chapters);
                chapter->m_records.reserve(it->second.size());
                for (std::size_t r : it->second)
                    chapter->m_records.push_back(p.child.m_records[r]);
                record.children.push_back(std::move(chapter));
            }
            result.m_records.push_back(std::move(record));
        }
        return result;
    }

    const ShapeStatementRunner &m_runInner;
};

// ---- entry points -----------------------------------------------------------------------

bool isShapeStatement(const QString &text)
{
    const QString t = text.trimmed();
    return t.startsWith(QLatin1String("SHAPE"), Qt::CaseInsensitive)
           && (t.size() == 5 || !(t.at(5).isLetterOrNumber() || t.at(5) == QLatin1Char('_')));
}

ShapeCommand parseShape(const QString &text)
{
    return Parser(text).parseTop();
}

ShapeResult runShape(const ShapeCommand &command, const ShapeStatementRunner &runInner)
{
    return ShapeExecutor(runInner).run(command);
}

ShapeResult runShape(const QString &shapeText, const ShapeStatementRunner &runInner)
{
    return runShape(parseShape(shapeText), runInner);
}

ShapeResult runShapeTotals(const QString &shapeText, const ShapeStatementRunner &runInner, const QString &keyColumn)
{
    const ShapeCommand command = parseShape(shapeText);
    if (command.kind != ShapeCommand::Kind::Compute || command.nested || command.statement.isEmpty() ||
        command.by.isEmpty())
        return runShape(command, runInner);
    // Each row of the inner statement numbered in the order the statement gives it, so that
    // the groups keep the order of their first row, as the grouping in the client does.
    QStringList select = command.by;
    for (const ShapeAggregate &a : command.aggregates) {
        static const char *names[] = {"SUM", "COUNT", "MIN", "MAX", "AVG"};
        const QString argument = a.column.isEmpty() ? QStringLiteral("*") : a.column;
        select << QStringLiteral("%1(%2) AS tempalia_a%3")
                      .arg(QLatin1String(names[int(a.function)]), argument)
                      .arg(select.size());
    }
    const QString statement =
        keyColumn.isEmpty()
            ? QStringLiteral("SELECT %1 FROM (SELECT tempalia_src.*, ROW_NUMBER() OVER () AS tempalia_rn FROM (%2) "
                             "tempalia_src) tempalia_g GROUP BY %3 ORDER BY MIN(tempalia_rn)")
                  .arg(select.join(QStringLiteral(", ")), command.statement, command.by.join(QStringLiteral(", ")))
            : QStringLiteral("SELECT %1 FROM (%2) tempalia_g GROUP BY %3 ORDER BY MIN(%4)")
                  .arg(select.join(QStringLiteral(", ")), command.statement, command.by.join(QStringLiteral(", ")),
                       keyColumn);
    return shapeTotals(command, runInner(statement));
}

ShapeResult shapeTotals(const ShapeCommand &command, const ResultSet &groups)
{
    QStringList columns = command.by;
    for (const ShapeAggregate &aggregate : command.aggregates)
        columns << aggregate.name;
    ShapeRecordset result(command.alias, columns, QStringList{command.computeChapter});
    const auto empty = std::make_shared<const ShapeRecordset>(command.alias, QStringList());
    result.reserve(groups.rows.size());
    for (const Row &row : groups.rows) {
        ShapeRecordset::Record record;
        record.values = row;
        record.values.resize(columns.size());
        record.values << QVariant();  // the chapter column
        record.children.push_back(empty);
        result.append(std::move(record));
    }
    return result;
}

}  // namespace store
