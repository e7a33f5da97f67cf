#pragma once

#include <QDate>
#include <QString>
#include <QVariant>

namespace store {

// The one way a typed value enters a statement. Windows build their statements in the
// system's dialect by joining literals and values; every value goes through here, so no
// value can change the statement's shape.
namespace sql {

// 'text' with apostrophes doubled (the quotes are included).
QString text(const QString &value);
// A bare number with '.' as decimal sign; accepts "1,5" and "1.5". Throws StoreError
// (BadValue) when the text is not a number, so nothing malformed reaches the statement.
QString number(const QString &value);
QString number(double value);
QString number(qlonglong value);
// #mm-d-yy# (month with two digits, day without leading zero, two-digit year). Years
// outside 1930..2029 would not survive the two-digit form, so they are written with four
// digits (#mm-d-yyyy#), which the dialect reads as well.
QString date(const QDate &value);

}  // namespace sql
}  // namespace store
