#include "store/SqlTokenizer.h"

#include "store/StoreError.h"

namespace store {
namespace {

using Kind = SqlToken::Kind;
using Mode = SqlTokenizer::Mode;

bool isWordStart(QChar c)
{
    return c.isLetter() || c == QLatin1Char('_');
}

bool isWordChar(QChar c)
{
    return c.isLetterOrNumber() || c == QLatin1Char('_');
}

bool isDigit(QChar c)
{
    return c >= QLatin1Char('0') && c <= QLatin1Char('9');
}

class Lexer {
public:
    Lexer(const QString &text, Mode mode) : s(text), n(int(text.size())), m_mode(mode) {}

    std::vector<SqlToken> all()
    {
        std::vector<SqlToken> tokens;
        int i = 0;
        while (i < n) {
            SqlToken t = at(i, m_mode);
            i += int(t.raw.size());
            tokens.push_back(std::move(t));
        }
        return tokens;
    }

private:
    [[noreturn]] void fail(const QString &what, int position) const
    {
        if (m_mode == Mode::Shape)
            throw StoreError(StoreError::Kind::Store, 3001,
                             QStringLiteral("Sentencia SHAPE no válida: %1 (posición %2).").arg(what).arg(position + 1));
        throw StoreError(StoreError::Kind::Store, 3000,
                         QStringLiteral("Sentencia no válida: %1 (posición %2).").arg(what).arg(position + 1));
    }

    QString opening(int start) const { return s.mid(start, 20); }

    // Index just past the closing `close` of a literal or name, where a doubled `close`
    // stands for one; the text between goes to `value`. -1 when it is not closed.
    int scanQuoted(int start, QChar close, QString &value) const
    {
        int i = start + 1;
        while (i < n) {
            if (s[i] == close) {
                if (i + 1 < n && s[i + 1] == close) {
                    value += close;
                    i += 2;
                    continue;
                }
                return i + 1;
            }
            value += s[i];
            ++i;
        }
        return -1;
    }

    // The token that starts at `start`.
    SqlToken at(int start, Mode mode) const
    {
        const QChar c = s[start];
        int i = start;
        QString value;
        Kind kind;

        if (c.isSpace()) {
            while (i < n && s[i].isSpace())
                ++i;
            kind = Kind::Space;
        } else if (c == QLatin1Char('\'')) {
            i = scanQuoted(start, c, value);
            if (i < 0)
                fail(QStringLiteral("falta el apóstrofo que cierra el texto que empieza con %1").arg(opening(start)),
                     start);
            kind = Kind::String;
        } else if (c == QLatin1Char('"')) {
            i = scanQuoted(start, c, value);
            if (i < 0)
                fail(QStringLiteral("faltan las comillas que cierran el nombre que empieza con %1").arg(opening(start)),
                     start);
            kind = Kind::QuotedName;
        } else if (c == QLatin1Char('[')) {
            i = scanQuoted(start, QLatin1Char(']'), value);
            if (i < 0)
                fail(QStringLiteral("falta el corchete que cierra el nombre que empieza con %1").arg(opening(start)),
                     start);
            kind = Kind::BracketName;
        } else if (c == QLatin1Char('#')) {
            const int close = int(s.indexOf(QLatin1Char('#'), start + 1));
            if (close < 0)
                fail(QStringLiteral("falta el signo # que cierra la fecha que empieza con %1").arg(opening(start)),
                     start);
            value = s.mid(start + 1, close - start - 1);
            i = close + 1;
            kind = Kind::Date;
        } else if (c == QLatin1Char('{') && mode == Mode::Shape) {
            i = braceEnd(start);
            value = s.mid(start + 1, i - start - 2).trimmed();
            kind = Kind::Braced;
        } else if (isDigit(c) || (c == QLatin1Char('.') && i + 1 < n && isDigit(s[i + 1]))) {
            while (i < n && isDigit(s[i]))
                ++i;
            if (i < n && s[i] == QLatin1Char('.')) {
                ++i;
                while (i < n && isDigit(s[i]))
                    ++i;
            }
            // An exponent only when digits follow it: "1e" stays a number and a name.
            if (i < n && (s[i] == QLatin1Char('e') || s[i] == QLatin1Char('E'))) {
                int j = i + 1;
                if (j < n && (s[j] == QLatin1Char('+') || s[j] == QLatin1Char('-')))
                    ++j;
                if (j < n && isDigit(s[j])) {
                    i = j;
                    while (i < n && isDigit(s[i]))
                        ++i;
                }
            }
            kind = Kind::Number;
        } else if (isWordStart(c)) {
            while (i < n && isWordChar(s[i]))
                ++i;
            kind = Kind::Word;
        } else {
            static const char *const pairs[] = {"<=", ">=", "<>", "!=", "||", "::"};
            i = start + 1;
            if (i < n) {
                const QStringView two = QStringView(s).mid(start, 2);
                for (const char *p : pairs)
                    if (two == QLatin1String(p)) {
                        i = start + 2;
                        break;
                    }
            }
            kind = Kind::Symbol;
        }
        return SqlToken{kind, s.mid(start, i - start), value, start};
    }

    // Index just past the brace that closes the one at `open`: the statement between is read
    // token by token, so a brace inside its literals and names does not count.
    int braceEnd(int open) const
    {
        int depth = 1;
        int i = open + 1;
        while (i < n) {
            const SqlToken t = at(i, Mode::Statement);
            i += int(t.raw.size());
            if (t.isSymbol(u"{"))
                ++depth;
            else if (t.isSymbol(u"}") && --depth == 0)
                return i;
        }
        fail(QStringLiteral("falta la llave que cierra la sentencia que empieza con %1").arg(opening(open)), open);
    }

    const QString &s;
    const int n;
    const Mode m_mode;
};

}  // namespace

std::vector<SqlToken> SqlTokenizer::tokenize(const QString &statement, Mode mode)
{
    return Lexer(statement, mode).all();
}

std::vector<SqlToken> SqlTokenizer::significant(const QString &statement, Mode mode)
{
    std::vector<SqlToken> tokens = tokenize(statement, mode);
    std::erase_if(tokens, [](const SqlToken &t) { return t.isSpace(); });
    return tokens;
}

}  // namespace store
