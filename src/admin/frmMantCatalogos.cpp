#include "admin/frmMantCatalogos.h"

#include "ui/FieldBinding.h"

#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>

using admin::MaintenanceSpec;

namespace {

QList<ui::GridColumn> keyAndDescription(const QString &key, const QString &description, const QString &heading)
{
    return {admin::column(QStringLiteral("Código"), key), admin::column(heading, description)};
}

MaintenanceSpec areas()
{
    return {QStringLiteral("frmMantAreas"), QStringLiteral("Mantenimiento de áreas"), QStringLiteral("adcAreas"),
            QStringLiteral("SELECT * FROM AREAS ORDER BY AREID"), QStringLiteral("dtgAreas"),
            QStringLiteral("LISTA DE AREAS O DEPARTAMENTOS"),
            keyAndDescription(QStringLiteral("AreId"), QStringLiteral("AreDescripcion"),
                              QStringLiteral("Descripción del área o departamento")),
            QStringLiteral("AreId"), QStringLiteral("AreDescripcion")};
}

MaintenanceSpec institutos()
{
    return {QStringLiteral("frmMantInstitutos"), QStringLiteral("Mantenimiento de institutos"),
            QStringLiteral("adcInstitutos"), QStringLiteral("SELECT * FROM INSTITUTOS ORDER BY INSDESCRIPCION ASC"),
            QStringLiteral("dtgInstitutos"), QStringLiteral("LISTA DE INSTITUTOS"),
            keyAndDescription(QStringLiteral("InsId"), QStringLiteral("InsDescripcion"),
                              QStringLiteral("Descripción del instituto")),
            QStringLiteral("InsId"), QStringLiteral("InsDescripcion")};
}

MaintenanceSpec destinos()
{
    MaintenanceSpec spec{QStringLiteral("frmMantDestinos"), QStringLiteral("Mantenimiento de destinos"),
                         QStringLiteral("adcDestinos"), QStringLiteral("SELECT * FROM DESTINOS ORDER BY DESID"),
                         QStringLiteral("dtgDestinos"), QStringLiteral("LISTA DE DESTINOS PARA LAS HORAS REALIZADAS"),
                         keyAndDescription(QStringLiteral("DesId"), QStringLiteral("DesDescripcion"),
                                           QStringLiteral("Descripción del destino")),
                         QStringLiteral("DesId"), QStringLiteral("DesDescripcion")};
    spec.newHasAction = false;
    return spec;
}

MaintenanceSpec materias()
{
    return {QStringLiteral("frmMantMaterias"), QStringLiteral("Mantenimiento de materias"),
            QStringLiteral("adcMaterias"), QStringLiteral("SELECT * FROM MATERIAS ORDER BY MATDESCRIPCION ASC"),
            QStringLiteral("dtgMaterias"), QStringLiteral("LISTA DE MATERIAS"),
            keyAndDescription(QStringLiteral("MatId"), QStringLiteral("MatDescripcion"),
                              QStringLiteral("Descripción de la materia")),
            QStringLiteral("MatId"), QStringLiteral("MatDescripcion")};
}

MaintenanceSpec tipoHoras()
{
    QList<ui::GridColumn> columns = keyAndDescription(QStringLiteral("TipId"), QStringLiteral("TipDescripcion"),
                                                      QStringLiteral("Descripción del tipo"));
    columns << admin::column(QStringLiteral("Porcentaje"), QStringLiteral("TipPorcentaje"), QStringLiteral("0,0000"));
    return {QStringLiteral("frmMantTipoHoras"), QStringLiteral("Mantenimiento de tipos de horas"),
            QStringLiteral("adcTipoHoras"), QStringLiteral("SELECT * FROM TIPOHORAS ORDER BY TIPDESCRIPCION ASC"),
            QStringLiteral("dtgTipoHoras"), QStringLiteral("LISTA DE TIPOS DE HORAS"), columns,
            QStringLiteral("TipId"), QStringLiteral("TipDescripcion")};
}

}  // namespace

frmMantAreas::frmMantAreas(QWidget *parent) : MaintenanceWindow(areas(), parent)
{
    open();
}

frmMantInstitutos::frmMantInstitutos(QWidget *parent) : MaintenanceWindow(institutos(), parent)
{
    open();
}

frmMantDestinos::frmMantDestinos(QWidget *parent) : MaintenanceWindow(destinos(), parent)
{
    open();
}

frmMantMaterias::frmMantMaterias(QWidget *parent) : MaintenanceWindow(materias(), parent)
{
    open();
}

frmMantTipoHoras::frmMantTipoHoras(QWidget *parent) : MaintenanceWindow(tipoHoras(), parent)
{
    // Not a row control: it stays open whatever the position.
    txtPorcentaje = new QLineEdit(this);
    txtPorcentaje->setObjectName(QStringLiteral("txtPorcentaje"));
    txtPorcentaje->setMaxLength(30);
    auto *label = new QLabel(QStringLiteral("Se pagan x:"), this);
    label->setBuddy(txtPorcentaje);
    form()->addRow(label, txtPorcentaje);
    ui::FieldBinding::bind(txtPorcentaje, dataControl(), QStringLiteral("TipPorcentaje"), QStringLiteral("0,0000"));
    open();
}
