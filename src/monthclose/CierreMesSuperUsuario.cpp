#include "monthclose/CierreMesSuperUsuario.h"

#include "monthclose/MonthCloseParts.h"
#include "store/DataControl.h"
#include "store/SchemaInfo.h"
#include "store/SqlValue.h"
#include "ui/DataGrid.h"
#include "ui/DataLists.h"
#include "ui/Dialogs.h"
#include "ui/FieldBinding.h"
#include "ui/GuardedSlot.h"

#include <QCheckBox>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QVBoxLayout>

using monthclose::column;
using monthclose::flag;
using monthclose::labelFor;
using monthclose::standsOnRow;

namespace {

const QString kAllAreas = QStringLiteral(
    "SELECT CM.*, TRIM(F.FUNAPELLIDOS) + ',' + TRIM(F.FUNNOMBRES) FROM CIERREMESES CM, FUNCIONARIOS F "
    "WHERE CM.FUNCEDULA=F.FUNCEDULA");
const QString kOneArea = QStringLiteral(
    "SELECT CM.*, Trim(F.FUNNOMBRES)+', '+Trim(F.FUNAPELLIDOS) FROM CIERREMESES CM, FUNCIONARIOS F "
    "WHERE CM.FUNCEDULA=F.FUNCEDULA AND CM.AREID=");

}  // namespace

CierreMesSuperUsuario::CierreMesSuperUsuario(QWidget *parent) : QWidget(parent)
{
    setObjectName(QStringLiteral("CierreMesSuperUsuario"));
    m_adcAreas = new store::DataControl(QStringLiteral("adcAreas"), this);
    m_adcAreas->setRecordSource(QStringLiteral("SELECT * FROM AREAS"));
    m_adcAnios = new store::DataControl(QStringLiteral("adcAños"), this);
    m_adcMeses = new store::DataControl(QStringLiteral("adcMeses"), this);
    m_adcCierres = new store::DataControl(QStringLiteral("adcCierres"), this);
    m_adcCierres->setRecordSource(kAllAreas);
    buildControls();

    connect(m_adcCierres, &store::DataControl::currentChanged, this, &CierreMesSuperUsuario::onRowChanged);

    m_adcAreas->refresh();
    m_dtcAreas->refill();
    m_adcCierres->refresh();
    m_dtgCierreMeses->refresh();
}

CierreMesSuperUsuario::~CierreMesSuperUsuario() = default;

