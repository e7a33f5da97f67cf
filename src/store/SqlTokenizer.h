#pragma once

#include <QString>
#include <QStringView>
#include <vector>

namespace store {

// One lexical piece of a statement written in the system's dialect.
struct SqlToken {
    enum class Kind {
        Space,        // blanks and line ends, kept so that a translation keeps the layout
        Word,         // a name or keyword: a letter or '_' followed by letters, digits, '_'
        BracketName,  // [any name], ]] standing for ]; value holds the name without the brackets
        QuotedName,   // "name", "" standing for "; value holds it unquoted
        String,       // 'text' with '' standing for an apostrophe; value holds the text
        Date,         // #mm-d-yy#; value holds what stands between the # signs
        Number,       // 12, 1.5, .5, 1e3
        Symbol,       // ( ) , . * + - / = < > <= >= <> != || :: and any other single character
        Braced,       // SHAPE commands only: {statement} up to its matching brace; value holds
                      // the statement between the braces, trimmed
    };

    Kind kind;
    QString raw;    // exactly as written in the statement
    QString value;  // see Kind
    int position;   // offset of the first character in the statement

    bool isWord(QStringView word) const  // case-insensitive
    {
        return kind == Kind::Word && raw.compare(word, Qt::CaseInsensitive) == 0;
    }
    bool isSymbol(QStringView symbol) const { return kind == Kind::Symbol && raw == symbol; }
    bool isSpace() const { return kind == Kind::Space; }
    // A Word, BracketName or QuotedName: something that can name a table or column.
    bool isName() const
    {
        return kind == Kind::Word || kind == Kind::BracketName || kind == Kind::QuotedName;
    }
    // The name as the store compares it: the bracketed or quoted name without its quotes.
    QString name() const { return kind == Kind::Word ? raw : value; }
};

// The one lexer of the system's statements: the dialect translator, the SHAPE parser, the
// finder of a statement's tables and the data control's test for a grouped statement all
// read statements through it, so that a keyword inside a literal or a quoted name is
// never taken for structure anywhere.
class SqlTokenizer {
public:
    enum class Mode {
        Statement,  // a statement of the dialect; { and } are symbols
        Shape,      // a SHAPE command: each {statement} is one Braced token, read with the
                    // statement rules so that braces inside its literals and names don't end it
    };

    // Splits a statement into tokens; joining the raw texts gives the statement back.
    // Throws StoreError for a literal, name, date or (SHAPE) brace that is not closed:
    // Kind::Store, 3000 "Sentencia no válida: ..." for a statement, 3001 "Sentencia SHAPE
    // no válida: ..." for a SHAPE command.
    static std::vector<SqlToken> tokenize(const QString &statement, Mode mode = Mode::Statement);

    // The tokens without the blanks.
    static std::vector<SqlToken> significant(const QString &statement, Mode mode = Mode::Statement);
};

}  // namespace store
