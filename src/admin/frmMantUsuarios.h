#pragma once

#include "admin/MaintenanceWindow.h"

class QLineEdit;

namespace store {
class DataControl;
}
namespace ui {
class DataCombo;
}

// The logins (USUARIOS) on the maintenance pattern. The password goes to the store as an
// Argon2id hash (Usuario::hashPassword): txtPassword is not bound to UsuPassword; it starts
// empty on every row and only what the user typed in it is hashed, once, when the row is
// written. A stored row saved with the box untouched keeps its password.
class frmMantUsuarios : public admin::MaintenanceWindow {
    Q_OBJECT
public:
    explicit frmMantUsuarios(QWidget *parent = nullptr);

protected:
    void currentRowChanged(bool onRow) override;

private:
    void adcUsuarios_WillChangeRecord();

    ui::DataCombo *dtcFuncionarios;
    QLineEdit *txtLogin;
    QLineEdit *txtPassword;
    ui::DataCombo *dtcPermisos;
    store::DataControl *adcFuncionarios;
    store::DataControl *adcPermisos;
    bool m_passwordTyped = false;  // the box holds a password to encode at the next write
};
