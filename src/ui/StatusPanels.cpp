#include "ui/StatusPanels.h"

#include <QDateTime>
#include <QLabel>
#include <QTimer>

namespace ui {

namespace {
constexpr int kRightMargin = 6;
}

StatusPanels::StatusPanels(QWidget *parent) : QStatusBar(parent)
{
    setSizeGripEnabled(false);
    // Without a size grip the last panel would touch the window's edge, its frame lost
    // under the window's border.
    setContentsMargins(0, 0, kRightMargin, 0);
}

QLabel *StatusPanels::addPanel(const QString &key, Style style, int stretch)
{
    if (QLabel *existing = m_panels.value(key))
        return existing;
    auto *label = new QLabel(this);
    label->setObjectName(key);
    label->setFrameStyle(QFrame::Panel | QFrame::Sunken);
    label->setTextFormat(Qt::PlainText);
    label->setIndent(2);
    // Permanent widgets are not covered by the tips that menus and buttons leave here.
    addPermanentWidget(label, stretch);
    m_panels.insert(key, label);
    m_styles.insert(key, style);
    m_order.append(key);
    if (style != Style::Text) {
        // As wide as the widest text the clock can show, so the panel never changes width.
        const QDateTime widest(QDate(2000, 12, 28), QTime(23, 58));
        const QString sample = style == Style::Date ? dateText(widest) : timeText(widest);
        label->setMinimumWidth(label->fontMetrics().horizontalAdvance(sample) + 2 * label->indent() +
                               2 * label->frameWidth() + 4);
        if (!m_clock) {
            m_clock = new QTimer(this);
            m_clock->setInterval(1000);
            connect(m_clock, &QTimer::timeout, this, &StatusPanels::updateClock);
            m_clock->start();
        }
        updateClock();
    }
    return label;
}

QLabel *StatusPanels::panel(const QString &key) const
{
    return m_panels.value(key);
}

QStringList StatusPanels::keys() const
{
    return m_order;
}

void StatusPanels::setPanelText(const QString &key, const QString &text)
{
    if (QLabel *label = m_panels.value(key))
        label->setText(text);
}

QString StatusPanels::panelText(const QString &key) const
{
    const QLabel *label = m_panels.value(key);
    return label ? label->text() : QString();
}

QString StatusPanels::dateText(const QDateTime &now)
{
    return now.date().toString(QStringLiteral("dd/MM/yyyy"));
}

QString StatusPanels::timeText(const QDateTime &now)
{
    return now.time().toString(QStringLiteral("H:mm"));
}

void StatusPanels::updateClock()
{
    const QDateTime now = QDateTime::currentDateTime();
    for (auto it = m_styles.cbegin(); it != m_styles.cend(); ++it) {
        if (it.value() == Style::Date)
            m_panels.value(it.key())->setText(dateText(now));
        else if (it.value() == Style::Time)
            m_panels.value(it.key())->setText(timeText(now));
    }
}

}  // namespace ui
