#pragma once

#include <QHash>
#include <QIcon>
#include <QList>
#include <QString>
#include <QToolBar>

class QAction;
class QMenu;
class QToolButton;

namespace ui {

// A toolbar whose buttons and drop-down entries are addressed by text key, the way the
// windows choose their actions ("nuevo", "ordenar_asc" -> "fecha").
//
// Each button is a QToolButton whose objectName is its key (its QAction carries the same
// name). A drop-down button has a menu; its entries are QActions named
// "<buttonKey>_<entryKey>". Clicking the face of a drop-down button emits buttonClicked
// like any other button; choosing an entry emits menuEntryClicked only.
class KeyedToolBar : public QToolBar {
    Q_OBJECT

public:
    struct MenuEntry {
        QString key;
        QString caption;
    };

    explicit KeyedToolBar(QWidget *parent = nullptr);

    // Adds a button at the right end. Without an icon the button gets the plain one of
    // standardIcon(key). An empty tool tip means the button shows none.
    QToolButton *addButton(const QString &key, const QString &caption,
                           const QString &toolTip = {}, const QIcon &icon = {},
                           const QList<MenuEntry> &menu = {});

    QToolButton *button(const QString &key) const;
    QAction *buttonAction(const QString &key) const;
    QAction *menuEntry(const QString &buttonKey, const QString &entryKey) const;
    QStringList keys() const;
    QStringList menuKeys(const QString &buttonKey) const;

    void setButtonEnabled(const QString &key, bool enabled);
    bool isButtonEnabled(const QString &key) const;
    void setButtonCaption(const QString &key, const QString &caption);
    QString buttonCaption(const QString &key) const;
    QString buttonToolTip(const QString &key) const;

    // Do what a click by the user does: nothing on a disabled (or unknown) button or
    // entry, and the signal otherwise. An entry of a disabled button can't be reached.
    // They return whether the click took effect.
    bool trigger(const QString &key);
    bool triggerMenuEntry(const QString &buttonKey, const QString &entryKey);

    // A plain icon from the style for the keys the windows use; a generic one otherwise.
    QIcon standardIcon(const QString &key) const;

signals:
    void buttonClicked(const QString &key);
    void menuEntryClicked(const QString &buttonKey, const QString &entryKey);

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    struct Button {
        QAction *action = nullptr;
        QToolButton *widget = nullptr;
        QMenu *menu = nullptr;
        QString toolTip;
        QHash<QString, QAction *> entries;
        QStringList entryOrder;
    };

    const Button *find(const QString &key) const;

    QHash<QString, Button> m_buttons;
    QStringList m_order;
};

}  // namespace ui
