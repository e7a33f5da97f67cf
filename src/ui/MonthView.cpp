#include "ui/MonthView.h"

#include <QAbstractItemView>
#include <QEvent>
#include <QMouseEvent>
#include <QTableView>

namespace ui {

QLocale spanishLocale()
{
    return QLocale(QLocale::Spanish, QLocale::Uruguay);
}

namespace {

void setUpSpanish(QCalendarWidget *calendar)
{
    calendar->setLocale(spanishLocale());
    calendar->setFirstDayOfWeek(Qt::Monday);
    calendar->setVerticalHeaderFormat(QCalendarWidget::NoVerticalHeader);
    calendar->setGridVisible(false);
}

}  // namespace

MonthView::MonthView(QWidget *parent) : QCalendarWidget(parent)
{
    setUpSpanish(this);
}

int MonthView::weekOfYear(const QDate &date, Qt::DayOfWeek firstDay)
{
    if (!date.isValid())
        return 0;
    const QDate first(date.year(), 1, 1);
    // Days of week 1 that still belong to the year before.
    const int lead = (first.dayOfWeek() - int(firstDay) + 7) % 7;
    return (date.dayOfYear() - 1 + lead) / 7 + 1;
}

void MonthView::setValue(const QDate &date)
{
    if (date.isValid())
        setSelectedDate(date);
}

QDate MonthView::value() const
{
    return selectedDate();
}

int MonthView::week() const
{
    return weekOfYear(selectedDate(), firstDayOfWeek());
}

Calendar::Calendar(QWidget *parent) : QCalendarWidget(parent)
{
    setUpSpanish(this);
    // The grid of days is a table view inside the calendar; a double click reaches its
    // viewport.
    if (auto *view = findChild<QTableView *>(QStringLiteral("qt_calendar_calendarview"))) {
        m_days = view->viewport();
        m_days->installEventFilter(this);
    }
}

void Calendar::setValue(const QDate &date)
{
    if (date.isValid())
        setSelectedDate(date);
}

QDate Calendar::value() const
{
    return selectedDate();
}

bool Calendar::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == m_days && event->type() == QEvent::MouseButtonDblClick) {
        const auto *mouse = static_cast<QMouseEvent *>(event);
        if (mouse->button() == Qt::LeftButton && isEnabled())
            emit doubleClicked(selectedDate());
    }
    return QCalendarWidget::eventFilter(watched, event);
}

}  // namespace ui
