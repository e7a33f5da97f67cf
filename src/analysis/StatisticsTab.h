#pragma once

#include "analysis/AnalysisWindow.h"
#include "analysis/ChartWindow.h"

#include <QPointer>
#include <QString>
#include <QVector>
#include <QWidget>

class QRadioButton;

namespace store {
class DataControl;
}
namespace ui {
class DataCombo;
class DatePicker;
}  // namespace ui

namespace analysis {

class ChartWindow;

// The tab "Estadísticas" of frmJefeArea and frmSuperUsuario: composes the SHAPE statement
// over the archived hours and opens the window's chart window on it.
//
// It holds the main window's two public members `agrupar` and `consulta` (the window
// forwards them here) and, for the super user, what the entries of the tool bar menu
// `estadisticas` do (menuEntry).
//
// optEstadisticas: the super user's options are 0 docentes, 1 NO docentes, 2 período,
// 3 área, 4 funcionario; the chief has no area option, so his staff option is 3.
class StatisticsTab : public QWidget {
    Q_OBJECT
public:
    // `staff` is the window's adcFuncionarios (the list of dtcEstadisticasFuncionarios);
    // `areas` the super user's adcAreas ("SELECT * FROM AREAS"), opened here when not given.
    explicit StatisticsTab(MainWindow window, QWidget *parent = nullptr, store::DataControl *staff = nullptr,
                           store::DataControl *areas = nullptr);
    ~StatisticsTab() override;

    MainWindow mainWindow() const { return m_window; }
    void setStaffSource(store::DataControl *staff);

    // The main window's public members.
    const QString &agrupar() const { return m_agrupar; }
    void setAgrupar(const QString &agrupar) { m_agrupar = agrupar; }
    const QString &consulta() const { return m_consulta; }
    void setConsulta(const QString &consulta) { m_consulta = consulta; }

    // The statement over the whole archive (what the menu entries chart).
    static QString statement();

    // cmdGraficar, as its click.
    void graficar();
    // An entry of the super user's `estadisticas` menu (actividades, areas, destinos, tipos):
    // all archived hours, grouped by the entry's column. False for another key.
    bool menuEntry(const QString &key);

    // Creates the window's chart window on agrupar and consulta if none is open, and shows
    // it; an open one is only brought forward (it keeps its chart).
    void showChartWindow();
    ChartWindow *chartWindow() const { return m_chartWindow; }


signals:
    // A query was chosen (cmdGraficar or a menu entry), just before the chart window shows it.
    void queryChosen(const QString &agrupar, const QString &consulta);

private:
    void optionClicked(int index);
    int areaOption() const;   // -1 in the chief's tab
    int staffOption() const;

    MainWindow m_window;
    QString m_agrupar;
    QString m_consulta;
    QVector<QRadioButton *> m_optEstadisticas;
    QVector<QRadioButton *> m_optAgrupar;
    ui::DatePicker *m_dtpDesde = nullptr;
    ui::DatePicker *m_dtpHasta = nullptr;
    ui::DataCombo *m_dtcAreas = nullptr;
    ui::DataCombo *m_dtcFuncionarios = nullptr;
    QPointer<store::DataControl> m_adcAreas;
    QPointer<ChartWindow> m_chartWindow;
};

}  // namespace analysis
