#include "analysis/StatisticsTab.h"

#include "analysis/frmEstadisticasJefeArea.h"
#include "analysis/frmEstadisticasSuperUsuario.h"
#include "core/AreaSource.h"
#include "core/StatisticsQuery.h"
#include "store/DataControl.h"
#include "ui/DataLists.h"
#include "ui/DatePicker.h"
#include "ui/GuardedSlot.h"

#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QRadioButton>
#include <QVBoxLayout>

namespace analysis {
namespace {

using core::StatisticsQuery;

// optAgrupar and the menu entries, in their order.
constexpr StatisticsQuery::Grouping kGroupings[4] = {StatisticsQuery::Grouping::Activity, StatisticsQuery::Grouping::Area,
                                                     StatisticsQuery::Grouping::Destination,
                                                     StatisticsQuery::Grouping::Type};

}  // namespace

StatisticsTab::StatisticsTab(MainWindow window, QWidget *parent, store::DataControl *staff, store::DataControl *areas)
    : QWidget(parent), m_window(window)
{
    setObjectName(QStringLiteral("tabEstadisticas"));
    const bool super = window == MainWindow::SuperUsuario;

    auto *outer = new QHBoxLayout(this);

    auto *fraOpciones = new QGroupBox(QStringLiteral("Opciones:"), this);
    fraOpciones->setObjectName(QStringLiteral("fraEstadisticas"));
    auto *opciones = new QGridLayout(fraOpciones);
    QStringList captions = {QStringLiteral("Solo actividades docentes"), QStringLiteral("Solo actividades NO docentes"),
                            QStringLiteral("Seleccionar un período")};
    if (super)
        captions << QStringLiteral("Solo horas realizadas en el área:");
    captions << QStringLiteral("Solo horas del funcionario:");
    for (int i = 0; i < captions.size(); ++i) {
        auto *opt = new QRadioButton(captions.at(i), fraOpciones);
        opt->setObjectName(QStringLiteral("optEstadisticas_%1").arg(i));
        ui::connectGuarded(opt, &QRadioButton::clicked, this, [this, i] { optionClicked(i); });
        m_optEstadisticas << opt;
    }
    m_optEstadisticas[0]->setChecked(true);

    // The pickers start at the first and the last day of the year, disabled until their
    // option is clicked.
    const int year = QDate::currentDate().year();
    m_dtpDesde = new ui::DatePicker(QStringLiteral("d-MMM-yy"), fraOpciones);
    m_dtpDesde->setObjectName(QStringLiteral("dtpEstadisticasDesde"));
    m_dtpDesde->setDate(QDate(year, 1, 1));
    m_dtpDesde->setEnabled(false);
    m_dtpHasta = new ui::DatePicker(QStringLiteral("d-MMM-yy"), fraOpciones);
    m_dtpHasta->setObjectName(QStringLiteral("dtpEstadisticasHasta"));
    m_dtpHasta->setDate(QDate(year, 12, 31));
    m_dtpHasta->setEnabled(false);

    int row = 0;
    opciones->addWidget(m_optEstadisticas[0], row++, 0, 1, 4);
    opciones->addWidget(m_optEstadisticas[1], row++, 0, 1, 4);
    opciones->addWidget(m_optEstadisticas[2], row++, 0, 1, 4);
    auto *lblDesde = new QLabel(QStringLiteral("Desde:"), fraOpciones);
    lblDesde->setBuddy(m_dtpDesde);
    auto *lblHasta = new QLabel(QStringLiteral("Hasta:"), fraOpciones);
    lblHasta->setBuddy(m_dtpHasta);
    opciones->addWidget(lblDesde, row, 0);
    opciones->addWidget(m_dtpDesde, row, 1);
    opciones->addWidget(lblHasta, row, 2);
    opciones->addWidget(m_dtpHasta, row++, 3);
    if (super) {
        m_dtcAreas = new ui::DataCombo(fraOpciones);
        m_dtcAreas->setObjectName(QStringLiteral("dtcEstadisticasAreas"));
        m_adcAreas = core::areaSource(areas, this);
        m_dtcAreas->setRowSource(m_adcAreas, QStringLiteral("AreDescripcion"), QStringLiteral("AreId"));
        m_dtcAreas->setEnabled(false);
        opciones->addWidget(m_optEstadisticas[areaOption()], row++, 0, 1, 4);
        opciones->addWidget(m_dtcAreas, row++, 1, 1, 3);
    }
    m_dtcFuncionarios = new ui::DataCombo(fraOpciones);
    m_dtcFuncionarios->setObjectName(QStringLiteral("dtcEstadisticasFuncionarios"));
    m_dtcFuncionarios->setEnabled(false);
    opciones->addWidget(m_optEstadisticas[staffOption()], row++, 0, 1, 4);
    opciones->addWidget(m_dtcFuncionarios, row++, 1, 1, 3);
    setStaffSource(staff);
    outer->addWidget(fraOpciones);

    auto *right = new QVBoxLayout;
    auto *fraAgrupar = new QGroupBox(QStringLiteral("Como agrupar los datos dentro de la gráfica"), this);
    fraAgrupar->setObjectName(QStringLiteral("fraAgrupar"));
    auto *agrupar = new QVBoxLayout(fraAgrupar);
    const QStringList groupCaptions = {QStringLiteral("Actividad"), QStringLiteral("Área"), QStringLiteral("Destino"),
                                       super ? QStringLiteral("Tipos de hora") : QStringLiteral("Tipo de hora")};
    for (int i = 0; i < groupCaptions.size(); ++i) {
        auto *opt = new QRadioButton(groupCaptions.at(i), fraAgrupar);
        opt->setObjectName(QStringLiteral("optAgrupar_%1").arg(i));
        agrupar->addWidget(opt);
        m_optAgrupar << opt;
    }
    m_optAgrupar[0]->setChecked(true);
    right->addWidget(fraAgrupar);
    auto *cmdGraficar = new QPushButton(QStringLiteral("Crear la gráfica"), this);
    cmdGraficar->setObjectName(QStringLiteral("cmdGraficar"));
    ui::connectGuarded(cmdGraficar, &QPushButton::clicked, this, &StatisticsTab::graficar);
    right->addWidget(cmdGraficar);
    right->addStretch();
    outer->addLayout(right);
    outer->addStretch();

    QWidget *previous = nullptr;
    auto chain = [&](QWidget *w) {
        if (previous)
            setTabOrder(previous, w);
        previous = w;
    };
    for (int i = 0; i < m_optEstadisticas.size(); ++i) {
        chain(m_optEstadisticas[i]);
        if (i == 2) {
            chain(m_dtpDesde);
            chain(m_dtpHasta);
        } else if (i == areaOption()) {
            chain(m_dtcAreas);
        } else if (i == staffOption()) {
            chain(m_dtcFuncionarios);
        }
    }
    for (QRadioButton *opt : m_optAgrupar)
        chain(opt);
    chain(cmdGraficar);
}

StatisticsTab::~StatisticsTab() = default;

void StatisticsTab::setStaffSource(store::DataControl *staff)
{
    m_dtcFuncionarios->setRowSource(staff, QStringLiteral("FunApellidos"), QStringLiteral("FunCedula"));
}

int StatisticsTab::areaOption() const
{
    return m_window == MainWindow::SuperUsuario ? 3 : -1;
}

int StatisticsTab::staffOption() const
{
    return m_window == MainWindow::SuperUsuario ? 4 : 3;
}

QString StatisticsTab::statement()
{
    return StatisticsQuery::statement();
}

void StatisticsTab::optionClicked(int index)
{
    m_dtpDesde->setEnabled(false);
    m_dtpHasta->setEnabled(false);
    if (m_dtcAreas)
        m_dtcAreas->setEnabled(false);
    m_dtcFuncionarios->setEnabled(false);
    if (index == 2) {
        m_dtpDesde->setEnabled(true);
        m_dtpHasta->setEnabled(true);
    } else if (index == areaOption()) {
        m_dtcAreas->setEnabled(true);
    } else if (index == staffOption()) {
        m_dtcFuncionarios->setEnabled(true);
    }
}

void StatisticsTab::graficar()
{
    using Filter = StatisticsQuery::Filter;
    for (int i = 0; i < m_optEstadisticas.size(); ++i) {
        if (!m_optEstadisticas[i]->isChecked())
            continue;
        if (i == 0)
            m_consulta = StatisticsQuery::statement(Filter::Teaching);
        else if (i == 1)
            m_consulta = StatisticsQuery::statement(Filter::NonTeaching);
        else if (i == 2)
            m_consulta = StatisticsQuery::statement(Filter::Period, m_dtpDesde->date(), m_dtpHasta->date());
        else if (i == areaOption())
            m_consulta = StatisticsQuery::statement(Filter::Area, {}, {}, m_dtcAreas->boundText());
        else if (i == staffOption())
            m_consulta = StatisticsQuery::statement(Filter::Staff, {}, {}, m_dtcFuncionarios->boundText());
        break;
    }
    for (int i = 0; i < m_optAgrupar.size(); ++i) {
        if (m_optAgrupar[i]->isChecked()) {
            m_agrupar = StatisticsQuery::column(kGroupings[i]);
            break;
        }
    }
    showChartWindow();
}

bool StatisticsTab::menuEntry(const QString &key)
{
    static const QStringList keys = {QStringLiteral("actividades"), QStringLiteral("areas"),
                                     QStringLiteral("destinos"), QStringLiteral("tipos")};
    const int i = keys.indexOf(key);
    if (i < 0)
        return false;
    m_agrupar = StatisticsQuery::column(kGroupings[i]);
    m_consulta = StatisticsQuery::statement();
    showChartWindow();
    return true;
}

void StatisticsTab::showChartWindow()
{
    emit queryChosen(m_agrupar, m_consulta);
    if (!m_chartWindow) {
        QWidget *owner = window();
        if (m_window == MainWindow::SuperUsuario)
            m_chartWindow = new frmEstadisticasSuperUsuario(m_consulta, m_agrupar, owner);
        else
            m_chartWindow = new frmEstadisticasJefeArea(m_consulta, m_agrupar, owner);
        m_chartWindow->load();
    }
    m_chartWindow->show();
    m_chartWindow->raise();
    m_chartWindow->activateWindow();
}

}  // namespace analysis
