#include "ui/MaskedEdit.h"

#include "ui/Masks.h"

#include <QValidator>

namespace ui {

// Refuses an edit that makes the text longer than the limit (an edit that shortens an
// over-long formatted value is fine) and, in number and time fields, characters that can
// never be part of one.
class MaskedEdit::TypingLimit : public QValidator {
public:
    explicit TypingLimit(MaskedEdit *edit) : QValidator(edit), m_edit(edit) {}

    State validate(QString &input, int &) const override
    {
        const int limit = m_edit->m_maxTyped;
        if (limit > 0 && input.size() > limit && input.size() > m_edit->m_length)
            return Invalid;
        const MaskKind kind = maskKind(m_edit->m_mask);
        for (const QChar c : input) {
            if (kind == MaskKind::Number && !(c.isDigit() || QStringLiteral(",.-+ ").contains(c)))
                return Invalid;
            if (kind == MaskKind::Time && !(c.isDigit() || QStringLiteral(":. ").contains(c)))
                return Invalid;
        }
        return Acceptable;
    }

private:
    MaskedEdit *m_edit;
};

MaskedEdit::MaskedEdit(QWidget *parent) : MaskedEdit(QString(), 0, parent) {}

MaskedEdit::MaskedEdit(const QString &mask, int maxTyped, QWidget *parent)
    : QLineEdit(parent), m_mask(mask), m_maxTyped(maxTyped)
{
    m_limit = new TypingLimit(this);
    setValidator(m_limit);
    connect(this, &QLineEdit::textChanged, this, &MaskedEdit::rememberLength);
    if (maskKind(mask) == MaskKind::Number)
        setAlignment(Qt::AlignRight | Qt::AlignVCenter);
}

QString MaskedEdit::mask() const
{
    return m_mask;
}

void MaskedEdit::setMask(const QString &mask)
{
    const QVariant current = value();
    m_mask = mask;
    setValue(current);
}

void MaskedEdit::setMaxTyped(int length)
{
    m_maxTyped = qMax(0, length);
}

int MaskedEdit::maxTyped() const
{
    return m_maxTyped;
}

void MaskedEdit::setValue(const QVariant &value)
{
    setText(formatValue(value, m_mask));
}

QVariant MaskedEdit::value(bool *ok) const
{
    return parseValue(text(), m_mask, ok);
}

bool MaskedEdit::hasValidValue() const
{
    bool ok = false;
    value(&ok);
    return ok;
}

QString MaskedEdit::problem() const
{
    return hasValidValue() ? QString() : badValueMessage(text(), m_mask);
}

void MaskedEdit::rememberLength(const QString &text)
{
    m_length = int(text.size());
}

}  // namespace ui
