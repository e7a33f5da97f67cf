#pragma once

#include "ui/KeyedToolBar.h"

#include <QDate>
#include <QMainWindow>
#include <QString>
#include <array>

class QCalendarWidget;
class QGroupBox;
class QRadioButton;
class QPushButton;
class QTabWidget;

namespace store {
class DataControl;
}
namespace ui {
class DataGrid;
class StatusPanels;
}

// The main window of the three working roles: the hours of the session's person in two
// lists, "Mes en curso" (HORAS) and "Mi archivo" (HHORAS), with the filter on a date, the
// sort menus, the delete of an hour record and the hours windows opened from the toolbar.
// frmUsuarioComun is this window as it is; frmJefeArea and frmSuperUsuario add tabs and keys
// (StaffWorkspace).
//
// Each list holds one statement, which these events replace:
//   activation  -> current: default, run;    archive: default, stored only
//   tab 1       -> current: unchanged;       archive: run as it stands
//   sort menu   -> both sorted, both run
//   filter      -> its own list filtered, run (the other untouched)
//   delete      -> current: default, run;    archive: unchanged
//   cambio      -> current: default, run;    archive: default, stored only
class Workspace : public QMainWindow {
    Q_OBJECT
public:
    enum class List { Current, Archive };
    // What tells the three windows apart at construction.
    struct Setup {
        QStringList toolbarKeys;                         // left to right
        QList<ui::KeyedToolBar::MenuEntry> printMenu;    // empty: `imprimir` is a plain button
        bool hoursMaskInCurrent = false;                 // "0,00" on the hours column of the current grid
    };

    // What the window does each time it becomes the active window of the program: the
    // status panels and both lists back to their default statements. It runs on its own
    // when the user comes back from another window of the program (an hours window, a
    // report), not when a message box or a menu closes.
    void windowActivated();

    // The current list back to its default statement, run and repainted (also what other
    // tabs ask for after a write that changes HORAS).
    void resetCurrentList();
    // Both lists run again with the statements they hold, and their grids repainted.
    void rerunLists();

    ui::KeyedToolBar *toolBar() const { return m_toolBar; }
    QTabWidget *tabs() const { return m_tabs; }
    store::DataControl *adcMesActual() const { return m_adcMesActual; }
    store::DataControl *adcMiArchivo() const { return m_adcMiArchivo; }
    ui::DataGrid *dtgMesActual() const { return m_dtgMesActual; }
    ui::DataGrid *dtgMiArchivo() const { return m_dtgMiArchivo; }

    // The statements of the two lists for the person `cedula` (taken without blanks).
    static QString defaultStatement(List list, const QString &cedula);
    // `button` is ordenar_asc or ordenar_des, `entry` a key of their menus; empty for an
    // unknown entry.
    static QString sortedStatement(List list, const QString &cedula, const QString &button,
                                   const QString &entry);
    static QString filteredStatement(List list, const QString &cedula, const QDate &date,
                                     bool fromDate);

protected:
    explicit Workspace(const Setup &setup, QWidget *parent = nullptr);

    // Toolbar handling by key; subclasses add their keys and defer to these for the rest.
    virtual void buttonClicked(const QString &key);
    virtual void menuEntryChosen(const QString &button, const QString &entry);
    // The steps a role adds at the end of the activation.
    virtual void activatedExtra() {}
    // A click in dtgMesActual (a row, or anywhere in the grid).
    virtual void currentGridClicked();

    // The session's person as the statements take it.
    static QString cedula();
    void setCurrentStatement(const QString &statement);

    void changeEvent(QEvent *event) override;
    void showEvent(QShowEvent *event) override;
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void buildListTabs(bool hoursMaskInCurrent);
    void buildSearchTab();
    void setGridColumns();
    void tabChanged(int index);
    void currentRowMoved();
    void deleteHours();
    static bool deleteHourRecord(const QString &horId);
    void sortLists(const QString &button, const QString &entry);
    void applyFilter();

    ui::KeyedToolBar *m_toolBar = nullptr;
    ui::StatusPanels *m_stbPrincipal = nullptr;
    QTabWidget *m_tabs = nullptr;
    store::DataControl *m_adcMesActual = nullptr;
    store::DataControl *m_adcMiArchivo = nullptr;
    ui::DataGrid *m_dtgMesActual = nullptr;
    ui::DataGrid *m_dtgMiArchivo = nullptr;
    QCalendarWidget *m_calendario = nullptr;
    std::array<QGroupBox *, 2> m_fraFiltro{};
    std::array<QRadioButton *, 2> m_optFiltro{};
    std::array<QRadioButton *, 2> m_optTipo{};
    QPushButton *m_cmdAplicarFiltro = nullptr;
    bool m_hoursMaskInCurrent = false;
    // While a delete works on its one-row statement, the moves of adcMesActual don't
    // touch the buttons: only the list read afterwards does.
    bool m_holdButtonState = false;
    // The first activation always counts; later ones only when the user comes back from
    // another window of the program (not from a message box, a menu or another program).
    bool m_everActivated = false;
    bool m_activatedOnShow = false;  // the first show ran the activation already
};
