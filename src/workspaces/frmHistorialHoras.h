#pragma once

#include <QWidget>

class QLabel;
class QPushButton;
class QTableWidget;

// "Historial del registro de horas": who changed one hour record, when and how, as the
// store recorded it (store/HourHistory.h). Read only; the super user opens it from the
// toolbar key `historial` of the workspace. One window per record, newest change last.
class frmHistorialHoras : public QWidget {
    Q_OBJECT
public:
    // Opens (or brings forward) the window of record `horId`. A store that cannot give the
    // history says so in a box and no window stays open.
    static frmHistorialHoras *open(qlonglong horId, QWidget *parent = nullptr);

    qlonglong horId() const { return m_horId; }

private:
    frmHistorialHoras(qlonglong horId, QWidget *parent);
    void load();

    qlonglong m_horId;
    QLabel *lblRegistro;
    QTableWidget *grdHistorial;
    QPushButton *cmdCerrar;
};
