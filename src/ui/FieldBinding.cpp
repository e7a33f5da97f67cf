#include "ui/FieldBinding.h"

#include "store/DataControl.h"
#include "store/SchemaInfo.h"
#include "ui/Masks.h"

#include <QCheckBox>
#include <QLineEdit>
#include <QMetaProperty>
#include <QPlainTextEdit>
#include <QTextEdit>

namespace ui {
namespace {
const char *kBindingProperty = "_tempalia_binding";
}

FieldBinding *FieldBinding::bind(QWidget *control, store::DataControl *source, const QString &field,
                                 const QString &mask)
{
    if (FieldBinding *existing = of(control)) {
        existing->m_mask = mask;
        existing->rebind(source, field);
        return existing;
    }
    return new FieldBinding(control, source, field, mask);
}

FieldBinding *FieldBinding::of(QWidget *control)
{
    return control ? control->property(kBindingProperty).value<FieldBinding *>() : nullptr;
}

FieldBinding::FieldBinding(QWidget *control, store::DataControl *source, const QString &field, const QString &mask)
    : QObject(control), m_control(control), m_source(source), m_field(field), m_mask(mask)
{
    control->setProperty(kBindingProperty, QVariant::fromValue(this));
    if (auto *edit = qobject_cast<QLineEdit *>(control)) {
        connect(edit, &QLineEdit::textEdited, this, &FieldBinding::markDirty);
    } else if (auto *check = qobject_cast<QCheckBox *>(control)) {
        connect(check, &QCheckBox::toggled, this, &FieldBinding::markDirty);
    } else if (auto *plain = qobject_cast<QPlainTextEdit *>(control)) {
        connect(plain, &QPlainTextEdit::textChanged, this, &FieldBinding::markDirty);
    } else if (auto *rich = qobject_cast<QTextEdit *>(control)) {
        connect(rich, &QTextEdit::textChanged, this, &FieldBinding::markDirty);
    } else {
        const QMetaProperty user = control->metaObject()->userProperty();
        if (user.isValid() && user.hasNotifySignal()) {
            const QMetaMethod slot = metaObject()->method(metaObject()->indexOfSlot("markDirty()"));
            connect(control, user.notifySignal(), this, slot);
        }
    }
    connectSource();
    show();
}

void FieldBinding::connectSource()
{
    for (const auto &c : m_sourceConnections)
        disconnect(c);
    m_sourceConnections.clear();
    if (!m_source)
        return;
    m_sourceConnections << connect(m_source, &store::DataControl::currentChanged, this, &FieldBinding::show);
    m_sourceConnections << connect(m_source, &store::DataControl::aboutToWrite, this, &FieldBinding::handOver);
}

void FieldBinding::rebind(store::DataControl *source, const QString &field)
{
    m_source = source;
    m_field = field;
    connectSource();
    show();
}

void FieldBinding::unbind()
{
    m_source = nullptr;
    connectSource();
}

void FieldBinding::markDirty()
{
    if (!m_showing)
        m_dirty = true;
}

void FieldBinding::show()
{
    if (!m_control)
        return;
    QVariant value;
    if (m_source && m_source->hasCurrentRow() && m_source->fieldIndex(m_field) >= 0)
        value = m_source->value(m_field);
    setControlValue(value);
    m_dirty = false;
}

void FieldBinding::handOver()
{
    if (!m_dirty || !m_control || !m_source || !m_source->hasCurrentRow() || m_source->fieldIndex(m_field) < 0)
        return;
    m_source->setValue(m_field, controlValue());
    m_dirty = false;
}

QVariant FieldBinding::controlValue() const
{
    QWidget *w = m_control.data();
    if (auto *edit = qobject_cast<QLineEdit *>(w)) {
        const QString text = edit->text();
        if (m_mask.isEmpty())
            return text;
        bool ok = false;
        const QVariant v = parseValue(text, m_mask, &ok);
        // Text that does not read through the mask goes to the row as typed: the store
        // refuses it with its own message, and the box keeps what was typed.
        return ok ? v : QVariant(text);
    }
    if (auto *check = qobject_cast<QCheckBox *>(w))
        return check->isChecked();
    if (auto *plain = qobject_cast<QPlainTextEdit *>(w))
        return plain->toPlainText();
    if (auto *rich = qobject_cast<QTextEdit *>(w))
        return rich->toPlainText();
    const QMetaProperty user = w->metaObject()->userProperty();
    return user.isValid() ? user.read(w) : QVariant();
}

void FieldBinding::setControlValue(const QVariant &value)
{
    QWidget *w = m_control.data();
    m_showing = true;
    if (auto *edit = qobject_cast<QLineEdit *>(w)) {
        edit->setText(m_mask.isEmpty() ? (value.isNull() ? QString() : value.toString()) : formatValue(value, m_mask));
        edit->setModified(false);
    } else if (auto *check = qobject_cast<QCheckBox *>(w)) {
        check->setChecked(store::normalize(store::ColumnKind::YesNo, value).toBool());
    } else if (auto *plain = qobject_cast<QPlainTextEdit *>(w)) {
        plain->setPlainText(value.toString());
    } else if (auto *rich = qobject_cast<QTextEdit *>(w)) {
        rich->setPlainText(value.toString());
    } else {
        const QMetaProperty user = w->metaObject()->userProperty();
        if (user.isValid())
            user.write(w, value);
    }
    m_showing = false;
}

}  // namespace ui
