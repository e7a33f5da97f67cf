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
        BracketName,  // [any name]; value holds the name without the brackets
        QuotedName,   // "name", a standard quoted name; value holds it unquoted
        String,       // 'text' with '' standing for an apostrophe; value holds the text
        Date,         // #mm-d-yy#; value holds what stands between the # signs
        Number,       // 12, 1.5, .5, 1e3
        Symbol,       // ( ) , . * + - / = < > <= >= <> != || and any other single character
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
    // A Word, BracketName or QuotedName: something that can name a table or column.
    bool isName() const
    {
        return kind == Kind::Word || kind == Kind::BracketName || kind == Kind::QuotedName;
    }
    // The name as the store compares it: the bracketed or quoted name without its quotes.
    QString name() const { return kind == Kind::Word ? raw : value; }
};

class SqlTokenizer {
public:
    // Splits a statement into tokens; joining the raw texts gives the statement back.
    // Throws StoreError (Kind::Store, 3000) for a literal, name or date that is not closed.
    static std::vector<SqlToken> tokenize(const QString &statement);
};

}  // namespace store
