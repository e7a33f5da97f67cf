#pragma once

#include "workspaces/Workspace.h"

#include <array>

namespace analysis {
class StatisticsTab;
}

// The workspace of the roles that look after other people's hours (frmJefeArea,
// frmSuperUsuario): the lists of Workspace plus the tab "Funcionarios" with the staff list,
// the toolbar key `cambio` that makes the chosen person the one the whole window works on
// (the session's person), the printing menu, and the tabs "Cierre de mes", "Presupuesto" and
// "Estadísticas", whose pages are widgets of their own put in with setTabPage.
class StaffWorkspace : public Workspace {
    Q_OBJECT
public:
    enum Tab { TabFuncionarios = 3, TabCierreMes = 4, TabPresupuesto = 5, TabEstadisticas = 6 };

    // Puts `page` in one of the tabs 4 to 6 (it replaces what the tab held). False for
    // any other index.
    bool setTabPage(int index, QWidget *page);
    QWidget *tabPage(int index) const;

    // The staff list: one row per contract. It also feeds the staff combo of the tab
    // "Estadísticas".
    store::DataControl *adcFuncionarios() const { return m_adcFuncionarios; }
    ui::DataGrid *dtgFuncionarios() const { return m_dtgFuncionarios; }

    // Takes the person of the current row of the staff list: the session's person, the current list
    // run on that person, the archive list's statement stored for the next visit of tab 1.
    void cambio();

    // What the chart window of this role reads when it loads: the column that makes the
    // chart's rows, and the whole statement. The tab "Estadísticas" sets them.
    QString agrupar;
    QString consulta;
    analysis::StatisticsTab *statisticsTab() const { return m_statistics; }

protected:
    StaffWorkspace(const Setup &setup, QWidget *parent = nullptr);

    void buttonClicked(const QString &key) override;
    void menuEntryChosen(const QString &button, const QString &entry) override;
    // The statement of the staff list for this role.
    virtual QString staffStatement() const = 0;
    // Puts the role's own tabs in place: the close, the budget and the statistics.
    void setRoleTabs(QWidget *cierreMes, QWidget *presupuesto, analysis::StatisticsTab *estadisticas);
    void activatedExtra() override;
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void staffGridClicked();

    store::DataControl *m_adcFuncionarios = nullptr;
    ui::DataGrid *m_dtgFuncionarios = nullptr;
    std::array<QWidget *, 3> m_pages{};
    analysis::StatisticsTab *m_statistics = nullptr;
};
