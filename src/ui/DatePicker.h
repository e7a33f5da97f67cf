#pragma once

#include <QDate>
#include <QString>
#include <QWidget>

class QCalendarWidget;
class QFrame;
class QLineEdit;
class QToolButton;

namespace ui {

// A date field with a calendar that drops down from its button, showing its date through
// a mask in the system's notation ("d-MMM-yy", "dd/MM/yy", "d-M-yy", ... see Masks.h)
// with Spanish month abbreviations.
//
// It can hold no date: it then shows blank and date() is a null QDate. Code blanks it by
// setDate(QDate()); the user may blank it only where setBlankAllowed(true).
//
// The user changes the date by typing it (a date typed in full counts at once; the text is
// put in the mask's form when the field is left or Enter is pressed), with Up/Down (a day)
// and PageUp/PageDown (a month), or by picking a day in the calendar (F4 or Alt+Down
// open it). Text that is no date is put back to the date held and explained in a message
// box. dateChanged is emitted for the user's changes only, as chooseDate does; setDate
// changes the date quietly.
class DatePicker : public QWidget {
    Q_OBJECT
    Q_PROPERTY(QDate date READ date WRITE setDate NOTIFY dateChanged USER true)

public:
    explicit DatePicker(QWidget *parent = nullptr);
    explicit DatePicker(const QString &mask, QWidget *parent = nullptr);

    QDate date() const;
    void setDate(const QDate &date);
    void clear();
    bool isBlank() const;

    QString displayFormat() const;
    void setDisplayFormat(const QString &mask);
    // What the field shows.
    QString text() const;

    void setBlankAllowed(bool allowed);
    bool isBlankAllowed() const;

    // Takes `date` as the user's choice: the calendar's pick and the keys end here.
    void chooseDate(const QDate &date);

    QLineEdit *lineEdit() const;
    void showCalendar();
    void hideCalendar();
    // The calendar that drops down; created on first use.
    QCalendarWidget *calendarWidget();

signals:
    void dateChanged(const QDate &date);

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void showDate();
    void onTextEdited(const QString &text);
    void onEditingFinished();
    void step(int days, int months);

    QLineEdit *m_edit = nullptr;
    QToolButton *m_button = nullptr;
    QFrame *m_popup = nullptr;
    QCalendarWidget *m_calendar = nullptr;
    QString m_mask;
    QDate m_date;
    bool m_blankAllowed = false;
    bool m_finishing = false;
};

}  // namespace ui
