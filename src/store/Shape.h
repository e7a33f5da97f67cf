#pragma once

// Data shaping in the client: the two SHAPE forms the program writes, parsed and run here
// over plain statements.
//
//   grouping:  SHAPE {<statement>} AS Detalle
//                COMPUTE Detalle, SUM(Detalle.[HorHoras]) AS [HorHoras] BY [AreDescripcion], ...
//   nesting:   SHAPE {<statement>} AS Padre
//                APPEND ((SHAPE {...} AS Hijo COMPUTE ... BY ...) AS Grupos
//                        RELATE 'FunCedula' TO 'FUNCEDULA') AS Grupos
//
// Names may be bare, between [ ] or between ' '; AS before an alias may be left out;
// keywords and names are read without regard to case. An APPEND may hold several chapters
// and a RELATE several pairs of columns. Aggregates: SUM, COUNT, MIN, MAX, AVG. SUM, AVG,
// MIN and MAX skip Nulls and give Null for a group without any value; COUNT(chapter) counts
// rows, COUNT(chapter.column) the values that are not Null. SUM stays an integer while
// every value is one. A COMPUTE without BY gives one row over all the rows, even none.
//
// What comes out is a ShapeRecordset: columns, rows and, for each chapter column, a child
// recordset per row. Inner statements (between { }) are handed as they are to a callback
// that runs one statement in the system's dialect and returns all its rows.
//
// Result columns: a grouping gives the BY columns (named as the command spells them), then
// the aggregates, then the chapter; a nesting gives the parent's columns, then one chapter
// per APPEND. Column names are found without regard to case.
//
// Comparing values (group keys and RELATE columns):
//   * text is compared exactly: case and trailing blanks count ("Docencia" and "DOCENCIA"
//     are two groups; the chart window merges labels without regard to case by itself);
//   * numbers are compared by value, whatever their type (1 and 1.0 match);
//     dates and times by value;
//   * in a grouping all Nulls form one group, distinct from the empty text;
//   * in a RELATE a Null matches nothing, so a parent row with a Null key has no children.
// Groups come in the order in which their key first occurs among the source rows; the rows
// inside a group, and the children of a parent row, keep the order of the source.

#include "store/ResultSet.h"

#include <QString>
#include <QStringList>
#include <QVariant>
#include <functional>
#include <memory>
#include <vector>

namespace store {

class ShapeRecordset;
using ShapeChapter = std::shared_ptr<const ShapeRecordset>;

// A read-only hierarchical result. A chapter column holds no value of its own (value() gives
// an invalid QVariant for it); child() gives its recordset for a row.
class ShapeRecordset {
public:
    struct Record {
        Row values;                     // one per column; invalid for chapter columns
        std::vector<ShapeChapter> children;  // one per chapter, in the order of chapters()
    };

    ShapeRecordset() = default;
    ShapeRecordset(QString name, QStringList columns, QStringList chapters = {});

    // The alias the command gave this level ("Funcionarios", "MesActual_Grouping", ...).
    const QString &name() const { return m_name; }
    // Every field in order, chapter columns included.
    const QStringList &columns() const { return m_columns; }
    // The names of the chapter columns, in the order of Record::children.
    const QStringList &chapters() const { return m_chapters; }

    std::size_t size() const { return m_records.size(); }
    bool isEmpty() const { return m_records.empty(); }
    const std::vector<Record> &records() const { return m_records; }
    const Record &record(std::size_t row) const { return m_records.at(row); }

    // Case-insensitive; -1 if absent.
    int columnIndex(const QString &name) const;
    int chapterIndex(const QString &name) const;
    bool isChapter(int column) const;

    // Throw StoreError 3265 for a name that is not a column (or not a chapter); a row past
    // the end is a programming error (std::out_of_range).
    QVariant value(std::size_t row, const QString &column) const;
    const ShapeRecordset &child(std::size_t row, const QString &chapter) const;

    // Building (used by the executor; handy for tests and for hand-made results).
    void append(Record record);
    void reserve(std::size_t rows) { m_records.reserve(rows); }

private:
    friend class ShapeExecutor;
    QString m_name;
    QStringList m_columns;
    QStringList m_chapters;
    std::vector<int> m_chapterColumn;  // position in m_columns of each chapter
    std::vector<Record> m_records;
};

using ShapeResult = ShapeRecordset;

// ---- the parsed form -------------------------------------------------------------------

struct ShapeCommand;

struct ShapeAggregate {
    enum class Function { Sum, Count, Min, Max, Avg };
    Function function = Function::Sum;
    QString chapter;  // the chapter named in the argument; empty when the argument is bare
    QString column;   // empty for COUNT(<chapter>): the number of rows
    QString name;     // the alias, or the default name (see parseShape)
};

struct ShapeRelation {
    QString parentColumn;
    QString childColumn;
};

struct ShapeAppend {
    std::shared_ptr<ShapeCommand> child;  // its source and alias
    std::vector<ShapeRelation> relations;
    QString name;                         // the chapter column in the parent
};

struct ShapeCommand {
    enum class Kind { Plain, Compute, Append };
    Kind kind = Kind::Plain;

    // The source: an inner statement, or a SHAPE command between parentheses.
    QString statement;
    std::shared_ptr<ShapeCommand> nested;
    QString alias;

    // COMPUTE <chapter>, aggregates... BY columns
    QString computeChapter;
    std::vector<ShapeAggregate> aggregates;
    QStringList by;

    // APPEND (...), (...)
    std::vector<ShapeAppend> appends;
};

// True if the text is a SHAPE command (its first word is SHAPE).
bool isShapeStatement(const QString &text);

// Throws StoreError (Store, 3001, "Sentencia SHAPE no válida: ...") on malformed text.
// An aggregate without AS is named after its function and column, as "SUM(HorHoras)";
// a source without alias is named "Command1" (an APPEND chapter without alias likewise
// takes its child's alias).
ShapeCommand parseShape(const QString &text);

using ShapeStatementRunner = std::function<ResultSet(const QString &statement)>;

// Parses and runs a SHAPE command; each inner statement goes through runInner once.
// Errors of runInner pass through unchanged; parse errors and names the rows don't have
// throw StoreError 3001.
ShapeResult runShape(const QString &shapeText, const ShapeStatementRunner &runInner);

// The groups of a grouping command and their aggregates only, worked out by the store in one
// statement (GROUP BY, groups in order of first occurrence): for callers that never open the
// chapter of detail rows, such as the chart window over the whole archive. The chapters come
// back empty. Any other form of command runs as runShape does.
// `keyColumn`, a column of the inner statement that numbers its rows in the order the store
// gives them (a table's key read in key order), spares numbering a million rows: the groups
// then come in the order of their least key. Without it each row is numbered as it comes.
ShapeResult runShapeTotals(const QString &shapeText, const ShapeStatementRunner &runInner,
                           const QString &keyColumn = {});
ShapeResult runShape(const ShapeCommand &command, const ShapeStatementRunner &runInner);

// The recordset of a grouping command from rows that hold, in this order, its BY columns and
// its aggregates, one row per group: for a caller that worked the groups out by a statement
// of its own. The chapters come back empty.
ShapeResult shapeTotals(const ShapeCommand &command, const ResultSet &groups);

}  // namespace store
