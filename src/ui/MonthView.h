#pragma once

#include <QCalendarWidget>
#include <QDate>
#include <QLocale>

namespace ui {

// The Spanish settings the calendars run under: Spanish names, weeks from Monday.
QLocale spanishLocale();

// The month view whose week number the hours windows read. Weeks are counted from the
// one that holds 1 January (week 1), each starting on `firstDay`; the last days of a year
// can be in week 53, or 54 in a leap year that starts on the last day of a week.
class MonthView : public QCalendarWidget {
    Q_OBJECT

public:
    explicit MonthView(QWidget *parent = nullptr);

    static int weekOfYear(const QDate &date, Qt::DayOfWeek firstDay = Qt::Monday);

    // The control's Value: the selected date. A null date leaves it unchanged.
    void setValue(const QDate &date);
    QDate value() const;
    // The week of the selected date, counted with the control's first day of the week.
    int week() const;
};

// A month calendar on which the user picks a day, as `calendario` of the workspaces. It
// tells a double click on the days apart from a single one.
class Calendar : public QCalendarWidget {
    Q_OBJECT

public:
    explicit Calendar(QWidget *parent = nullptr);

    void setValue(const QDate &date);
    QDate value() const;

signals:
    // The user double-clicked a day; `date` is the day then selected.
    void doubleClicked(const QDate &date);

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    QWidget *m_days = nullptr;
};

}  // namespace ui
