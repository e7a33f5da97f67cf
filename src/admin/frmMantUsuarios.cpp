#include "admin/frmMantUsuarios.h"

#include "session/Usuario.h"
#include "store/DataControl.h"
#include "ui/DataLists.h"

#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>

using admin::column;

namespace {

admin::MaintenanceSpec spec()
{
    admin::MaintenanceSpec s;
    s.windowName = QStringLiteral("frmMantUsuarios");
    s.title = QStringLiteral("Mantenimiento de usuarios");
    s.controlName = QStringLiteral("adcUsuarios");
    s.statement =
        QStringLiteral("SELECT * FROM USUARIOS U, PERMISOS P WHERE U.PERID=P.PERID ORDER BY USULOGIN ASC");
    s.gridName = QStringLiteral("dtgUsuarios");
    s.gridCaption = QStringLiteral("LISTA DE USUARIOS ");
    s.columns = {column(QStringLiteral("Cédula"), QStringLiteral("FunCedula")),
                 column(QStringLiteral("Login"), QStringLiteral("UsuLogin")),
                 column(QStringLiteral("Acceso"), QStringLiteral("PerDescripcion"))};
    return s;
}

const QString kKeepsPassword = QStringLiteral("Si se deja vacía, el usuario conserva su contraseña actual");

}  // namespace

frmMantUsuarios::frmMantUsuarios(QWidget *parent) : MaintenanceWindow(spec(), parent)
{
    adcFuncionarios = new store::DataControl(QStringLiteral("adcFuncionarios"), this);
    adcFuncionarios->setRecordSource(QStringLiteral("SELECT FUNCEDULA,FUNNOMBRES+' '+FUNAPELLIDOS FROM FUNCIONARIOS"));
    adcFuncionarios->refresh();
    adcPermisos = new store::DataControl(QStringLiteral("adcPermisos"), this);
    adcPermisos->setRecordSource(QStringLiteral("SELECT * FROM PERMISOS"));
    adcPermisos->refresh();

    dtcFuncionarios = new ui::DataCombo(this);
    dtcFuncionarios->setObjectName(QStringLiteral("dtcFuncionarios"));
    dtcFuncionarios->setRowSource(adcFuncionarios, QStringLiteral("Expr1001"), QStringLiteral("FUNCEDULA"));
    dtcFuncionarios->setDataSource(dataControl(), QStringLiteral("FunCedula"));
    auto *lblFuncionario = new QLabel(QStringLiteral("Funcionario:"), this);
    lblFuncionario->setBuddy(dtcFuncionarios);
    form()->addRow(lblFuncionario, dtcFuncionarios);
    addRowControl(dtcFuncionarios);

    txtLogin = addTextBox(QStringLiteral("txtLogin"), QStringLiteral("Login:"), QStringLiteral("UsuLogin"), 12);

    txtPassword = new QLineEdit(this);
    txtPassword->setObjectName(QStringLiteral("txtPassword"));
    txtPassword->setMaxLength(12);
    txtPassword->setEchoMode(QLineEdit::Password);
    txtPassword->setStyleSheet(QStringLiteral("lineedit-password-character: 42;"));
    auto *lblPassword = new QLabel(QStringLiteral("Password:"), this);
    lblPassword->setBuddy(txtPassword);
    form()->addRow(lblPassword, txtPassword);
    addRowControl(txtPassword);
    connect(txtPassword, &QLineEdit::textEdited, this, [this] { m_passwordTyped = true; });

    dtcPermisos = new ui::DataCombo(this);
    dtcPermisos->setObjectName(QStringLiteral("dtcPermisos"));
    dtcPermisos->setRowSource(adcPermisos, QStringLiteral("PerDescripcion"), QStringLiteral("PerId"));
    dtcPermisos->setDataSource(dataControl(), QStringLiteral("PerId"));
    auto *lblPermisos = new QLabel(QStringLiteral("Acceso al sistema:"), this);
    lblPermisos->setBuddy(dtcPermisos);
    form()->addRow(lblPermisos, dtcPermisos);
    addRowControl(dtcPermisos);

    connect(dataControl(), &store::DataControl::aboutToWrite, this, &frmMantUsuarios::adcUsuarios_WillChangeRecord);
    open();
}

void frmMantUsuarios::currentRowChanged(bool onRow)
{
    // The box never shows what is stored. A new row gets its password (empty or not)
    // hashed when it is written; a stored row only when something was typed.
    txtPassword->clear();
    const bool newRow = dataControl()->isNewRow();
    m_passwordTyped = newRow;
    txtPassword->setToolTip(onRow && !newRow ? kKeepsPassword : QString());
}

void frmMantUsuarios::adcUsuarios_WillChangeRecord()
{
    if (!m_passwordTyped || !dataControl()->hasCurrentRow())
        return;
    dataControl()->setValue(QStringLiteral("UsuPassword"), Usuario::hashPassword(txtPassword->text()));
    m_passwordTyped = false;  // hashed once: a second notification before the write changes nothing
}
