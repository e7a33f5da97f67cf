#include "hours/HoursForm.h"

#include "session/modPrincipal.h"
#include "store/DataControl.h"
#include "store/SchemaInfo.h"
#include "store/SqlValue.h"
#include "store/StoreError.h"
#include "ui/DataLists.h"
#include "ui/DatePicker.h"
#include "ui/Dialogs.h"
#include "ui/FieldBinding.h"
#include "ui/GuardedSlot.h"
#include "ui/MaskedEdit.h"
#include "ui/MonthView.h"

#include <QCheckBox>
#include <QComboBox>
#include <QFrame>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTabWidget>
#include <QVBoxLayout>

using store::DataControl;
namespace sql = store::sql;

namespace {

const QString kHoras = QStringLiteral("SELECT * FROM HORAS");
const QString kHorasRubrosMaterias = QStringLiteral("SELECT * FROM HORAS_RUBROS_MATERIAS");
const QString kContratos = QStringLiteral(
    "SELECT * FROM FUNCIONARIOS_INSTITUTOS FI, INSTITUTOS I, FUNCIONARIOS F, AREAS A WHERE FI.INSID=I.INSID AND "
    "FI.FUNCEDULA=F.FUNCEDULA AND FI.AREID=A.AREID");

template <typename W>
W *named(W *widget, const QString &name)
{
    widget->setObjectName(name);
    return widget;
}

QLineEdit *readOnlyBox(const QString &name)
{
    auto *box = named(new QLineEdit, name);
    box->setEnabled(false);
    return box;
}

// A panel that groups fields; it has no logic of its own.
QFrame *panel(const QString &name)
{
    auto *frame = named(new QFrame, name);
    frame->setFrameShape(QFrame::StyledPanel);
    return frame;
}

void addRow(QGridLayout *grid, int row, const QString &label, QWidget *control, QWidget *second = nullptr)
{
    auto *caption = new QLabel(label);
    caption->setBuddy(control);
    grid->addWidget(caption, row, 0);
    if (second) {
        auto *pair = new QHBoxLayout;
        pair->addWidget(control);
        pair->addWidget(second);
        grid->addLayout(pair, row, 1);
    } else {
        grid->addWidget(control, row, 1);
    }
}

QDate dateOf(const QVariant &value)
{
    if (value.isNull())
        return {};
    if (value.typeId() == QMetaType::QDateTime)
        return value.toDateTime().date();
    return value.toDate();
}

}  // namespace

HoursForm::HoursForm(const QString &name, const QString &title, QWidget *parent) : QWidget(parent)
{
    setObjectName(name);
    setWindowTitle(title);
    setAttribute(Qt::WA_DeleteOnClose);

    adcHoras = new DataControl(QStringLiteral("adcHoras"), this);
    adcHorasRubrosMaterias = new DataControl(QStringLiteral("adcHorasRubrosMaterias"), this);
    adcContratos = new DataControl(QStringLiteral("adcContratos"), this);
    adcAreas = new DataControl(QStringLiteral("adcAreas"), this);
    adcActividades = new DataControl(QStringLiteral("adcActividades"), this);
    adcRubros = new DataControl(QStringLiteral("adcRubros"), this);
    adcMaterias = new DataControl(QStringLiteral("adcMaterias"), this);
    adcDestinos = new DataControl(QStringLiteral("adcDestinos"), this);
    adcTipoHoras = new DataControl(QStringLiteral("adcTipoHoras"), this);
    adcHoras->setRecordSource(kHoras);
    adcHorasRubrosMaterias->setRecordSource(kHorasRubrosMaterias);
    adcContratos->setRecordSource(kContratos);
    adcAreas->setRecordSource(QStringLiteral("SELECT * FROM AREAS"));
    adcActividades->setRecordSource(QStringLiteral("SELECT * FROM ACTIVIDADES"));
    adcRubros->setRecordSource(QStringLiteral("SELECT * FROM RUBROS"));
    adcMaterias->setRecordSource(QStringLiteral("SELECT * FROM MATERIAS"));
    adcDestinos->setRecordSource(QStringLiteral("SELECT * FROM DESTINOS"));
    adcTipoHoras->setRecordSource(QStringLiteral("SELECT * FROM TIPOHORAS"));

    buildControls();
    bindControls();

    ui::connectGuarded(dtpFechas[0], &ui::DatePicker::dateChanged, this, &HoursForm::onDateChanged);
    ui::connectGuarded(dtcAreas, &ui::DataCombo::changed, this, &HoursForm::onAreaChanged);
    ui::connectGuarded(dtcActividades, &ui::DataCombo::changed, this, &HoursForm::onActivityChanged);
    ui::connectGuarded(dtcRubros, &ui::DataCombo::changed, this, &HoursForm::onRubroChanged);
    ui::connectGuarded(dtcContratos, &ui::DataCombo::changed, this, &HoursForm::onContractChanged);
    ui::connectGuarded(cmdGuardar, &QPushButton::clicked, this, [this] { guardar(); });
    connect(cmdCerrar, &QPushButton::clicked, this, &QWidget::close);
}

