#pragma once

#include "admin/MaintenanceWindow.h"

class QPushButton;

namespace store {
class DataControl;
}
namespace ui {
class DataCombo;
class DataList;
}

// Subject groups (RUBROS) on the maintenance pattern, with the subjects of the current
// group (RUBROS_MATERIAS), added and removed at once.
class frmMantRubros : public admin::MaintenanceWindow {
    Q_OBJECT
public:
    explicit frmMantRubros(QWidget *parent = nullptr);

protected:
    void currentRowChanged(bool onRow) override;

private:
    void cmdAgregar_Click();
    void cmdQuitar_Click();
    void refreshLinks();
    // Looks for the link of the current group to `matid`; how many rows it found.
    int findLink(const QString &matid);
    QString rubro(const QString &field) const;

    ui::DataList *dtlMaterias;
    ui::DataCombo *dtcMaterias;
    QPushButton *cmdAgregar;
    QPushButton *cmdQuitar;
    store::DataControl *adcMaterias;
    store::DataControl *adcRubrosMaterias2;
    store::DataControl *adcRubrosMaterias;
};
