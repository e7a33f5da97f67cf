#pragma once

#include "hours/HoursForm.h"

// "Registro de Horas": one new entry of hours for the session's person.
//
// The window writes one row of HORAS and, for a teaching activity, its row of
// HORAS_RUBROS_MATERIAS, whose HorId is the key the store assigned to that very insert.
// Once the row of HORAS is stored, the window holds that row: should the second write
// fail, the window stays open on the stored entry and the next save completes it instead
// of entering the hours twice.
class frmRegistroHoras : public HoursForm {
    Q_OBJECT
public:
    // Shows the window without waiting for it; the one already open is brought forward
    // with what it holds. The window deletes itself when it closes.
    static frmRegistroHoras *open();
    // The open window, if any.
    static frmRegistroHoras *instance();

    // The key of the entry once its row of HORAS has been stored; null before.
    QVariant storedHorId() const { return m_storedHorId; }

protected:
    QString materiasStatement(const QString &actId, const QString &rubId) const override;
    void guardar() override;

private:
    explicit frmRegistroHoras(QWidget *parent = nullptr);
    void load();

    core::Session m_session;
    QVariant m_storedHorId;
};
