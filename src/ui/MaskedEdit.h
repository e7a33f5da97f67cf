#pragma once

#include <QLineEdit>
#include <QString>
#include <QVariant>

namespace ui {

// A text box that shows its value through a display mask ("0,00", "0,0000", "H:mm",
// "HH:mm", a date mask; see Masks.h) and reads back what the user types.
//
// setValue shows a value formatted; what the user types is kept as typed (it is not
// re-formatted when the field is left) and value() reads it. A maximum length limits the
// typing only, as the system's boxes do: a formatted value longer than that is shown
// whole, and the user may shorten it.
class MaskedEdit : public QLineEdit {
    Q_OBJECT

public:
    explicit MaskedEdit(QWidget *parent = nullptr);
    explicit MaskedEdit(const QString &mask, int maxTyped = 0, QWidget *parent = nullptr);

    QString mask() const;
    void setMask(const QString &mask);
    // 0: no limit.
    void setMaxTyped(int length);
    int maxTyped() const;

    void setValue(const QVariant &value);
    // The value of the text: null when blank, double / QTime / QDate by the mask, the text
    // itself without a mask. On text that doesn't read, *ok is false and the value null.
    QVariant value(bool *ok = nullptr) const;
    bool hasValidValue() const;
    // The message that explains why the text doesn't read ("\"1,2,3\" no es un número
    // válido..."), empty when it does.
    QString problem() const;

private:
    class TypingLimit;

    void rememberLength(const QString &text);

    QString m_mask;
    int m_maxTyped = 0;
    int m_length = 0;
    TypingLimit *m_limit = nullptr;
};

}  // namespace ui
