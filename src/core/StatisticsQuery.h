#pragma once

#include "store/Shape.h"

#include <QDate>
#include <QString>

namespace store {
class Connection;
}

namespace core {

// The statistics of the archived hours: a SHAPE statement that sums HorHoras by area,
// activity, destination and type of hour, narrowed by at most one condition, and the column
// by which a chart makes its rows.
class StatisticsQuery {
public:
    enum class Filter { None, Teaching, NonTeaching, Period, Area, Staff };
    enum class Grouping { Activity, Area, Destination, Type };

    // The statement for a filter. `from` and `to` bound Period (both included); `value` is
    // the area's AreId for Area and the person's FunCedula for Staff, put in as text
    // (untrimmed; an apostrophe is doubled so that it cannot end the text).
    static QString statement(Filter filter = Filter::None, const QDate &from = {}, const QDate &to = {},
                             const QString &value = {});
    // The column that makes a chart's rows for a grouping ("ActDescripcion"...).
    static QString column(Grouping grouping);

    // The group totals of a statement (any grouping SHAPE) read whole on `conn`: one record
    // per group with the BY columns and the sums, in the order in which each group's first
    // hour record was stored (the least HorId). The chapters of detail rows come back empty.
    static store::ShapeResult totals(const QString &statement, store::Connection &conn);
};

}  // namespace core
