#pragma once

#include "store/Backend.h"

#include <QString>

namespace store {

// The windows write every statement in the system's own dialect: comma joins, #mm-d-yy#
// dates, '+' joining text, yes/no columns standing as conditions by themselves, Trim(),
// Date(), YEAR(), "DELETE * FROM", [bracketed names], and computed columns without a name
// that the grids know as Expr1000, Expr1001, ... This class turns such a statement into
// the SQL of one backend. It works on tokens, so the contents of text literals are never
// touched.
//
// What it does, for both backends unless said:
// - #mm-d-yy# (also #m-d-yyyy#, '/' as separator) becomes an ISO date literal: SQLite
//   '2001-11-04' (dates are stored as ISO text), PostgreSQL DATE '2001-11-04'. Two-digit
//   years 00-29 are 20xx, 30-99 are 19xx.
// - '+' becomes '||' in a chain of operands that holds text: a text literal, a text
//   function (Trim ...), a text column of the schema, or a parenthesised text expression.
// - Date() is today (SQLite date('now','localtime'), PostgreSQL CURRENT_DATE); YEAR(x),
//   MONTH(x), DAY(x) give whole numbers; Trim/LTrim/RTrim/UCase/LCase/Len map to the
//   standard functions.
// - "DELETE * FROM" and "DELETE T.* FROM" lose the star.
// - [name] becomes a bare name when it is a plain identifier, otherwise a "quoted" one.
// - A yes/no column compared with a number or True/False (X = -1, X <> 0, X = True)
//   compares with the backend's own true/false. Bare conditions pass as they are.
// - Every SELECT list (subqueries too) gets "AS Expr<1000 + n>" on each computed column
//   without a name, n being the number of entries before it, a bare * not counted.
//
// Names are emitted unquoted, so both backends compare them without regard to case.
// Translating a translated statement again changes nothing.
class Dialect {
public:
    // Throws StoreError (Kind::Store, 3000) for a statement that cannot be read: a text,
    // name or date that is not closed, a date that does not exist, unbalanced parentheses.
    static QString translate(const QString &statement, Backend backend);
};

}  // namespace store
