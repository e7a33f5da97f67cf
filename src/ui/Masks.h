#pragma once

#include <QDate>
#include <QString>
#include <QTime>
#include <QVariant>

// Display masks of the controls and grids, under the Spanish settings the program runs
// with: a comma is the decimal sign, dates are day first, month abbreviations are the
// Spanish ones in lower case without a dot ("4-nov-01").
//
// Masks are written in the system's notation:
//   "0,00", "0,0000"      numbers with that many decimals (",": decimal sign)
//   "H:mm", "HH:mm"       times; H is the hour without a leading zero, HH with one
//   "d-MMM-yy", "d-MMM-yyyy", "dd-MMM-yyyy", "dd/MM/yy", "d/MM/yy", "d-M-yy"
//                         dates; d/dd day, M/MM month number, MMM month abbreviation,
//                         MMMM month name, yy/yyyy year
// An empty mask shows a value the way a grid column without a mask does.
namespace ui {

enum class MaskKind { None, Number, Time, Date };

MaskKind maskKind(const QString &mask);
// Number of decimals of a number mask ("0,00" -> 2); 0 for other masks.
int maskDecimals(const QString &mask);

// The text a control with `mask` shows for `value`. A null value shows blank. A value
// that does not fit the mask (text in a number field) is shown as it is.
QString formatValue(const QVariant &value, const QString &mask);

// Reads what the user typed in a field with `mask`. Blank text is a null QVariant and
// counts as fine (the field is simply empty). Numbers come back as double, times as
// QTime, dates as QDate; with an empty mask the trimmed text comes back as it is.
// Numbers take a comma or a dot as decimal sign ("1,5", "1.5", "1.234,5"); times take
// "8:30", "08:30", "8.30", "830" and "8"; dates are read day first, with the month as a
// number or a Spanish name or abbreviation, and the year of two or four digits or none
// (the current year). On bad text *ok is false and the result is null.
QVariant parseValue(const QString &text, const QString &mask, bool *ok = nullptr);

// The pieces the two functions above are made of.
QString formatNumber(double value, int decimals);
QString formatDate(const QDate &date, const QString &mask);
QString formatTime(const QTime &time, const QString &mask);
QDate parseDate(const QString &text, bool *ok = nullptr);
QTime parseTime(const QString &text, bool *ok = nullptr);
double parseNumber(const QString &text, bool *ok = nullptr);

// "ene", "feb", ... "dic" for 1..12; empty otherwise.
QString monthAbbreviation(int month);
// A two-digit year as the Spanish settings read it: 00-29 are 2000-2029, 30-99 are
// 1930-1999.
int expandTwoDigitYear(int year);
// How a yes/no column reads in a grid: "Si" or "No".
QString yesNoText(bool value);

// A valid date written in `mask`, to show the user how to type one: today's.
QString exampleDate(const QString &mask);

// Why `text` was refused by parseValue for `mask`, as a sentence for a message box.
QString badValueMessage(const QString &text, const QString &mask);

}  // namespace ui
