#pragma once

#include "store/SchemaInfo.h"

#include <QString>
#include <QVector>
#include <memory>
#include <optional>
#include <vector>

namespace store {

struct SqlToken;

// What a statement's top level says of where its rows come from: the tables after FROM (or
// UPDATE, INSERT INTO) with their aliases, the alias whose star a SELECT selects (`CM.*`),
// if any, and whether it groups its rows. Enough for a data control to know where its rows
// are written and whether the store works them out whole. Read through the one lexer, so
// that a keyword inside a literal or a quoted name never counts.
struct StatementTables {
    struct Table {
        QString name;   // as the store compares it: without brackets or quotes; for a
                        // subquery, the name given to it
        QString alias;  // empty when the statement gives none
        std::shared_ptr<const StatementTables> subquery;  // FROM (SELECT ...) name

        // The kind of one of its columns, if it is a catalogue table's (or a subquery's
        // column that comes from one).
        std::optional<ColumnKind> kindOf(const QString &column) const;
    };
    // One entry of a SELECT's column list: a column of a table ("H.HORHORAS", "FUNCEDULA",
    // "H.*", "*", with or without a name given by AS), or something computed.
    struct Selected {
        QString qualifier;  // the alias or table before the dot; empty for none
        QString column;     // the column, or "*"; empty for a computed entry
        QString name;       // the name given by AS (or after the entry), empty for none
    };
    QVector<Table> tables;
    QVector<Selected> selected;  // of the top-level SELECT
    QString starAlias;
    bool grouped = false;  // a GROUP BY at the top level

    // A statement that cannot be read (a literal not closed) has no tables; running it
    // reports what is wrong.
    static StatementTables of(const QString &statement);
    // The same from a statement's significant tokens (no blanks).
    static StatementTables of(const std::vector<SqlToken> &tokens);
    // The table a data control over this statement writes to; empty if none.
    QString writeTable() const;
    // The table that the name stands for in this statement: the table of that alias, the
    // table of that name, or empty.
    QString tableOf(const QString &aliasOrName) const;
    const Table *table(const QString &aliasOrName) const;  // nullptr if none
    // The kind of a column as the statement names it: in the table a qualifier names, or
    // with no qualifier in the first of the tables that has such a column.
    std::optional<ColumnKind> columnKindOf(const QString &qualifier, const QString &column) const;
    // The kind of a result column, when the column it comes from is one of the catalogue's:
    // the name is looked up among the columns the SELECT lists, then among the columns its
    // stars stand for. A computed column has no kind, whatever name it was given.
    std::optional<ColumnKind> resultKind(const QString &resultColumn) const;
};

}  // namespace store
