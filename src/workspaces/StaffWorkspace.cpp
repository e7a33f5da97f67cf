#include "workspaces/StaffWorkspace.h"

#include "analysis/BudgetTab.h"
#include "analysis/StatisticsTab.h"
#include "output/dtrPresupuestoJefeArea.h"
#include "output/dtrPresupuestoSuperUsuario.h"
#include "output/dtrReporteMesActualArea.h"
#include "output/dtrReporteMesActualGeneral.h"
#include "output/dtrReporteMesActualUsuario.h"
#include "session/modPrincipal.h"
#include "store/DataControl.h"
#include "ui/DataGrid.h"
#include "ui/GuardedSlot.h"

#include <QEvent>
#include <QLayout>
#include <QTabWidget>
#include <QTableView>
#include <QVBoxLayout>

StaffWorkspace::StaffWorkspace(const Setup &setup, QWidget *parent) : Workspace(setup, parent)
{
    // The budget tab's cmdImprimir opens the report of its window on the query it just ran.
    analysis::BudgetTab::setReportOpener([](const QString &report, analysis::BudgetTab &tab) {
        const QString statement = tab.adcPresupuesto()->recordSource();
        if (report == QLatin1String("dtrPresupuestoSuperUsuario"))
            dtrPresupuestoSuperUsuario::open(statement);
        else
            dtrPresupuestoJefeArea::open(statement);
    });

    m_adcFuncionarios = new store::DataControl(QStringLiteral("adcFuncionarios"), this);

    auto *staffPage = new QWidget(tabs());
    auto *staffLayout = new QVBoxLayout(staffPage);
    m_dtgFuncionarios = new ui::DataGrid(staffPage);
    m_dtgFuncionarios->setObjectName(QStringLiteral("dtgFuncionarios"));
    m_dtgFuncionarios->setCaption(QStringLiteral("LISTA DE FUNCIONARIOS"));
    ui::GridColumn cedula, nombres, apellidos;
    cedula.heading = QStringLiteral("Cédula");
    cedula.field = QStringLiteral("FunCedula");
    nombres.heading = QStringLiteral("Nombres");
    nombres.field = QStringLiteral("FunNombres");
    apellidos.heading = QStringLiteral("Apellidos");
    apellidos.field = QStringLiteral("FunApellidos");
    m_dtgFuncionarios->setColumns({cedula, nombres, apellidos});
    m_dtgFuncionarios->setDataSource(m_adcFuncionarios);
    staffLayout->addWidget(m_dtgFuncionarios);
    tabs()->addTab(staffPage, QStringLiteral("Funcionarios"));

    m_dtgFuncionarios->view()->viewport()->installEventFilter(this);
    ui::connectGuarded(m_dtgFuncionarios, &ui::DataGrid::rowClicked, this, &StaffWorkspace::staffGridClicked);

    const char *names[] = {"tabCierreMes", "tabPresupuesto", "tabEstadisticas"};
    const QString captions[] = {QStringLiteral("Cierre de mes"), QStringLiteral("Presupuesto"),
                                QStringLiteral("Estadísticas")};
    for (int i = 0; i < 3; ++i) {
        m_pages[i] = new QWidget(tabs());
        m_pages[i]->setObjectName(QString::fromLatin1(names[i]));
        auto *layout = new QVBoxLayout(m_pages[i]);
        layout->setContentsMargins(0, 0, 0, 0);
        tabs()->addTab(m_pages[i], captions[i]);
    }
}

bool StaffWorkspace::setTabPage(int index, QWidget *page)
{
    if (index < TabCierreMes || index > TabEstadisticas || !page)
        return false;
    QWidget *holder = m_pages[index - TabCierreMes];
    QLayout *layout = holder->layout();
    while (QLayoutItem *item = layout->takeAt(0)) {
        if (QWidget *old = item->widget(); old && old != page)
            old->deleteLater();
        delete item;
    }
    page->setParent(holder);
    layout->addWidget(page);
    page->show();
    return true;
}

QWidget *StaffWorkspace::tabPage(int index) const
{
    if (index < TabCierreMes || index > TabEstadisticas)
        return nullptr;
    return m_pages[index - TabCierreMes];
}

void StaffWorkspace::activatedExtra()
{
    m_adcFuncionarios->setRecordSource(staffStatement());
    m_adcFuncionarios->refresh();
    m_dtgFuncionarios->refresh();
}

void StaffWorkspace::staffGridClicked()
{
    toolBar()->setButtonEnabled(QStringLiteral("cambio"), m_adcFuncionarios->hasCurrentRow());
}

bool StaffWorkspace::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() == QEvent::MouseButtonRelease && watched == m_dtgFuncionarios->view()->viewport())
        ui::runGuarded([this] { staffGridClicked(); });
    return Workspace::eventFilter(watched, event);
}

void StaffWorkspace::cambio()
{
    // Pressed before any click while the list is empty: there is nobody to take.
    if (!m_adcFuncionarios->hasCurrentRow())
        return;
    modPrincipal::setSessionPerson(m_adcFuncionarios->value(QStringLiteral("FunCedula")).toString());
    resetCurrentList();
    adcMiArchivo()->setRecordSource(defaultStatement(List::Archive, cedula()));
}

void StaffWorkspace::setRoleTabs(QWidget *cierreMes, QWidget *presupuesto, analysis::StatisticsTab *estadisticas)
{
    setTabPage(TabCierreMes, cierreMes);
    setTabPage(TabPresupuesto, presupuesto);
    setTabPage(TabEstadisticas, estadisticas);
    m_statistics = estadisticas;
    connect(estadisticas, &analysis::StatisticsTab::queryChosen, this,
            [this](const QString &columna, const QString &statement) {
                agrupar = columna;
                consulta = statement;
            });
}

void StaffWorkspace::buttonClicked(const QString &key)
{
    if (key == QLatin1String("cambio"))
        cambio();
    else if (key != QLatin1String("imprimir"))  // printing works by its menu here
        Workspace::buttonClicked(key);
}

void StaffWorkspace::menuEntryChosen(const QString &button, const QString &entry)
{
    if (button == QLatin1String("imprimir")) {
        if (entry == QLatin1String("funcionario"))
            dtrReporteMesActualUsuario::open();
        else if (entry == QLatin1String("area"))
            dtrReporteMesActualArea::open();
        else if (entry == QLatin1String("todo"))
            dtrReporteMesActualGeneral::open();
        else
            return;
        rerunLists();
        return;
    }
    Workspace::menuEntryChosen(button, entry);
}
