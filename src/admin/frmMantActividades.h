#pragma once

#include "admin/MaintenanceWindow.h"

class QCheckBox;
class QPushButton;

namespace store {
class DataControl;
}
namespace ui {
class DataCombo;
class DataList;
}

// Activities (ACTIVIDADES) on the maintenance pattern, with the areas that carry out the
// current activity (AREAS_ACTIVIDADES) and, for a teaching activity, the pairs of subject
// group and subject it is given in (DOCENTES_RUBROS_MATERIAS). Links are written at once.
class frmMantActividades : public admin::MaintenanceWindow {
    Q_OBJECT
public:
    explicit frmMantActividades(QWidget *parent = nullptr);

protected:
    void currentRowChanged(bool onRow) override;

private:
    void chkDocente_Click();
    void dtcMaterias_Change();
    void cmdAgregar_Click();
    void cmdQuitar_Click();
    void cmdAgregarMateria_Click();
    void cmdQuitarMateria_Click();
    QString actividad(const QString &field) const;
    void refreshAreaLinks();
    void refreshSubjectLinks();

    QCheckBox *chkDocente;
    ui::DataList *dtlAreasActividades;
    ui::DataCombo *dtcAreas;
    QPushButton *cmdAgregar;
    QPushButton *cmdQuitar;
    ui::DataList *dtlMaterias;
    ui::DataCombo *dtcMaterias;
    ui::DataCombo *dtcRubros;
    QPushButton *cmdAgregarMateria;
    QPushButton *cmdQuitarMateria;
    store::DataControl *adcAreas;
    store::DataControl *adcAreasActividades2;
    store::DataControl *adcAreasActividades;
    store::DataControl *adcMaterias;
    store::DataControl *adcRubros;
    store::DataControl *adcDocentesRubrosMaterias2;
    store::DataControl *adcDocentesRubrosMaterias;
};
