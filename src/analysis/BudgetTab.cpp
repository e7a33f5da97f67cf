#include "analysis/BudgetTab.h"

#include "core/AreaSource.h"
#include "core/BudgetQuery.h"
#include "session/modPrincipal.h"
#include "store/DataControl.h"
#include "ui/DataGrid.h"
#include "ui/DataLists.h"
#include "ui/DatePicker.h"
#include "ui/Dialogs.h"
#include "ui/GuardedSlot.h"
#include "ui/Masks.h"

#include <QCheckBox>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QRadioButton>
#include <QVBoxLayout>

namespace analysis {
namespace {

BudgetTab::ReportOpener &reportOpener()
{
    static BudgetTab::ReportOpener opener;
    return opener;
}

}  // namespace

BudgetTab::BudgetTab(MainWindow window, QWidget *parent, store::DataControl *areas)
    : QWidget(parent), m_window(window)
{
    setObjectName(QStringLiteral("tabPresupuesto"));
    const bool super = window == MainWindow::SuperUsuario;

    m_adcPresupuesto = new store::DataControl(QStringLiteral("adcPresupuesto"), this);
    m_adcPresupuesto->setObjectName(QStringLiteral("adcPresupuesto"));
    // A few dozen groups over up to millions of records, read at once.
    m_adcPresupuesto->setReading(store::Connection::Reading::Whole);

    auto *outer = new QVBoxLayout(this);
    if (!super) {
        auto *intro = new QLabel(
            QStringLiteral("Por medio de esta consulta puede saber cuanto dinero ha pagado en horas de trabajo."), this);
        intro->setWordWrap(true);
        outer->addWidget(intro);
    }

    auto *top = new QHBoxLayout;
    outer->addLayout(top);

    // Options: the period.
    auto *fraConsulta = new QGroupBox(QStringLiteral("Opciones:"), this);
    fraConsulta->setObjectName(QStringLiteral("fraConsulta"));
    auto *fraLayout = new QGridLayout(fraConsulta);
    const char *captions[] = {"Mes en curso", "Año en curso", "Seleccionar período"};
    for (int i = 0; i < 3; ++i) {
        m_optConsulta[i] = new QRadioButton(QString::fromUtf8(captions[i]), fraConsulta);
        m_optConsulta[i]->setObjectName(QStringLiteral("optConsulta_%1").arg(i));
        fraLayout->addWidget(m_optConsulta[i], i, 0, 1, 4);
        ui::connectGuarded(m_optConsulta[i], &QRadioButton::clicked, this, &BudgetTab::optionClicked);
    }
    m_optConsulta[0]->setChecked(true);
    const QDate today = QDate::currentDate();
    m_dtpDesde = new ui::DatePicker(QStringLiteral("d-MMM-yy"), fraConsulta);
    m_dtpDesde->setObjectName(QStringLiteral("dtpDesde"));
    m_dtpDesde->setDate(QDate(today.year(), 1, 1));
    m_dtpHasta = new ui::DatePicker(QStringLiteral("d-MMM-yy"), fraConsulta);
    m_dtpHasta->setObjectName(QStringLiteral("dtpHasta"));
    m_dtpHasta->setDate(today);
    auto *lblDesde = new QLabel(QStringLiteral("Desde:"), fraConsulta);
    lblDesde->setBuddy(m_dtpDesde);
    auto *lblHasta = new QLabel(QStringLiteral("Hasta:"), fraConsulta);
    lblHasta->setBuddy(m_dtpHasta);
    fraLayout->addWidget(lblDesde, 3, 0);
    fraLayout->addWidget(m_dtpDesde, 3, 1);
    fraLayout->addWidget(lblHasta, 3, 2);
    fraLayout->addWidget(m_dtpHasta, 3, 3);
    m_dtpDesde->setEnabled(false);
    m_dtpHasta->setEnabled(false);
    top->addWidget(fraConsulta);

    // Activities and area.
    auto *filters = new QVBoxLayout;
    m_chkDocentes = new QCheckBox(QStringLiteral("Solo actividades docentes"), this);
    m_chkDocentes->setObjectName(QStringLiteral("chkActividadesDocentes"));
    m_chkNoDocentes = new QCheckBox(QStringLiteral("Solo actividades NO docentes"), this);
    m_chkNoDocentes->setObjectName(QStringLiteral("chkActividadesNoDocentes"));
    ui::connectGuarded(m_chkDocentes, &QCheckBox::clicked, this, &BudgetTab::docentesClicked);
    ui::connectGuarded(m_chkNoDocentes, &QCheckBox::clicked, this, &BudgetTab::noDocentesClicked);
    filters->addWidget(m_chkDocentes);
    filters->addWidget(m_chkNoDocentes);
    if (super) {
        m_chkSeleccionarArea = new QCheckBox(QStringLiteral("Solo horas realizadas en el área:"), this);
        m_chkSeleccionarArea->setObjectName(QStringLiteral("chkSeleccionarArea"));
        ui::connectGuarded(m_chkSeleccionarArea, &QCheckBox::clicked, this, &BudgetTab::areaBoxClicked);
        m_dtcSeleccionarArea = new ui::DataCombo(this);
        m_dtcSeleccionarArea->setObjectName(QStringLiteral("dtcSeleccionarArea"));
        m_adcAreas = core::areaSource(areas, this);
        m_dtcSeleccionarArea->setRowSource(m_adcAreas, QStringLiteral("AreDescripcion"), QStringLiteral("AreId"));
        m_dtcSeleccionarArea->setEnabled(false);
        filters->addWidget(m_chkSeleccionarArea);
        filters->addWidget(m_dtcSeleccionarArea);
    }
    filters->addStretch();
    top->addLayout(filters);

    auto *buttons = new QVBoxLayout;
    auto *cmdComenzar = new QPushButton(QStringLiteral("Comenzar"), this);
    cmdComenzar->setObjectName(QStringLiteral("cmdComenzar"));
    auto *cmdImprimir = new QPushButton(QStringLiteral("Imprimir"), this);
    cmdImprimir->setObjectName(QStringLiteral("cmdImprimir"));
    ui::connectGuarded(cmdComenzar, &QPushButton::clicked, this, &BudgetTab::comenzar);
    ui::connectGuarded(cmdImprimir, &QPushButton::clicked, this, &BudgetTab::imprimir);
    buttons->addWidget(cmdComenzar);
    buttons->addWidget(cmdImprimir);
    buttons->addStretch();
    top->addLayout(buttons);
    top->addStretch();

    m_dtgPresupuesto = new ui::DataGrid(this);
    m_dtgPresupuesto->setObjectName(QStringLiteral("dtgPresupuesto"));
    m_dtgPresupuesto->setCaption(QStringLiteral("RESULTADOS DE LA CONSULTA"));
    // By position: the two sums are the unnamed Expr1000 and Expr1001. No number format.
    const char *headings[] = {"Horas", "Importe", "Moneda", "Tipo", "Destino", "Actividad"};
    QList<ui::GridColumn> columns;
    for (int i = 0; i < 6; ++i) {
        ui::GridColumn c;
        c.heading = QString::fromUtf8(headings[i]);
        c.position = i;
        columns << c;
    }
    m_dtgPresupuesto->setColumns(columns);
    outer->addWidget(m_dtgPresupuesto, 1);

    auto *totals = new QHBoxLayout;
    m_lblTotalPesos = new QLabel(QStringLiteral("0"), this);
    m_lblTotalPesos->setObjectName(QStringLiteral("lblTotalPesos"));
    m_lblTotalDolares = new QLabel(QStringLiteral("0"), this);
    m_lblTotalDolares->setObjectName(QStringLiteral("lblTotalDolares"));
    totals->addWidget(new QLabel(QStringLiteral("Total pesos:"), this));
    totals->addWidget(m_lblTotalPesos);
    totals->addSpacing(24);
    totals->addWidget(new QLabel(QStringLiteral("Total dólares:"), this));
    totals->addWidget(m_lblTotalDolares);
    totals->addStretch();
    outer->addLayout(totals);

    setTabOrder(m_optConsulta[0], m_optConsulta[1]);
    setTabOrder(m_optConsulta[1], m_optConsulta[2]);
    setTabOrder(m_optConsulta[2], m_dtpDesde);
    setTabOrder(m_dtpDesde, m_dtpHasta);
    setTabOrder(m_dtpHasta, m_chkDocentes);
    setTabOrder(m_chkDocentes, m_chkNoDocentes);
    QWidget *last = m_chkNoDocentes;
    if (super) {
        setTabOrder(last, m_chkSeleccionarArea);
        setTabOrder(m_chkSeleccionarArea, m_dtcSeleccionarArea);
        last = m_dtcSeleccionarArea;
    }
    setTabOrder(last, cmdComenzar);
    setTabOrder(cmdComenzar, cmdImprimir);
    setTabOrder(cmdImprimir, m_dtgPresupuesto);
}

BudgetTab::~BudgetTab() = default;

void BudgetTab::setReportOpener(ReportOpener opener)
{
    reportOpener() = std::move(opener);
}

QString BudgetTab::reportName() const
{
    return m_window == MainWindow::SuperUsuario ? QStringLiteral("dtrPresupuestoSuperUsuario")
                                                : QStringLiteral("dtrPresupuestoJefeArea");
}

QString BudgetTab::statement() const
{
    return m_adcPresupuesto->recordSource();
}

void BudgetTab::optionClicked()
{
    const bool period = m_optConsulta[2]->isChecked();
    m_dtpDesde->setEnabled(period);
    m_dtpHasta->setEnabled(period);
}

void BudgetTab::docentesClicked(bool ticked)
{
    if (ticked)
        m_chkNoDocentes->setChecked(false);
}

void BudgetTab::noDocentesClicked(bool ticked)
{
    if (ticked)
        m_chkDocentes->setChecked(false);
}

void BudgetTab::areaBoxClicked(bool ticked)
{
    m_dtcSeleccionarArea->setEnabled(ticked);
}

QString BudgetTab::composeStatement() const
{
    core::BudgetQuery query;
    if (m_optConsulta[1]->isChecked()) {
        query.period = core::BudgetQuery::Period::CurrentYear;
    } else if (m_optConsulta[2]->isChecked()) {
        query.period = core::BudgetQuery::Period::Range;
        query.from = m_dtpDesde->date();
        query.to = m_dtpHasta->date();
    }
    if (m_chkDocentes->isChecked())
        query.activities = core::BudgetQuery::Activities::Teaching;
    else if (m_chkNoDocentes->isChecked())
        query.activities = core::BudgetQuery::Activities::NonTeaching;
    if (m_window == MainWindow::JefeArea) {
        query.area = modPrincipal::session().area;
        query.areaPlace = core::BudgetQuery::AreaPlace::AfterPeriod;
    } else if (m_chkSeleccionarArea->isChecked()) {
        query.area = m_dtcSeleccionarArea->boundText();
    }
    return query.statement();
}

void BudgetTab::comenzar()
{
    if (m_window == MainWindow::SuperUsuario && m_chkSeleccionarArea->isChecked() &&
        m_dtcSeleccionarArea->boundText().isEmpty()) {
        ui::msgBox(QStringLiteral("Debe seleccionar un área"), {}, ui::Icon::None, this);
    } else {
        m_adcPresupuesto->setRecordSource(composeStatement());
    }

    // Before any query there is nothing to read: the grid stays empty, the totals as they are.
    if (m_adcPresupuesto->recordSource().isEmpty()) {
        m_dtgPresupuesto->setDataSource(m_adcPresupuesto);
        m_dtgPresupuesto->refresh();
        return;
    }
    m_adcPresupuesto->refresh();
    m_dtgPresupuesto->setDataSource(m_adcPresupuesto);
    m_dtgPresupuesto->refresh();
    if (m_adcPresupuesto->recordCount() > 0)
        workOutTotals();
}

void BudgetTab::workOutTotals()
{
    store::DataControl &adc = *m_adcPresupuesto;
    core::BudgetTotals totals;
    const int amount = core::BudgetTotals::kAmountColumn;
    const int moneda = core::BudgetTotals::kCurrencyColumn;
    for (int row = 0; row < adc.recordCount(); ++row)
        totals.add(adc.valueAt(row, amount), adc.valueAt(row, moneda));
    adc.moveFirst();
    m_lblTotalDolares->setText(ui::formatValue(QVariant(totals.dolares), {}));
    m_lblTotalPesos->setText(ui::formatValue(QVariant(totals.pesos), {}));
}

void BudgetTab::imprimir()
{
    comenzar();
    if (m_adcPresupuesto->recordSource().isEmpty())
        return;
    if (reportOpener()) {
        reportOpener()(reportName(), *this);
        return;
    }
    ui::msgBox(QStringLiteral("El informe «Presupuesto de horas trabajadas» todavía no está disponible."), {},
               ui::Icon::Information, this);
}

}  // namespace analysis