HoursForm::~HoursForm() = default;

void HoursForm::buildControls()
{
    // Tab "Horas".
    dtpFechas[0] = named(new ui::DatePicker(QStringLiteral("d-MMM-yy")), QStringLiteral("dtpFechas_0"));
    txtSemana = readOnlyBox(QStringLiteral("txtSemana"));
    dtcAreas = named(new ui::DataCombo, QStringLiteral("dtcAreas"));
    dtcActividades = named(new ui::DataCombo, QStringLiteral("dtcActividades"));
    dtcActividades->setEnabled(false);
    dtcRubros = named(new ui::DataCombo, QStringLiteral("dtcRubros"));
    dtcRubros->setEnabled(false);
    dtcMaterias = named(new ui::DataCombo, QStringLiteral("dtcMaterias"));
    dtcMaterias->setEnabled(false);
    dtcDestinos = named(new ui::DataCombo, QStringLiteral("dtcDestinos"));
    dtcTipoHoras = named(new ui::DataCombo, QStringLiteral("dtcTipoHoras"));
    txtHoras = named(new ui::MaskedEdit(QStringLiteral("0,00"), 6), QStringLiteral("txtHoras"));
    cboTurno = named(new QComboBox, QStringLiteral("cboTurno"));
    cboTurno->addItems({QStringLiteral("Mañana"), QStringLiteral("Tarde"), QStringLiteral("Noche")});
    cboTurno->setCurrentIndex(-1);
    cboTurno->setEnabled(false);
    txtHorarioInicial = named(new ui::MaskedEdit(QStringLiteral("H:mm")), QStringLiteral("txtHorarioInicial"));
    txtHorarioInicial->setEnabled(false);
    txtHorarioFinal = named(new ui::MaskedEdit(QStringLiteral("H:mm")), QStringLiteral("txtHorarioFinal"));
    txtHorarioFinal->setEnabled(false);
    txtValorHora = named(new ui::MaskedEdit(QString(), 6), QStringLiteral("txtValorHora"));
    txtCategoria = named(new ui::MaskedEdit(QString(), 2), QStringLiteral("txtCategoria"));
    txtCategoria->setEnabled(false);
    cboMoneda = named(new QComboBox, QStringLiteral("cboMoneda"));
    cboMoneda->addItems({QStringLiteral("Pesos Uruguayos"), QStringLiteral("Dolares")});
    cboMoneda->setCurrentIndex(-1);
    mvSemana = named(new ui::MonthView(this), QStringLiteral("mvSemana"));
    mvSemana->setVisible(false);

    auto *horasTab = named(new QWidget, QStringLiteral("picHoras"));
    auto *horasLayout = new QVBoxLayout(horasTab);

    auto *fechaPanel = panel(QStringLiteral("picFechaSemana"));
    auto *fechaGrid = new QGridLayout(fechaPanel);
    addRow(fechaGrid, 0, QStringLiteral("Fecha:"), dtpFechas[0]);
    addRow(fechaGrid, 1, QStringLiteral("Semana:"), txtSemana);
    horasLayout->addWidget(fechaPanel);

    auto *horasPanel = panel(QStringLiteral("PicHorasRealizadas"));
    auto *horasGrid = new QGridLayout(horasPanel);
    addRow(horasGrid, 0, QStringLiteral("Area:"), dtcAreas);
    addRow(horasGrid, 1, QStringLiteral("Actividad:"), dtcActividades);
    addRow(horasGrid, 2, QStringLiteral("Destino:"), dtcDestinos);
    addRow(horasGrid, 3, QStringLiteral("Tipo de horas:"), dtcTipoHoras);
    addRow(horasGrid, 4, QStringLiteral("Horas:"), txtHoras);
    horasLayout->addWidget(horasPanel);

    auto *docentePanel = panel(QStringLiteral("picDocente"));
    auto *docenteGrid = new QGridLayout(docentePanel);
    addRow(docenteGrid, 0, QStringLiteral("Rubro:"), dtcRubros);
    addRow(docenteGrid, 1, QStringLiteral("Materia:"), dtcMaterias);
    addRow(docenteGrid, 2, QStringLiteral("Turno:"), cboTurno);
    addRow(docenteGrid, 3, QStringLiteral("Horario:"), txtHorarioInicial, txtHorarioFinal);
    horasLayout->addWidget(docentePanel);

    auto *valorPanel = panel(QStringLiteral("picValorHora"));
    auto *valorGrid = new QGridLayout(valorPanel);
    addRow(valorGrid, 0, QStringLiteral("Valor de la hora:"), txtValorHora);
    addRow(valorGrid, 1, QStringLiteral("Categoría:"), txtCategoria);
    addRow(valorGrid, 2, QStringLiteral("Moneda:"), cboMoneda);
    horasLayout->addWidget(valorPanel);
    horasLayout->addStretch();

    // Tab "Contrato": all but the choice of contract is there to be read.
    dtcContratos = named(new ui::DataCombo, QStringLiteral("dtcContratos"));
    txtCedula = readOnlyBox(QStringLiteral("txtCedula"));
    txtNombres = readOnlyBox(QStringLiteral("txtNombres"));
    txtApellidos = readOnlyBox(QStringLiteral("txtApellidos"));
    txtDireccion = readOnlyBox(QStringLiteral("txtDireccion"));
    txtTelefonos = readOnlyBox(QStringLiteral("txtTelefonos"));
    chkFacturador = named(new QCheckBox(QStringLiteral("Factura las horas")), QStringLiteral("chkFacturador"));
    chkFacturador->setEnabled(false);
    txtContratoArea = readOnlyBox(QStringLiteral("txtContratoArea"));
    txtContratoInstituto = readOnlyBox(QStringLiteral("txtContratoInstituto"));
    txtContratoCategoria = readOnlyBox(QStringLiteral("txtContratoCategoria"));
    txtContratoHorasSemanales = readOnlyBox(QStringLiteral("txtContratoHorasSemanales"));
    txtContratoValorHora = readOnlyBox(QStringLiteral("txtContratoValorHora"));
    txtContratoMoneda = readOnlyBox(QStringLiteral("txtContratoMoneda"));
    txtContratoHoraEntrada = readOnlyBox(QStringLiteral("txtContratoHoraEntrada"));
    txtContratoHoraSalida = readOnlyBox(QStringLiteral("txtContratoHoraSalida"));
    for (int i = 1; i <= 2; ++i) {
        dtpFechas[i] = named(new ui::DatePicker(QStringLiteral("d-M-yy")), QStringLiteral("dtpFechas_%1").arg(i));
        dtpFechas[i]->setEnabled(false);
    }

    auto *contratoTab = named(new QWidget, QStringLiteral("picTabContrato"));
    auto *contratoLayout = new QVBoxLayout(contratoTab);
    auto *choice = new QGridLayout;
    addRow(choice, 0, QStringLiteral("Seleccione el código de contrato:"), dtcContratos);
    contratoLayout->addLayout(choice);
    auto *contratoPanel = panel(QStringLiteral("picContrato"));
    auto *contratoGrid = new QGridLayout(contratoPanel);
    int row = 0;
    addRow(contratoGrid, row++, QStringLiteral("Cedula:"), txtCedula);
    addRow(contratoGrid, row++, QStringLiteral("Nombres:"), txtNombres);
    addRow(contratoGrid, row++, QStringLiteral("Apellidos:"), txtApellidos);
    addRow(contratoGrid, row++, QStringLiteral("Dirección:"), txtDireccion);
    addRow(contratoGrid, row++, QStringLiteral("Telefonos:"), txtTelefonos);
    contratoGrid->addWidget(chkFacturador, row++, 1);
    addRow(contratoGrid, row++, QStringLiteral("Area:"), txtContratoArea);
    addRow(contratoGrid, row++, QStringLiteral("Instituto:"), txtContratoInstituto);
    addRow(contratoGrid, row++, QStringLiteral("Categoría:"), txtContratoCategoria);
    addRow(contratoGrid, row++, QStringLiteral("Horas semanales:"), txtContratoHorasSemanales);
    addRow(contratoGrid, row++, QStringLiteral("Valor hora:"), txtContratoValorHora);
    addRow(contratoGrid, row++, QStringLiteral("Moneda:"), txtContratoMoneda);
    addRow(contratoGrid, row++, QStringLiteral("H.entrada:"), txtContratoHoraEntrada);
    addRow(contratoGrid, row++, QStringLiteral("H.salida:"), txtContratoHoraSalida);
    addRow(contratoGrid, row++, QStringLiteral("Inicio:"), dtpFechas[1]);
    addRow(contratoGrid, row++, QStringLiteral("Fin:"), dtpFechas[2]);
    contratoLayout->addWidget(contratoPanel);
    contratoLayout->addStretch();

    tabRegistroHoras = named(new QTabWidget, QStringLiteral("tabRegistroHoras"));
    tabRegistroHoras->addTab(horasTab, QStringLiteral("Horas"));
    tabRegistroHoras->addTab(contratoTab, QStringLiteral("Contrato"));

    cmdGuardar = named(new QPushButton(QStringLiteral("Guardar")), QStringLiteral("cmdGuardar"));
    cmdGuardar->setToolTip(QStringLiteral("Guarda los cambios"));
    cmdCerrar = named(new QPushButton(QStringLiteral("Cerrar")), QStringLiteral("cmdCerrar"));
    cmdCerrar->setToolTip(QStringLiteral("Cerrar la ventana de registro de horas"));

    auto *buttons = new QHBoxLayout;
    buttons->addStretch();
    buttons->addWidget(cmdGuardar);
    buttons->addWidget(cmdCerrar);
    auto *main = new QVBoxLayout(this);
    main->addWidget(tabRegistroHoras);
    main->addLayout(buttons);

    setTabOrder(dtpFechas[0], dtcAreas);
    setTabOrder(dtcAreas, dtcActividades);
    setTabOrder(dtcActividades, dtcDestinos);
    setTabOrder(dtcDestinos, dtcTipoHoras);
    setTabOrder(dtcTipoHoras, txtHoras);
    setTabOrder(txtHoras, dtcRubros);
    setTabOrder(dtcRubros, dtcMaterias);
    setTabOrder(dtcMaterias, cboTurno);
    setTabOrder(cboTurno, txtHorarioInicial);
    setTabOrder(txtHorarioInicial, txtHorarioFinal);
    setTabOrder(txtHorarioFinal, txtValorHora);
    setTabOrder(txtValorHora, txtCategoria);
    setTabOrder(txtCategoria, cboMoneda);
    setTabOrder(cboMoneda, cmdGuardar);
    setTabOrder(cmdGuardar, cmdCerrar);
}

