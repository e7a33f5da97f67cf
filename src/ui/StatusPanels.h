#pragma once

#include <QDateTime>
#include <QHash>
#include <QStatusBar>
#include <QString>
#include <QStringList>

class QLabel;
class QTimer;

namespace ui {

// A status bar of named panels, each a sunken QLabel whose objectName is its key
// (`Usuario`, `Area`, `Acceso`, `Fecha`, `Hora`). A text panel shows what the window puts
// in it; a date or time panel keeps itself up to date with the clock.
class StatusPanels : public QStatusBar {
    Q_OBJECT

public:
    enum class Style { Text, Date, Time };

    explicit StatusPanels(QWidget *parent = nullptr);

    // Adds a panel at the right of the others. `stretch` shares the free width among the
    // panels as in QBoxLayout; 0 keeps the panel as narrow as its text.
    QLabel *addPanel(const QString &key, Style style = Style::Text, int stretch = 1);

    QLabel *panel(const QString &key) const;
    QStringList keys() const;
    void setPanelText(const QString &key, const QString &text);
    QString panelText(const QString &key) const;

    // How the date and time panels write the clock: "dd/MM/yyyy" and "H:mm".
    static QString dateText(const QDateTime &now);
    static QString timeText(const QDateTime &now);

private:
    void updateClock();

    QHash<QString, QLabel *> m_panels;
    QHash<QString, Style> m_styles;
    QStringList m_order;
    QTimer *m_clock = nullptr;
};

}  // namespace ui
