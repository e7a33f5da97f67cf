#pragma once

#include "hours/HoursForm.h"

// "Modificación de Horas": changes one stored row of HORAS, `horid`, and keeps its row of
// HORAS_RUBROS_MATERIAS in step with the activity (created when the entry becomes a
// teaching one, updated while it is one, deleted when it stops being one).
class frmModificoHoras : public HoursForm {
    Q_OBJECT
public:
    // Sets `horid`, loads and shows the window without waiting for it; the one already
    // open is brought forward with the entry it holds. When the row is gone the user is
    // told so and nullptr comes back. The window deletes itself when it closes.
    static frmModificoHoras *open(int horid);
    // The open window, if any.
    static frmModificoHoras *instance();

    // The HorId of the row being changed; read once, at load.
    qint32 horid = 0;

protected:
    QString materiasStatement(const QString &actId, const QString &rubId) const override;
    void guardar() override;

private:
    explicit frmModificoHoras(QWidget *parent = nullptr);
    // False when the row of `horid` no longer exists.
    bool load();

    // The stored entry as the window read it: a save writes only what differs from it.
    core::HoursEntry m_read;
};
