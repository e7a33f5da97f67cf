#include "admin/frmMantFuncionarios.h"

#include "store/DataControl.h"
#include "store/SqlValue.h"
#include "ui/DataGrid.h"
#include "ui/Dialogs.h"
#include "ui/FieldBinding.h"
#include "ui/GuardedSlot.h"

#include <QCheckBox>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLineEdit>
#include <QPushButton>
#include <QTableView>
#include <QVBoxLayout>

using admin::column;

namespace {

admin::MaintenanceSpec spec()
{
    admin::MaintenanceSpec s;
    s.windowName = QStringLiteral("frmMantFuncionarios");
    s.title = QStringLiteral("Mantenimiento de funcionarios");
    s.controlName = QStringLiteral("adcFuncionarios");
    s.statement = QStringLiteral("SELECT * FROM FUNCIONARIOS ORDER BY FUNAPELLIDOS,FUNNOMBRES ASC");
    s.gridName = QStringLiteral("dtgFuncionarios");
    s.gridCaption = QStringLiteral("LISTA DE FUNCIONARIOS");
    s.columns = {column(QStringLiteral("Cédula"), QStringLiteral("FunCedula")),
                 column(QStringLiteral("Nombres"), QStringLiteral("FunNombres")),
                 column(QStringLiteral("Apellidos"), QStringLiteral("FunApellidos")),
                 column(QStringLiteral("Teléfonos"), QStringLiteral("FunTelefonos")),
                 column(QStringLiteral("Dirección"), QStringLiteral("FunDireccion")),
                 column(QStringLiteral("Tipo"), QStringLiteral("FunFacturador"))};
    return s;
}

}  // namespace

frmMantFuncionarios::frmMantFuncionarios(QWidget *parent) : MaintenanceWindow(spec(), parent)
{
    txtCedula = addTextBox(QStringLiteral("txtCedula"), QStringLiteral("Cédula:"), QStringLiteral("FunCedula"), 12);
    txtNombres =
        addTextBox(QStringLiteral("txtNombres"), QStringLiteral("Nombres:"), QStringLiteral("FunNombres"), 30);
    txtApellidos =
        addTextBox(QStringLiteral("txtApellidos"), QStringLiteral("Apellidos:"), QStringLiteral("FunApellidos"), 30);
    txtTelefonos =
        addTextBox(QStringLiteral("txtTelefonos"), QStringLiteral("Teléfonos:"), QStringLiteral("FunTelefonos"), 30);
    txtDireccion =
        addTextBox(QStringLiteral("txtDireccion"), QStringLiteral("Dirección:"), QStringLiteral("FunDireccion"), 30);
    chkFacturador = new QCheckBox(QStringLiteral("Factura las horas trabajadas"), this);
    chkFacturador->setObjectName(QStringLiteral("chkFacturador"));
    form()->addRow(QString(), chkFacturador);
    ui::FieldBinding::bind(chkFacturador, dataControl(), QStringLiteral("FunFacturador"));
    addRowControl(chkFacturador);

    adcFuncionariosInstitutos = new store::DataControl(QStringLiteral("adcFuncionariosInstitutos"), this);
    adcFuncionariosInstitutos->setRecordSource(QStringLiteral("SELECT * FROM FUNCIONARIOS_INSTITUTOS"));

    dtgContratos = new ui::DataGrid(this);
    dtgContratos->setObjectName(QStringLiteral("dtgContratos"));
    dtgContratos->setCaption(QStringLiteral("CONTRATOS DE EL EMPLADO"));
    dtgContratos->setColumns({
        column(QStringLiteral("Código de Instituto"), QStringLiteral("InsId")),
        column(QStringLiteral("Código de Área"), QStringLiteral("AreId")),
        column(QStringLiteral("Categoría"), QStringLiteral("FunInsCategoria")),
        column(QStringLiteral("H.Semana"), QStringLiteral("FunInsHoras_Semanales"), QStringLiteral("0,00")),
        column(QStringLiteral("Valor H."), QStringLiteral("FunInsValor_Hora"), QStringLiteral("0,00")),
        column(QStringLiteral("Moneda"), QStringLiteral("FunInsMoneda")),
        column(QStringLiteral("H.Entrada"), QStringLiteral("FunInsHorarioEntrada"), QStringLiteral("HH:mm")),
        column(QStringLiteral("H.Salida"), QStringLiteral("FunInsHorarioSalida"), QStringLiteral("H:mm")),
        column(QStringLiteral("Fecha de Inicio"), QStringLiteral("FunInsInicio"), QStringLiteral("d-MMM-yy")),
        column(QStringLiteral("Fecha Final"), QStringLiteral("FunInsFinal"), QStringLiteral("d-MMM-yy")),
        column(QStringLiteral("Finalizado (Si/No)"), QStringLiteral("FunInsFinContrato")),
    });
    dtgContratos->setEditable(true);
    dtgContratos->setDataSource(adcFuncionariosInstitutos);

    cmdNuevoContrato = new QPushButton(QStringLiteral("Nuevo"), this);
    cmdNuevoContrato->setObjectName(QStringLiteral("cmdNuevoContrato"));
    cmdNuevoContrato->setToolTip(QStringLiteral("Agregar un nuevo contrato al empleado seleccionado"));
    cmdGuardarContrato = new QPushButton(QStringLiteral("Guardar"), this);
    cmdGuardarContrato->setObjectName(QStringLiteral("cmdGuardarContrato"));
    cmdGuardarContrato->setToolTip(QStringLiteral("Guardar los cambios en los contratos"));
    cmdEliminarContrato = new QPushButton(QStringLiteral("Eliminar"), this);
    cmdEliminarContrato->setObjectName(QStringLiteral("cmdEliminarContrato"));
    cmdEliminarContrato->setToolTip(QStringLiteral("Elimina el contrato seleccionado"));
    addRowControl(cmdNuevoContrato);

    auto *contractButtons = new QHBoxLayout;
    contractButtons->addStretch(1);
    for (QPushButton *b : {cmdNuevoContrato, cmdGuardarContrato, cmdEliminarContrato})
        contractButtons->addWidget(b);
    extraArea()->addWidget(dtgContratos, 1);
    extraArea()->addLayout(contractButtons);

    ui::connectGuarded(cmdNuevoContrato, &QPushButton::clicked, this, &frmMantFuncionarios::cmdNuevoContrato_Click);
    ui::connectGuarded(cmdGuardarContrato, &QPushButton::clicked, this, &frmMantFuncionarios::cmdGuardarContrato_Click);
    ui::connectGuarded(cmdEliminarContrato, &QPushButton::clicked, this, &frmMantFuncionarios::cmdEliminarContrato_Click);
    resize(820, 640);
    open();
}

