#pragma once

#include "admin/MaintenanceWindow.h"

class QLineEdit;

// The five catalogue windows: each is the maintenance window over one small table, a
// key (txtCodigo) and a description (txtDescripcion), and nothing else.

class frmMantAreas : public admin::MaintenanceWindow {
    Q_OBJECT
public:
    explicit frmMantAreas(QWidget *parent = nullptr);
};

class frmMantInstitutos : public admin::MaintenanceWindow {
    Q_OBJECT
public:
    explicit frmMantInstitutos(QWidget *parent = nullptr);
};

// cmdNuevo is there, in its place, and has no action.
class frmMantDestinos : public admin::MaintenanceWindow {
    Q_OBJECT
public:
    explicit frmMantDestinos(QWidget *parent = nullptr);
};

class frmMantMaterias : public admin::MaintenanceWindow {
    Q_OBJECT
public:
    explicit frmMantMaterias(QWidget *parent = nullptr);
};

// Adds txtPorcentaje, the factor an hour of this type is paid at (1.5 pays half again).
class frmMantTipoHoras : public admin::MaintenanceWindow {
    Q_OBJECT
public:
    explicit frmMantTipoHoras(QWidget *parent = nullptr);

private:
    QLineEdit *txtPorcentaje;
};