void CierreMesSuperUsuario::buildControls()
{
    m_dtcAreas = new ui::DataCombo(this);
    m_dtcAreas->setObjectName(QStringLiteral("dtcAreas"));
    m_dtcAreas->setRowSource(m_adcAreas, QStringLiteral("AreDescripcion"), QStringLiteral("AreId"));
    m_dtcAnios = new ui::DataCombo(this);
    m_dtcAnios->setObjectName(QStringLiteral("dtcAños"));
    m_dtcAnios->setRowSource(m_adcAnios, QStringLiteral("CIEMESANIOCIERRE"), QStringLiteral("CIEMESANIOCIERRE"));
    m_dtcAnios->setEnabled(false);
    m_dtcMeses = new ui::DataCombo(this);
    m_dtcMeses->setObjectName(QStringLiteral("dtcMeses"));
    m_dtcMeses->setRowSource(m_adcMeses, QStringLiteral("CIEMESMESCIERRE"), QStringLiteral("CIEMESMESCIERRE"));
    m_dtcMeses->setEnabled(false);

    m_dtgCierreMeses = new ui::DataGrid(this);
    m_dtgCierreMeses->setObjectName(QStringLiteral("dtgCierreMeses"));
    m_dtgCierreMeses->setCaption(QStringLiteral("Cierres de mes correspondientes al área seleccionada:"));
    const QString dateMask = QStringLiteral("d-MMM-yy");
    m_dtgCierreMeses->setColumns({
        column(QStringLiteral("Fecha de cierre"), QStringLiteral("CieMesFechaCierre"), dateMask),
        column(QStringLiteral("Fecha de envío"), QStringLiteral("CieMesFechaActual"), dateMask),
        column(QStringLiteral("Funcionario"), QStringLiteral("Expr1001")),
        column(QStringLiteral("Cerrado"), QStringLiteral("CieMesCerrado")),
    });
    m_dtgCierreMeses->setDataSource(m_adcCierres);

    m_chkCierreAutorizado = new QCheckBox(QStringLiteral("El cierre está autorizado"), this);
    m_chkCierreAutorizado->setObjectName(QStringLiteral("chkCierreAutorizado"));
    m_chkCierreNegado = new QCheckBox(QStringLiteral("Cierre no autorizado"), this);
    m_chkCierreNegado->setObjectName(QStringLiteral("chkCierreNegado"));
    m_txtComentarioJefeArea = new QPlainTextEdit(this);
    m_txtComentarioJefeArea->setObjectName(QStringLiteral("txtComentarioJefeArea"));
    m_txtComentarioJefeArea->setEnabled(false);
    m_txtComentarioSuperUsuario = new QPlainTextEdit(this);
    m_txtComentarioSuperUsuario->setObjectName(QStringLiteral("txtComentarioSuperUsuario"));
    m_txtComentarioSuperUsuario->setTabChangesFocus(true);
    m_cmdGuardar = new QPushButton(QStringLiteral("Guardar"), this);
    m_cmdGuardar->setObjectName(QStringLiteral("cmdGuardar"));
    m_cmdGuardar->setToolTip(QStringLiteral("Guardar los cambios en el cierre de mes seleccionado"));

    ui::FieldBinding::bind(m_chkCierreAutorizado, m_adcCierres, QStringLiteral("CieMesAprobado"));
    ui::FieldBinding::bind(m_chkCierreNegado, m_adcCierres, QStringLiteral("CieMesDesaprobado"));
    ui::FieldBinding::bind(m_txtComentarioJefeArea, m_adcCierres, QStringLiteral("CieMesComentarioJefeArea"));
    ui::FieldBinding::bind(m_txtComentarioSuperUsuario, m_adcCierres,
                           QStringLiteral("CieMesComentarioSuperUsuario"));

    auto *choice = new QHBoxLayout;
    choice->addWidget(labelFor(QStringLiteral("Área:"), m_dtcAreas));
    choice->addWidget(m_dtcAreas, 2);
    choice->addWidget(labelFor(QStringLiteral("Mes:"), m_dtcMeses));
    choice->addWidget(m_dtcMeses, 1);
    choice->addWidget(labelFor(QStringLiteral("Año:"), m_dtcAnios));
    choice->addWidget(m_dtcAnios, 1);

    auto *fields = new QGridLayout;
    fields->addWidget(m_chkCierreAutorizado, 0, 0);
    fields->addWidget(m_chkCierreNegado, 0, 1);
    fields->addWidget(labelFor(QStringLiteral("Comentario del Jéfe de área:"), m_txtComentarioJefeArea), 1, 0);
    fields->addWidget(labelFor(QStringLiteral("Comentario del Súper Usuario:"), m_txtComentarioSuperUsuario), 1, 1);
    fields->addWidget(m_txtComentarioJefeArea, 2, 0);
    fields->addWidget(m_txtComentarioSuperUsuario, 2, 1);

    auto *buttons = new QHBoxLayout;
    buttons->addStretch();
    buttons->addWidget(m_cmdGuardar);

    auto *layout = new QVBoxLayout(this);
    layout->addLayout(choice);
    layout->addWidget(m_dtgCierreMeses, 1);
    layout->addLayout(fields);
    layout->addLayout(buttons);

    setTabOrder(m_dtcAreas, m_dtcMeses);
    setTabOrder(m_dtcMeses, m_dtcAnios);
    setTabOrder(m_dtcAnios, m_dtgCierreMeses);
    setTabOrder(m_dtgCierreMeses, m_chkCierreAutorizado);
    setTabOrder(m_chkCierreAutorizado, m_chkCierreNegado);
    setTabOrder(m_chkCierreNegado, m_txtComentarioSuperUsuario);
    setTabOrder(m_txtComentarioSuperUsuario, m_cmdGuardar);

    ui::connectGuarded(m_dtcAreas, &ui::DataCombo::changed, this, &CierreMesSuperUsuario::dtcAreas_Change);
    ui::connectGuarded(m_dtcAnios, &ui::DataCombo::changed, this, &CierreMesSuperUsuario::dtcAnios_Change);
    // The box changes by the user's click and by the binding as the row changes.
    ui::connectGuarded(m_chkCierreAutorizado, &QCheckBox::toggled, this, &CierreMesSuperUsuario::chkCierreAutorizado_Click);
    ui::connectGuarded(m_cmdGuardar, &QPushButton::clicked, this, &CierreMesSuperUsuario::cmdGuardar_Click);
}