void HoursForm::bindControls()
{
    ui::FieldBinding::bind(txtSemana, adcHoras, QStringLiteral("HorSemana"));
    ui::FieldBinding::bind(txtHoras, adcHoras, QStringLiteral("HorHoras"), QStringLiteral("0,00"));
    ui::FieldBinding::bind(txtHorarioInicial, adcHoras, QStringLiteral("HorHorarioInicial"), QStringLiteral("H:mm"));
    ui::FieldBinding::bind(txtHorarioFinal, adcHoras, QStringLiteral("HorHorarioFinal"), QStringLiteral("H:mm"));
    ui::FieldBinding::bind(txtValorHora, adcHoras, QStringLiteral("HorValorhora"));
    ui::FieldBinding::bind(txtCategoria, adcHoras, QStringLiteral("HorCategoria"));

    dtcAreas->setRowSource(adcAreas, QStringLiteral("AreDescripcion"), QStringLiteral("AreId"));
    dtcAreas->setDataSource(adcHoras, QStringLiteral("AreId"));
    dtcActividades->setRowSource(adcActividades, QStringLiteral("ActDescripcion"), QStringLiteral("ActId"));
    dtcActividades->setDataSource(adcHoras, QStringLiteral("ActId"));
    dtcRubros->setRowSource(adcRubros, QStringLiteral("RubDescripcion"), QStringLiteral("RubId"));
    dtcMaterias->setRowSource(adcMaterias, QStringLiteral("MatDescripcion"), QStringLiteral("MatId"));
    dtcDestinos->setRowSource(adcDestinos, QStringLiteral("DesDescripcion"), QStringLiteral("DesId"));
    dtcDestinos->setDataSource(adcHoras, QStringLiteral("DesId"));
    dtcTipoHoras->setRowSource(adcTipoHoras, QStringLiteral("TipDescripcion"), QStringLiteral("TipId"));
    dtcTipoHoras->setDataSource(adcHoras, QStringLiteral("TipId"));

    dtcContratos->setRowSource(adcContratos, QStringLiteral("FunInsId"), QStringLiteral("FunInsId"));
    dtcContratos->setDataSource(adcHoras, QStringLiteral("FunInsId"));
    ui::FieldBinding::bind(txtCedula, adcContratos, QStringLiteral("FunCedula"));
    ui::FieldBinding::bind(txtNombres, adcContratos, QStringLiteral("FunNombres"));
    ui::FieldBinding::bind(txtApellidos, adcContratos, QStringLiteral("FunApellidos"));
    ui::FieldBinding::bind(txtDireccion, adcContratos, QStringLiteral("FunDireccion"));
    ui::FieldBinding::bind(txtTelefonos, adcContratos, QStringLiteral("FunTelefonos"));
    ui::FieldBinding::bind(chkFacturador, adcContratos, QStringLiteral("FunFacturador"));
    ui::FieldBinding::bind(txtContratoArea, adcContratos, QStringLiteral("AreDescripcion"));
    ui::FieldBinding::bind(txtContratoInstituto, adcContratos, QStringLiteral("InsDescripcion"));
    ui::FieldBinding::bind(txtContratoCategoria, adcContratos, QStringLiteral("FunInsCategoria"));
    ui::FieldBinding::bind(txtContratoHorasSemanales, adcContratos, QStringLiteral("FunInsHoras_Semanales"),
                           QStringLiteral("0,00"));
    ui::FieldBinding::bind(txtContratoValorHora, adcContratos, QStringLiteral("FunInsValor_Hora"),
                           QStringLiteral("0,00"));
    ui::FieldBinding::bind(txtContratoMoneda, adcContratos, QStringLiteral("FunInsMoneda"));
    ui::FieldBinding::bind(txtContratoHoraEntrada, adcContratos, QStringLiteral("FunInsHorarioEntrada"),
                           QStringLiteral("H:mm"));
    ui::FieldBinding::bind(txtContratoHoraSalida, adcContratos, QStringLiteral("FunInsHorarioSalida"),
                           QStringLiteral("H:mm"));
}

