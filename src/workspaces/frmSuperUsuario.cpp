#include "workspaces/frmSuperUsuario.h"

#include "analysis/BudgetTab.h"
#include "analysis/StatisticsTab.h"
#include "monthclose/CierreMesSuperUsuario.h"
#include "store/DataControl.h"
#include "ui/Dialogs.h"
#include "workspaces/frmHistorialHoras.h"

#include <QTabWidget>

namespace {

Workspace::Setup setup()
{
    Workspace::Setup s;
    s.toolbarKeys = {QStringLiteral("imprimir"),    QStringLiteral("estadisticas"), QStringLiteral("ordenar_asc"),
                     QStringLiteral("ordenar_des"), QStringLiteral("cambio"),       QStringLiteral("historial"),
                     QStringLiteral("ayuda"),       QStringLiteral("salir")};
    s.printMenu = {{QStringLiteral("funcionario"), QStringLiteral("El funcionario seleccionado")},
                   {QStringLiteral("area"), QStringLiteral("Todos los funcionarios del área")},
                   {QStringLiteral("todo"), QStringLiteral("Todas las horas realizadas en el mes")}};
    s.hoursMaskInCurrent = true;
    return s;
}

}  // namespace

frmSuperUsuario::frmSuperUsuario(QWidget *parent) : StaffWorkspace(setup(), parent)
{
    setObjectName(QStringLiteral("frmSuperUsuario"));
    setRoleTabs(new CierreMesSuperUsuario, new analysis::BudgetTab(analysis::MainWindow::SuperUsuario),
                new analysis::StatisticsTab(analysis::MainWindow::SuperUsuario, nullptr, adcFuncionarios()));
}

QString frmSuperUsuario::staffStatement() const
{
    return QStringLiteral("SELECT * FROM FUNCIONARIOS F, FUNCIONARIOS_INSTITUTOS FI WHERE F.FUNCEDULA=FI.FUNCEDULA");
}

QString frmSuperUsuario::statisticsStatement()
{
    return analysis::StatisticsTab::statement();
}

void frmSuperUsuario::menuEntryChosen(const QString &button, const QString &entry)
{
    if (button != QLatin1String("estadisticas")) {
        StaffWorkspace::menuEntryChosen(button, entry);
        return;
    }
    // The whole archive, grouped as the entry says; the chart window comes up on it.
    if (statisticsTab()->menuEntry(entry))
        rerunLists();
}

void frmSuperUsuario::buttonClicked(const QString &key)
{
    if (key == QLatin1String("historial"))
        showHistory();
    else
        StaffWorkspace::buttonClicked(key);
}

// The record is the current row of the list on screen: "Mi archivo" on its tab, "Mes en
// curso" everywhere else (as for the other keys that act on a row).
void frmSuperUsuario::showHistory()
{
    store::DataControl *list = tabs()->currentIndex() == 1 ? adcMiArchivo() : adcMesActual();
    if (!list->hasCurrentRow()) {
        ui::msgBox(QStringLiteral("Seleccione primero un registro de horas."), {}, ui::Icon::None, this);
        return;
    }
    frmHistorialHoras::open(list->value(QStringLiteral("HorId")).toLongLong(), this);
}
