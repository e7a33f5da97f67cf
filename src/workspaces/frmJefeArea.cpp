#include "workspaces/frmJefeArea.h"

#include "analysis/BudgetTab.h"
#include "analysis/StatisticsTab.h"
#include "monthclose/CierreMesJefeArea.h"
#include "output/ExportacionMes.h"
#include "session/modPrincipal.h"
#include "ui/DataGrid.h"
#include "store/DataControl.h"
#include "store/SqlValue.h"

namespace {

Workspace::Setup setup()
{
    Workspace::Setup s;
    s.toolbarKeys = {QStringLiteral("nuevo"),       QStringLiteral("modificar"),   QStringLiteral("eliminar"),
                     QStringLiteral("imprimir"),    QStringLiteral("ordenar_asc"), QStringLiteral("ordenar_des"),
                     QStringLiteral("cambio"),      QStringLiteral("ayuda"),       QStringLiteral("salir")};
    s.printMenu = {{QStringLiteral("funcionario"), QStringLiteral("El funcionario seleccionado")},
                   {QStringLiteral("area"), QStringLiteral("Todos los funcionarios del área")}};
    s.hoursMaskInCurrent = true;
    return s;
}

}  // namespace

frmJefeArea::frmJefeArea(QWidget *parent) : StaffWorkspace(setup(), parent)
{
    setObjectName(QStringLiteral("frmJefeArea"));
    auto *cierre = new CierreMesJefeArea;
    cierre->setMesActual(adcMesActual());
    cierre->setExportHandler([this] {
        ExportacionMes::exportar(adcMesActual(), this, [this] { dtgMesActual()->refresh(); });
    });
    setRoleTabs(cierre, new analysis::BudgetTab(analysis::MainWindow::JefeArea),
                new analysis::StatisticsTab(analysis::MainWindow::JefeArea, nullptr, adcFuncionarios()));
}

// Every contract of the staff who hold a contract in the chief's area, those in other
// areas too.
QString frmJefeArea::staffStatement() const
{
    return QStringLiteral("SELECT * FROM FUNCIONARIOS F, FUNCIONARIOS_INSTITUTOS FI WHERE F.FUNCEDULA=FI.FUNCEDULA "
                          "AND F.FUNCEDULA IN (SELECT FUNCEDULA FROM FUNCIONARIOS_INSTITUTOS WHERE AREID=") +
           store::sql::text(modPrincipal::session().area.trimmed()) + QLatin1Char(')');
}

// Here a click while the list stands on no row also turns the two buttons off.
void frmJefeArea::currentGridClicked()
{
    const bool onRow = adcMesActual()->hasCurrentRow();
    toolBar()->setButtonEnabled(QStringLiteral("modificar"), onRow);
    toolBar()->setButtonEnabled(QStringLiteral("eliminar"), onRow);
}