void frmMantFuncionarios::currentRowChanged(bool onRow)
{
    if (!onRow)
        return;
    // The contracts of the current staff row and no others. A row not saved yet has no
    // cedula, and the list empties.
    const QString cedula = dataControl()->value(QStringLiteral("FunCedula")).toString();
    adcFuncionariosInstitutos->setRecordSource(
        QStringLiteral("SELECT * FROM FUNCIONARIOS_INSTITUTOS WHERE FUNCEDULA=") + store::sql::text(cedula));
    reloadContracts();
}

void frmMantFuncionarios::reloadContracts()
{
    adcFuncionariosInstitutos->refresh();
    adcFuncionariosInstitutos->refresh();
    dtgContratos->refresh();
}

void frmMantFuncionarios::cmdNuevoContrato_Click()
{
    store::DataControl *staff = dataControl();
    if (!staff->hasCurrentRow())
        return;
    const QVariant cedula = staff->value(QStringLiteral("FunCedula"));
    if (staff->isNewRow() || cedula.toString().isEmpty()) {
        ui::msgBox(QStringLiteral("Guarde primero el funcionario."), {}, ui::Icon::Exclamation, this);
        return;
    }
    // Stops when the pending contract, written first by the move, is refused.
    if (!written([&] { adcFuncionariosInstitutos->addNew(); }))
        return;
    adcFuncionariosInstitutos->setValue(QStringLiteral("FunCedula"), cedula);
    const int row = dtgContratos->rowCount() - 1;
    if (row >= 0)
        dtgContratos->view()->setCurrentIndex(dtgContratos->view()->model()->index(row, 0));
}

void frmMantFuncionarios::cmdGuardarContrato_Click()
{
    if (adcFuncionariosInstitutos->hasCurrentRow() && !written([&] { adcFuncionariosInstitutos->update(); }))
        return;
    reloadContracts();
}

void frmMantFuncionarios::cmdEliminarContrato_Click()
{
    const int position = adcFuncionariosInstitutos->absolutePosition();
    if (position == store::DataControl::PosBOF || position == store::DataControl::PosEOF || position < 1) {
        ui::msgBox(QStringLiteral("Debe seleccionar un contrato para eliminar"), QStringLiteral("Verifique"),
                   ui::Icon::None, this);
        return;
    }
    if (!ui::ask(QStringLiteral("Confirma que desea borrar el contrato seleccionado ? "),
                 QStringLiteral("Esta seguro ?"), ui::Icon::Question, this))
        return;
    if (written([&] { adcFuncionariosInstitutos->deleteCurrent(); }))
        reloadContracts();
}