void HoursForm::openLists()
{
    for (DataControl *adc : {adcAreas, adcActividades, adcRubros, adcMaterias, adcDestinos, adcTipoHoras})
        adc->refresh();
}

void HoursForm::loadContracts()
{
    adcContratos->setRecordSource(
        QStringLiteral("SELECT * FROM FUNCIONARIOS_INSTITUTOS FI, INSTITUTOS I, FUNCIONARIOS F, AREAS A WHERE "
                       "FI.FUNCEDULA=%1 AND FI.INSID=I.INSID AND FI.FUNCEDULA=F.FUNCEDULA AND FI.AREID=A.AREID")
            .arg(sql::text(modPrincipal::session().person)));
    refreshTwice(adcContratos);
    dtcContratos->refill();
    if (adcContratos->recordCount() > 0)
        adcContratos->moveFirst();
}

void HoursForm::showHorasFields(std::initializer_list<QWidget *> controls)
{
    for (QWidget *control : controls)
        if (ui::FieldBinding *binding = ui::FieldBinding::of(control))
            binding->show();
}

void HoursForm::onDateChanged()
{
    mvSemana->setValue(dtpFechas[0]->date());
    const int semana = mvSemana->week() - 1;
    txtSemana->setText(QString::number(semana));
    // The box is never typed in, so the number goes to the row here.
    if (adcHoras->hasCurrentRow())
        adcHoras->setValue(QStringLiteral("HorSemana"), semana);
}

