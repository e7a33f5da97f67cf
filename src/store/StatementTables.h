#pragma once

#include <QString>
#include <QVector>

namespace store {

// The tables a SELECT reads, as written after its top-level FROM, and the alias whose star
// it selects (`CM.*`), if any. Enough for a data control to know where its rows are written.
struct StatementTables {
    struct Table {
        QString name;
        QString alias;
    };
    QVector<Table> tables;
    QString starAlias;

    static StatementTables of(const QString &statement);
    // The table a data control over this statement writes to; empty if none.
    QString writeTable() const;
};

}  // namespace store
