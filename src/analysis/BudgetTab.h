#pragma once

#include "analysis/AnalysisWindow.h"

#include <QPointer>
#include <QWidget>
#include <array>
#include <functional>

class QCheckBox;
class QLabel;
class QRadioButton;

namespace store {
class DataControl;
}
namespace ui {
class DataCombo;
class DataGrid;
class DatePicker;
}  // namespace ui

namespace analysis {

// The tab "Presupuesto" of frmJefeArea and frmSuperUsuario: hours and money paid, grouped
// by currency, type of hour, destination and activity, with a total per currency.
//
// The chief's tab always narrows the query to the session's area (read when the query runs); the super
// user's has the box chkSeleccionarArea and the combo dtcSeleccionarArea to narrow it to
// one area, and otherwise covers all areas.
class BudgetTab : public QWidget {
    Q_OBJECT
public:
    // `areas` is the window's adcAreas ("SELECT * FROM AREAS") for dtcSeleccionarArea; when
    // none is given the super user's tab opens one of its own. The chief's tab reads none.
    explicit BudgetTab(MainWindow window, QWidget *parent = nullptr, store::DataControl *areas = nullptr);
    ~BudgetTab() override;

    MainWindow mainWindow() const { return m_window; }

    // The statement the controls compose now (what cmdComenzar would give adcPresupuesto).
    QString composeStatement() const;
    // adcPresupuesto; its RecordSource is the statement of the last query (empty before the
    // first one). The budget report takes its statement from here.
    store::DataControl *adcPresupuesto() const { return m_adcPresupuesto; }
    QString statement() const;

    // cmdComenzar and cmdImprimir, as their clicks.
    void comenzar();
    void imprimir();

    // The report that cmdImprimir opens ("dtrPresupuestoJefeArea" or
    // "dtrPresupuestoSuperUsuario").
    QString reportName() const;

    // How the budget report is opened: the reports register this. Without it cmdImprimir
    // says that the report is not available yet.
    using ReportOpener = std::function<void(const QString &reportName, BudgetTab &tab)>;
    static void setReportOpener(ReportOpener opener);

private:
    void optionClicked();
    void docentesClicked(bool ticked);
    void noDocentesClicked(bool ticked);
    void areaBoxClicked(bool ticked);
    void workOutTotals();

    MainWindow m_window;
    std::array<QRadioButton *, 3> m_optConsulta{};
    ui::DatePicker *m_dtpDesde = nullptr;
    ui::DatePicker *m_dtpHasta = nullptr;
    QCheckBox *m_chkDocentes = nullptr;
    QCheckBox *m_chkNoDocentes = nullptr;
    QCheckBox *m_chkSeleccionarArea = nullptr;
    ui::DataCombo *m_dtcSeleccionarArea = nullptr;
    QPointer<store::DataControl> m_adcAreas;
    store::DataControl *m_adcPresupuesto = nullptr;
    ui::DataGrid *m_dtgPresupuesto = nullptr;
    QLabel *m_lblTotalPesos = nullptr;
    QLabel *m_lblTotalDolares = nullptr;
};

}  // namespace analysis