QString CierreMesSuperUsuario::areaStatement() const
{
    return kOneArea + store::sql::text(m_area);
}

void CierreMesSuperUsuario::showList(const QString &statement)
{
    m_adcCierres->setRecordSource(statement);
    m_adcCierres->refresh();
    m_adcCierres->refresh();
    m_dtgCierreMeses->refresh();
}

void CierreMesSuperUsuario::dtcAreas_Change()
{
    m_area = m_dtcAreas->boundText();
    const QString area = store::sql::text(m_area);
    m_adcAnios->setRecordSource(
        QStringLiteral("SELECT DISTINCT CIEMESANIOCIERRE FROM CIERREMESES WHERE AREID=") + area);
    m_adcAnios->refresh();
    m_adcAnios->refresh();
    m_dtcAnios->refill();
    m_adcMeses->setRecordSource(QStringLiteral("SELECT DISTINCT CIEMESMESCIERRE FROM CIERREMESES WHERE AREID=") +
                                area);
    m_adcMeses->refresh();
    m_adcMeses->refresh();
    m_dtcMeses->refill();
    showList(areaStatement());
    m_dtcAnios->setEnabled(true);
    m_dtcMeses->setEnabled(true);
}

// The year narrows the list to the month chosen before it.
void CierreMesSuperUsuario::dtcAnios_Change()
{
    const QString year = m_dtcAnios->boundText().trimmed();
    const QString month = m_dtcMeses->boundText().trimmed();
    if (year.isEmpty() && month.isEmpty()) {
        showList(areaStatement());
        return;
    }
    if (year.isEmpty() || month.isEmpty()) {
        ui::msgBox(QStringLiteral("Elija primero el mes y después el año del cierre que desea ver."), {},
                   ui::Icon::Exclamation, this);
        return;
    }
    showList(areaStatement() + QStringLiteral(" AND CM.CIEMESMESCIERRE=") + store::sql::number(month) +
             QStringLiteral(" AND CM.CIEMESANIOCIERRE=") + store::sql::number(year));
}

// Whenever the list stands on a row: an approved request can no longer be approved or
// denied.
void CierreMesSuperUsuario::onRowChanged()
{
    if (!standsOnRow(m_adcCierres))
        return;
    const bool approved = flag(m_adcCierres->value(QStringLiteral("CieMesAprobado")));
    m_chkCierreAutorizado->setEnabled(!approved);
    m_chkCierreNegado->setEnabled(!approved);
}

void CierreMesSuperUsuario::chkCierreAutorizado_Click()
{
    if (m_settingBox || !m_chkCierreAutorizado->isChecked() || !m_adcCierres->hasCurrentRow())
        return;
    // The binding showing an approved row, or an approval already confirmed on this row.
    if (flag(m_adcCierres->value(QStringLiteral("CieMesAprobado"))))
        return;
    const QString question = QStringLiteral("Está seguro de autorizar el cierre de el mes %1/%2 del área %3 ?")
                                 .arg(m_adcCierres->value(QStringLiteral("CieMesMesCierre")).toString(),
                                      m_adcCierres->value(QStringLiteral("CieMesAnioCierre")).toString(),
                                      m_adcCierres->value(QStringLiteral("AreId")).toString());
    const bool yes = ui::ask(question, QStringLiteral("Confirme"), ui::Icon::Question, this);
    m_adcCierres->setValue(QStringLiteral("CieMesAprobado"), yes);
    if (!yes) {
        // The box shows the row again; the untick reaches the row with the next write.
        m_settingBox = true;
        m_chkCierreAutorizado->setChecked(false);
        m_settingBox = false;
    }
}

void CierreMesSuperUsuario::cmdGuardar_Click()
{
    if (!m_adcCierres->hasCurrentRow()) {
        ui::msgBox(QStringLiteral("Seleccione primero un cierre de mes de la lista."), {}, ui::Icon::Exclamation,
                   this);
        return;
    }
    m_adcCierres->update();
    m_adcCierres->refresh();
    m_adcCierres->refresh();
    m_dtgCierreMeses->refresh();
}
