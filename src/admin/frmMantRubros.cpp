#include "admin/frmMantRubros.h"

#include "store/DataControl.h"
#include "store/SqlValue.h"
#include "ui/DataLists.h"
#include "ui/Dialogs.h"
#include "ui/GuardedSlot.h"

#include <QGridLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

using admin::column;
using store::sql::text;

namespace {

admin::MaintenanceSpec spec()
{
    admin::MaintenanceSpec s;
    s.windowName = QStringLiteral("frmMantRubros");
    s.title = QStringLiteral("Mantenimiento de rubros");
    s.controlName = QStringLiteral("adcRubros");
    s.statement = QStringLiteral("SELECT * FROM RUBROS ORDER BY RUBDESCRIPCION ASC");
    s.gridName = QStringLiteral("dtgRubros");
    s.gridCaption = QStringLiteral("LISTA DE RUBROS");
    s.columns = {column(QStringLiteral("Código"), QStringLiteral("RubId")),
                 column(QStringLiteral("Descripción del rubro"), QStringLiteral("RubDescripcion"))};
    s.keyField = QStringLiteral("RubId");
    s.descriptionField = QStringLiteral("RubDescripcion");
    return s;
}

}  // namespace

frmMantRubros::frmMantRubros(QWidget *parent) : MaintenanceWindow(spec(), parent)
{
    adcMaterias = new store::DataControl(QStringLiteral("adcMaterias"), this);
    adcMaterias->setRecordSource(QStringLiteral("SELECT * FROM MATERIAS ORDER BY MATDESCRIPCION ASC"));
    adcRubrosMaterias2 = new store::DataControl(QStringLiteral("adcRubrosMaterias2"), this);
    adcRubrosMaterias2->setRecordSource(QStringLiteral(
        "SELECT * FROM RUBROS_MATERIAS RM, MATERIAS M WHERE RM.MATID=M.MATID ORDER BY MATDESCRIPCION ASC"));
    adcRubrosMaterias = new store::DataControl(QStringLiteral("adcRubrosMaterias"), this);
    adcRubrosMaterias->setRecordSource(QStringLiteral("SELECT * FROM RUBROS_MATERIAS"));
    for (store::DataControl *adc : {adcMaterias, adcRubrosMaterias2, adcRubrosMaterias})
        adc->refresh();

    dtlMaterias = new ui::DataList(this);
    dtlMaterias->setObjectName(QStringLiteral("dtlMaterias"));
    dtlMaterias->setRowSource(adcRubrosMaterias2, QStringLiteral("MatDescripcion"), QStringLiteral("MatId"));
    dtcMaterias = new ui::DataCombo(this);
    dtcMaterias->setObjectName(QStringLiteral("dtcMaterias"));
    dtcMaterias->setRowSource(adcMaterias, QStringLiteral("MatDescripcion"), QStringLiteral("MatId"));
    cmdAgregar = new QPushButton(QStringLiteral("Agregar"), this);
    cmdAgregar->setObjectName(QStringLiteral("cmdAgregar"));
    cmdQuitar = new QPushButton(QStringLiteral("Quitar"), this);
    cmdQuitar->setObjectName(QStringLiteral("cmdQuitar"));
    for (QWidget *w : std::initializer_list<QWidget *>{dtcMaterias, dtlMaterias, cmdAgregar, cmdQuitar})
        addRowControl(w);

    auto *links = linkListLayout({{QStringLiteral("Materias del rubro:"), dtcMaterias}}, cmdAgregar, cmdQuitar, dtlMaterias);
    extraArea()->addLayout(links);

    ui::connectGuarded(cmdAgregar, &QPushButton::clicked, this, &frmMantRubros::cmdAgregar_Click);
    ui::connectGuarded(cmdQuitar, &QPushButton::clicked, this, &frmMantRubros::cmdQuitar_Click);
    resize(560, 640);
    open();
}

QString frmMantRubros::rubro(const QString &field) const
{
    store::DataControl *adc = dataControl();
    return adc->hasCurrentRow() ? adc->value(field).toString() : QString();
}

void frmMantRubros::currentRowChanged(bool onRow)
{
    if (onRow)
        refreshLinks();
}

void frmMantRubros::refreshLinks()
{
    // A group not saved yet has no key, and the list empties.
    showLinks(adcRubrosMaterias2,
              QStringLiteral("SELECT * FROM RUBROS_MATERIAS RM, MATERIAS M WHERE RM.MATID=M.MATID AND RM.RUBID=") +
                  text(rubro(QStringLiteral("RubId"))) + QStringLiteral(" ORDER BY MATDESCRIPCION ASC"),
              dtlMaterias);
}

int frmMantRubros::findLink(const QString &matid)
{
    return findLinks(adcRubrosMaterias, QStringLiteral("SELECT * FROM RUBROS_MATERIAS WHERE RUBID=") +
                                            text(rubro(QStringLiteral("RubId"))) + QStringLiteral(" AND MATID=") +
                                            text(matid));
}

void frmMantRubros::cmdAgregar_Click()
{
    if (newRowPending())
        return;
    const QString matid = dtcMaterias->boundText();
    if (matid.isEmpty()) {
        ui::msgBox(QStringLiteral("Seleccione primero un elemento de la lista."), {}, ui::Icon::Exclamation, this);
        return;
    }
    if (findLink(matid) != 0) {
        const QString subject =
            adcMaterias->hasCurrentRow() ? adcMaterias->value(QStringLiteral("MatDescripcion")).toString() : QString();
        ui::msgBox(QStringLiteral("La materia %1 ya pertenece al rubro %2")
                       .arg(subject, rubro(QStringLiteral("RubDescripcion"))));
        return;
    }
    if (addLink(adcRubrosMaterias,
                {{QStringLiteral("MatId"), matid}, {QStringLiteral("RubId"), rubro(QStringLiteral("RubId"))}}))
        refreshLinks();
}

void frmMantRubros::cmdQuitar_Click()
{
    const QString matid = dtlMaterias->boundText();
    if (findLink(matid) != 1) {
        const QString subject = dtlMaterias->binding().text();
        ui::msgBox(subject.isEmpty()
                       ? QStringLiteral("Seleccione en la lista la materia que desea quitar del rubro %1")
                             .arg(rubro(QStringLiteral("RubDescripcion")))
                       : QStringLiteral("La materia %1 no pertenece al rubro %2")
                             .arg(subject, rubro(QStringLiteral("RubDescripcion"))));
        return;
    }
    if (!ui::ask(QStringLiteral("Esta seguro que desea quitar %1 ?").arg(matid), QStringLiteral("Confirmación"),
                 ui::Icon::Question, this))
        return;
    removeLink(adcRubrosMaterias);
    refreshLinks();
}
