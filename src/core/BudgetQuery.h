#pragma once

#include "store/ResultSet.h"

#include <QDate>
#include <QString>
#include <QVariant>
#include <optional>

namespace store {
class Connection;
}

namespace core {

// The budget: hours and money paid, one row per currency, type of hour, destination and
// activity (hours, amount, currency, type, destination, activity, in that order), over the
// hour records of a period. The amount of a record is its hourly value times its hours times
// its type's factor, worked out by the store.
struct BudgetQuery {
    enum class Period {
        CurrentMonth,  // all that stands in HORAS, whatever its date
        CurrentYear,   // the archive, this year
        Range,         // the archive, from `from` to `to`, both included
    };
    enum class Activities { All, Teaching, NonTeaching };
    // Where the area's condition stands among the others: the chief's query names it right
    // after the period, the super user's at the end.
    enum class AreaPlace { AfterPeriod, Last };

    Period period = Period::CurrentMonth;
    QDate from;
    QDate to;
    Activities activities = Activities::All;
    std::optional<QString> area;  // none: all areas
    AreaPlace areaPlace = AreaPlace::Last;

    QString statement() const;
    // The rows of the statement on `conn`; the result is small, a connection that reads
    // results whole (Connection::Reading::Whole) suits it best.
    store::ResultSet run(store::Connection &conn) const;
};

// The amounts of a budget's rows summed per currency: "Dolares" (spelt exactly so) are
// dollars, any other currency counts as pesos. A Null amount adds nothing.
struct BudgetTotals {
    double pesos = 0;
    double dolares = 0;

    static constexpr int kAmountColumn = 1;
    static constexpr int kCurrencyColumn = 2;

    void add(const QVariant &amount, const QVariant &currency);
    static BudgetTotals of(const store::ResultSet &rows);
};

}  // namespace core