void HoursForm::onAreaChanged()
{
    dtcActividades->setEnabled(true);
    adcActividades->setRecordSource(
        QStringLiteral("SELECT * FROM AREAS_ACTIVIDADES AA, ACTIVIDADES ACT WHERE AA.AREID=%1 AND AA.ACTID=ACT.ACTID")
            .arg(sql::text(dtcAreas->boundText().trimmed())));
    refreshTwice(adcActividades);
    dtcActividades->refill();
}

bool HoursForm::activityIsTeaching() const
{
    if (dtcActividades->currentIndex() < 0 || !adcActividades->hasCurrentRow()
        || adcActividades->fieldIndex(QStringLiteral("ActEsDocente")) < 0)
        return false;
    return store::normalize(store::ColumnKind::YesNo, adcActividades->value(QStringLiteral("ActEsDocente"))).toBool();
}

void HoursForm::onActivityChanged()
{
    if (activityIsTeaching()) {
        for (QWidget *w : std::initializer_list<QWidget *>{dtcRubros, dtcMaterias, cboTurno, txtHorarioInicial,
                                                            txtHorarioFinal})
            w->setEnabled(true);
        adcRubros->setRecordSource(
            QStringLiteral("SELECT R.RUBID, R.RUBDESCRIPCION FROM RUBROS R, DOCENTES_RUBROS_MATERIAS DRM WHERE "
                           "R.RUBID=DRM.RUBID AND DRM.ACTID=%1")
                .arg(sql::text(dtcActividades->boundText())));
        refreshTwice(adcRubros);
        dtcRubros->refill();
    } else {
        // The schedule boxes stay as they are: once enabled they remain so.
        dtcRubros->setEnabled(false);
        dtcMaterias->setEnabled(false);
        cboTurno->setEnabled(false);
    }
}

