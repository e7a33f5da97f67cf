#include "store/SqlTokenizer.h"

#include "store/StoreError.h"

namespace store {
namespace {

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

[[noreturn]] void fail(const QString &what, int position)
{
    throw StoreError(StoreError::Kind::Store, 3000,
                     QStringLiteral("Sentencia no válida: %1 (posición %2).").arg(what).arg(position + 1));
}

// Index just past the closing quote of a literal quoted with `quote`, where a doubled quote
// stands for one; the unquoted text goes to `value`. -1 when the literal is not closed.
int scanQuoted(const QString &s, int start, QChar quote, QString &value)
{
    int i = start + 1;
    while (i < s.size()) {
        if (s[i] == quote) {
            if (i + 1 < s.size() && s[i + 1] == quote) {
                value += quote;
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

}  // namespace

std::vector<SqlToken> SqlTokenizer::tokenize(const QString &s)
{
    using Kind = SqlToken::Kind;
    std::vector<SqlToken> tokens;
    const int n = int(s.size());
    int i = 0;
    while (i < n) {
        const QChar c = s[i];
        const int start = i;
        QString value;
        Kind kind;

        if (c.isSpace()) {
            while (i < n && s[i].isSpace())
                ++i;
            kind = Kind::Space;
        } else if (c == QLatin1Char('\'')) {
            i = scanQuoted(s, start, c, value);
            if (i < 0)
                fail(QStringLiteral("falta el apóstrofo que cierra el texto que empieza con %1")
                         .arg(s.mid(start, 20)),
                     start);
            kind = Kind::String;
        } else if (c == QLatin1Char('"')) {
            i = scanQuoted(s, start, c, value);
            if (i < 0)
                fail(QStringLiteral("faltan las comillas que cierran el nombre que empieza con %1")
                         .arg(s.mid(start, 20)),
                     start);
            kind = Kind::QuotedName;
        } else if (c == QLatin1Char('[')) {
            const int close = int(s.indexOf(QLatin1Char(']'), start + 1));
            if (close < 0)
                fail(QStringLiteral("falta el corchete que cierra el nombre que empieza con %1")
                         .arg(s.mid(start, 20)),
                     start);
            value = s.mid(start + 1, close - start - 1);
            i = close + 1;
            kind = Kind::BracketName;
        } else if (c == QLatin1Char('#')) {
            const int close = int(s.indexOf(QLatin1Char('#'), start + 1));
            if (close < 0)
                fail(QStringLiteral("falta el signo # que cierra la fecha que empieza con %1")
                         .arg(s.mid(start, 20)),
                     start);
            value = s.mid(start + 1, close - start - 1);
            i = close + 1;
            kind = Kind::Date;
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

        tokens.push_back(SqlToken{kind, s.mid(start, i - start), value, start});
    }
    return tokens;
}

}  // namespace store
