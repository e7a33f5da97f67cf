#include "ui/KeyedToolBar.h"

#include <QAction>
#include <QEvent>
#include <QMenu>
#include <QStyle>
#include <QToolButton>

namespace ui {

KeyedToolBar::KeyedToolBar(QWidget *parent) : QToolBar(parent)
{
    setToolButtonStyle(Qt::ToolButtonTextUnderIcon);
    setMovable(false);
    setFloatable(false);
    setContextMenuPolicy(Qt::PreventContextMenu);
}

QToolButton *KeyedToolBar::addButton(const QString &key, const QString &caption,
                                     const QString &toolTip, const QIcon &icon,
                                     const QList<MenuEntry> &menu)
{
    if (const Button *existing = find(key)) {
        qWarning("KeyedToolBar: la clave %s ya existe", qUtf8Printable(key));
        return existing->widget;
    }
    Button b;
    b.toolTip = toolTip;
    b.action = new QAction(icon.isNull() ? standardIcon(key) : icon, caption, this);
    b.action->setObjectName(key);
    b.action->setToolTip(toolTip);
    connect(b.action, &QAction::triggered, this, [this, key] { emit buttonClicked(key); });

    if (!menu.isEmpty()) {
        b.menu = new QMenu(this);
        b.menu->setObjectName(key + QStringLiteral("_menu"));
        for (const MenuEntry &entry : menu) {
            QAction *a = b.menu->addAction(entry.caption);
            a->setObjectName(key + QLatin1Char('_') + entry.key);
            const QString entryKey = entry.key;
            connect(a, &QAction::triggered, this,
                    [this, key, entryKey] { emit menuEntryClicked(key, entryKey); });
            b.entries.insert(entry.key, a);
            b.entryOrder.append(entry.key);
        }
        b.action->setMenu(b.menu);
    }

    addAction(b.action);
    b.widget = qobject_cast<QToolButton *>(widgetForAction(b.action));
    if (b.widget) {
        b.widget->setObjectName(key);
        if (b.menu)
            b.widget->setPopupMode(QToolButton::MenuButtonPopup);
        b.widget->installEventFilter(this);
    }
    m_buttons.insert(key, b);
    m_order.append(key);
    return b.widget;
}

const KeyedToolBar::Button *KeyedToolBar::find(const QString &key) const
{
    const auto it = m_buttons.constFind(key);
    return it == m_buttons.cend() ? nullptr : &it.value();
}

QToolButton *KeyedToolBar::button(const QString &key) const
{
    const Button *b = find(key);
    return b ? b->widget : nullptr;
}

QAction *KeyedToolBar::buttonAction(const QString &key) const
{
    const Button *b = find(key);
    return b ? b->action : nullptr;
}

QAction *KeyedToolBar::menuEntry(const QString &buttonKey, const QString &entryKey) const
{
    const Button *b = find(buttonKey);
    return b ? b->entries.value(entryKey) : nullptr;
}

QStringList KeyedToolBar::keys() const
{
    return m_order;
}

QStringList KeyedToolBar::menuKeys(const QString &buttonKey) const
{
    const Button *b = find(buttonKey);
    return b ? b->entryOrder : QStringList();
}

void KeyedToolBar::setButtonEnabled(const QString &key, bool enabled)
{
    if (const Button *b = find(key))
        b->action->setEnabled(enabled);
}

bool KeyedToolBar::isButtonEnabled(const QString &key) const
{
    const Button *b = find(key);
    return b && b->action->isEnabled();
}

void KeyedToolBar::setButtonCaption(const QString &key, const QString &caption)
{
    if (const Button *b = find(key))
        b->action->setText(caption);
}

QString KeyedToolBar::buttonCaption(const QString &key) const
{
    const Button *b = find(key);
    return b ? b->action->text() : QString();
}

QString KeyedToolBar::buttonToolTip(const QString &key) const
{
    const Button *b = find(key);
    return b ? b->toolTip : QString();
}

bool KeyedToolBar::trigger(const QString &key)
{
    const Button *b = find(key);
    if (!b || !b->action->isEnabled() || !b->action->isVisible() || !isEnabled())
        return false;
    b->action->trigger();
    return true;
}

bool KeyedToolBar::triggerMenuEntry(const QString &buttonKey, const QString &entryKey)
{
    const Button *b = find(buttonKey);
    if (!b || !b->action->isEnabled() || !b->action->isVisible() || !isEnabled())
        return false;
    QAction *entry = b->entries.value(entryKey);
    if (!entry || !entry->isEnabled() || !entry->isVisible())
        return false;
    entry->trigger();
    return true;
}

QIcon KeyedToolBar::standardIcon(const QString &key) const
{
    static const QHash<QString, QStyle::StandardPixmap> icons = {
        {QStringLiteral("nuevo"), QStyle::SP_FileIcon},
        {QStringLiteral("modificar"), QStyle::SP_FileDialogContentsView},
        {QStringLiteral("eliminar"), QStyle::SP_TrashIcon},
        {QStringLiteral("imprimir"), QStyle::SP_DialogSaveButton},
        {QStringLiteral("ordenar_asc"), QStyle::SP_ArrowUp},
        {QStringLiteral("ordenar_des"), QStyle::SP_ArrowDown},
        {QStringLiteral("cambio"), QStyle::SP_BrowserReload},
        {QStringLiteral("estadisticas"), QStyle::SP_FileDialogInfoView},
        {QStringLiteral("ayuda"), QStyle::SP_DialogHelpButton},
        {QStringLiteral("salir"), QStyle::SP_DialogCloseButton},
    };
    return style()->standardIcon(icons.value(key, QStyle::SP_FileDialogListView), nullptr,
                                 this);
}

bool KeyedToolBar::eventFilter(QObject *watched, QEvent *event)
{
    // A QAction falls back to its text as tool tip; the system's buttons without a tip
    // show none.
    if (event->type() == QEvent::ToolTip) {
        const Button *b = find(watched->objectName());
        if (b && b->widget == watched && b->toolTip.isEmpty())
            return true;
    }
    return QToolBar::eventFilter(watched, event);
}

}  // namespace ui
