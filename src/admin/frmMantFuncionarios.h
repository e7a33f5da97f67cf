#pragma once

#include "admin/MaintenanceWindow.h"

class QCheckBox;
class QLineEdit;
class QPushButton;

namespace store {
class DataControl;
}
namespace ui {
class DataGrid;
}

// Staff (FUNCIONARIOS) on the maintenance pattern, and below it the contracts of the
// current staff member (FUNCIONARIOS_INSTITUTOS), typed into the cells of dtgContratos.
class frmMantFuncionarios : public admin::MaintenanceWindow {
    Q_OBJECT
public:
    explicit frmMantFuncionarios(QWidget *parent = nullptr);

protected:
    void currentRowChanged(bool onRow) override;

private:
    void cmdNuevoContrato_Click();
    void cmdGuardarContrato_Click();
    void cmdEliminarContrato_Click();
    // Reads the contracts again and shows them.
    void reloadContracts();

    QLineEdit *txtCedula;
    QLineEdit *txtNombres;
    QLineEdit *txtApellidos;
    QLineEdit *txtTelefonos;
    QLineEdit *txtDireccion;
    QCheckBox *chkFacturador;
    store::DataControl *adcFuncionariosInstitutos;
    ui::DataGrid *dtgContratos;
    QPushButton *cmdNuevoContrato;
    QPushButton *cmdGuardarContrato;
    QPushButton *cmdEliminarContrato;
};
