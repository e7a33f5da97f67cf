#pragma once

#include <QString>
#include <QVector>

namespace store {

// What a statement's top level says of where its rows come from: the tables after FROM (or
// UPDATE, INSERT INTO) with their aliases, the alias whose star a SELECT selects (`CM.*`),
// if any, and whether it groups its rows. Enough for a data control to know where its rows
// are written and whether the store works them out whole. Read through the one lexer, so
// that a keyword inside a literal or a quoted name never counts.
struct StatementTables {
    struct Table {
        QString name;   // as the store compares it: without brackets or quotes
        QString alias;  // empty when the statement gives none
    };
    QVector<Table> tables;
    QString starAlias;
    bool grouped = false;  // a GROUP BY at the top level

    // A statement that cannot be read (a literal not closed) has no tables; running it
    // reports what is wrong.
    static StatementTables of(const QString &statement);
    // The table a data control over this statement writes to; empty if none.
    QString writeTable() const;
    // The table that the name stands for in this statement: the table of that alias, the
    // table of that name, or empty.
    QString tableOf(const QString &aliasOrName) const;
};

}  // namespace store
