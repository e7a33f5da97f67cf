#include "ui/DatePicker.h"

#include "ui/Dialogs.h"
#include "ui/Masks.h"
#include "ui/MonthView.h"

#include <QCalendarWidget>
#include <QFrame>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLineEdit>
#include <QRegularExpression>
#include <QScreen>
#include <QToolButton>

namespace ui {
namespace {

// Day, month and year all typed: "4-nov-01", "4/11/2001".
bool typedInFull(const QString &text)
{
    static const QRegularExpression separators(QStringLiteral("[\\s/\\-.]+"));
    return text.split(separators, Qt::SkipEmptyParts).size() == 3;
}

}  // namespace

DatePicker::DatePicker(QWidget *parent) : DatePicker(QStringLiteral("d-MMM-yy"), parent) {}

DatePicker::DatePicker(const QString &mask, QWidget *parent) : QWidget(parent), m_mask(mask)
{
    m_edit = new QLineEdit(this);
    m_edit->setObjectName(QStringLiteral("edit"));
    m_edit->installEventFilter(this);
    m_button = new QToolButton(this);
    m_button->setObjectName(QStringLiteral("calendarButton"));
    m_button->setArrowType(Qt::DownArrow);
    m_button->setFocusPolicy(Qt::NoFocus);
    m_button->setToolTip(QStringLiteral("Calendario"));

    auto *layout = new QHBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(m_edit, 1);
    layout->addWidget(m_button);
    setFocusProxy(m_edit);
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);

    connect(m_edit, &QLineEdit::textEdited, this, &DatePicker::onTextEdited);
    connect(m_edit, &QLineEdit::editingFinished, this, &DatePicker::onEditingFinished);
    connect(m_button, &QToolButton::clicked, this, &DatePicker::showCalendar);
}

QDate DatePicker::date() const
{
    return m_date;
}

void DatePicker::setDate(const QDate &date)
{
    m_date = date.isValid() ? date : QDate();
    showDate();
}

void DatePicker::clear()
{
    setDate(QDate());
}

bool DatePicker::isBlank() const
{
    return !m_date.isValid();
}

QString DatePicker::displayFormat() const
{
    return m_mask;
}

void DatePicker::setDisplayFormat(const QString &mask)
{
    m_mask = mask;
    showDate();
}

QString DatePicker::text() const
{
    return m_edit->text();
}

void DatePicker::setBlankAllowed(bool allowed)
{
    m_blankAllowed = allowed;
}

bool DatePicker::isBlankAllowed() const
{
    return m_blankAllowed;
}

void DatePicker::chooseDate(const QDate &date)
{
    const QDate chosen = date.isValid() ? date : QDate();
    if (!chosen.isValid() && !m_blankAllowed)
        return;
    if (chosen == m_date) {
        showDate();
        return;
    }
    m_date = chosen;
    showDate();
    emit dateChanged(m_date);
}

QLineEdit *DatePicker::lineEdit() const
{
    return m_edit;
}

void DatePicker::showDate()
{
    m_edit->setText(formatDate(m_date, m_mask));
}

void DatePicker::onTextEdited(const QString &text)
{
    if (!typedInFull(text))
        return;
    bool ok = false;
    const QDate typed = parseDate(text, &ok);
    if (!ok || typed == m_date)
        return;
    // The field keeps the text as typed until it is left.
    m_date = typed;
    emit dateChanged(m_date);
}

void DatePicker::onEditingFinished()
{
    if (m_finishing)
        return;
    m_finishing = true;
    const QString typed = m_edit->text();
    if (typed.trimmed().isEmpty()) {
        if (m_blankAllowed || !m_date.isValid()) {
            chooseDate(QDate());
        } else {
            showDate();
            msgBox(QStringLiteral("La fecha no puede quedar en blanco. Escriba por ejemplo %1.")
                       .arg(exampleDate(m_mask)),
                   {}, Icon::Exclamation, window());
        }
    } else {
        bool ok = false;
        const QDate date = parseDate(typed, &ok);
        if (ok) {
            chooseDate(date);
        } else {
            showDate();
            msgBox(badValueMessage(typed, m_mask), {}, Icon::Exclamation, window());
        }
    }
    m_finishing = false;
}

void DatePicker::step(int days, int months)
{
    const QDate from = m_date.isValid() ? m_date : QDate::currentDate();
    chooseDate(from.addMonths(months).addDays(days));
}

QCalendarWidget *DatePicker::calendarWidget()
{
    if (!m_calendar) {
        m_popup = new QFrame(this, Qt::Popup);
        m_popup->setObjectName(QStringLiteral("calendarPopup"));
        m_popup->setFrameStyle(QFrame::Box | QFrame::Plain);
        auto *layout = new QHBoxLayout(m_popup);
        layout->setContentsMargins(1, 1, 1, 1);
        m_calendar = new MonthView(m_popup);
        m_calendar->setObjectName(QStringLiteral("calendar"));
        layout->addWidget(m_calendar);
        auto pick = [this](const QDate &date) {
            hideCalendar();
            chooseDate(date);
            m_edit->setFocus();
        };
        connect(m_calendar, &QCalendarWidget::clicked, this, pick);
        connect(m_calendar, &QCalendarWidget::activated, this, pick);
    }
    return m_calendar;
}

void DatePicker::showCalendar()
{
    if (!isEnabled())
        return;
    QCalendarWidget *calendar = calendarWidget();
    const QDate shown = m_date.isValid() ? m_date : QDate::currentDate();
    calendar->setSelectedDate(shown);
    calendar->setCurrentPage(shown.year(), shown.month());
    m_popup->adjustSize();
    QPoint at = mapToGlobal(QPoint(0, height()));
    if (const QScreen *screen = this->screen()) {
        const QRect area = screen->availableGeometry();
        if (at.y() + m_popup->height() > area.bottom())
            at.setY(mapToGlobal(QPoint(0, 0)).y() - m_popup->height());
        at.setX(qBound(area.left(), at.x(), qMax(area.left(), area.right() - m_popup->width())));
    }
    m_popup->move(at);
    m_popup->show();
    calendar->setFocus();
}

void DatePicker::hideCalendar()
{
    if (m_popup)
        m_popup->hide();
}

bool DatePicker::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == m_edit && event->type() == QEvent::KeyPress) {
        const auto *key = static_cast<QKeyEvent *>(event);
        const bool alt = key->modifiers() & Qt::AltModifier;
        switch (key->key()) {
        case Qt::Key_F4:
            showCalendar();
            return true;
        case Qt::Key_Down:
            if (alt)
                showCalendar();
            else
                step(-1, 0);
            return true;
        case Qt::Key_Up:
            step(1, 0);
            return true;
        case Qt::Key_PageUp:
            step(0, 1);
            return true;
        case Qt::Key_PageDown:
            step(0, -1);
            return true;
        default:
            break;
        }
    }
    return QWidget::eventFilter(watched, event);
}

}  // namespace ui