void HoursForm::onRubroChanged()
{
    adcMaterias->setRecordSource(materiasStatement(dtcActividades->boundText(), dtcRubros->boundText()));
    refreshTwice(adcMaterias);
    dtcMaterias->refill();
    dtcMaterias->setEnabled(true);
}

void HoursForm::showContractDates()
{
    QDate inicio;
    QDate fin;
    if (adcContratos->hasCurrentRow()) {
        inicio = dateOf(adcContratos->value(QStringLiteral("FunInsInicio")));
        fin = dateOf(adcContratos->value(QStringLiteral("FunInsFinal")));
    }
    dtpFechas[1]->setDate(inicio);  // a null date leaves the picker blank
    dtpFechas[2]->setDate(fin);
}

void HoursForm::onContractChanged()
{
    showContractDates();
    const bool billing = chkFacturador->isChecked();
    txtValorHora->setEnabled(billing);
    txtCategoria->setEnabled(billing);
}

core::HoursEntry HoursForm::entryOnScreen()
{
    // Read before anything else: the bound combos hand over to the row on Move 0.
    const bool teaching = activityIsTeaching();
    adcHoras->move0();
    core::HoursEntry entry = core::entryFromColumns([this](const QString &column) { return adcHoras->value(column); });
    entry.fecha = dtpFechas[0]->date();
    entry.moneda = cboMoneda->currentIndex() >= 0 ? cboMoneda->currentText() : QString(QLatin1String(""));
    entry.funInsId = adcContratos->hasCurrentRow() ? adcContratos->value(QStringLiteral("FunInsId")) : QVariant();
    entry.teaching = teaching;
    entry.rubId = dtcRubros->boundText();
    entry.matId = dtcMaterias->boundText();
    entry.turno = cboTurno->currentIndex() >= 0 ? cboTurno->currentText() : QString(QLatin1String(""));
    return entry;
}

void HoursForm::finishSave(const core::HoursSaveResult &result)
{
    if (result.saved) {
        close();
        return;
    }
    ui::msgBox(result.message, {}, result.warning ? ui::Icon::Exclamation : ui::Icon::None, this);
}

void HoursForm::bringForward()
{
    show();
    raise();
    activateWindow();
}

void HoursForm::refreshTwice(store::DataControl *adc)
{
    adc->refresh();
    adc->refresh();
}
