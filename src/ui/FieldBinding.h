#pragma once

#include <QObject>
#include <QPointer>
#include <QString>

class QWidget;

#include "store/DataControl.h"

namespace ui {

// Binds one control to a column of a data control's current row (DataSource/DataField).
// The control shows the column whenever the current row changes; what the user types is
// handed to the row when the row is about to be written (Update, Move 0, a move away).
// Only a control the user actually changed hands over its value, so showing a value
// through a mask never marks a row as changed.
//
// Works with QLineEdit (through `mask`, see Masks.h), QCheckBox (ticked = true),
// QPlainTextEdit / QTextEdit, DatePicker, QDateEdit / QTimeEdit, and any widget with a
// user property.
class FieldBinding : public QObject {
    Q_OBJECT
public:
    static FieldBinding *bind(QWidget *control, store::DataControl *source, const QString &field,
                              const QString &mask = {});
    // The binding of a control, if it has one.
    static FieldBinding *of(QWidget *control);

    QWidget *control() const { return m_control; }
    store::DataControl *source() const { return m_source; }
    const QString &field() const { return m_field; }
    // Shows the current row's value again, forgetting what was typed.
    void show();
    // Hands the typed value to the current row now (if the user changed the control).
    void handOver();
    bool isDirty() const { return m_dirty; }
    // Rebinds at run time (DataSource/DataField set in code).
    void rebind(store::DataControl *source, const QString &field);
    void unbind();

private:
    FieldBinding(QWidget *control, store::DataControl *source, const QString &field, const QString &mask);
    void connectSource();
    void markDirty();
    QVariant controlValue() const;
    void setControlValue(const QVariant &value);

    QPointer<QWidget> m_control;
    QPointer<store::DataControl> m_source;
    QString m_field;
    QString m_mask;
    bool m_dirty = false;
    bool m_showing = false;
    QList<QMetaObject::Connection> m_sourceConnections;
};

}  // namespace ui
