#include "admin/frmMantActividades.h"

#include "store/DataControl.h"
#include "store/SqlValue.h"
#include "ui/DataLists.h"
#include "ui/Dialogs.h"
#include "ui/FieldBinding.h"
#include "ui/GuardedSlot.h"

#include <QCheckBox>
#include <QFormLayout>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

using admin::column;
using store::sql::text;

namespace {

admin::MaintenanceSpec spec()
{
    admin::MaintenanceSpec s;
    s.windowName = QStringLiteral("frmMantActividades");
    s.title = QStringLiteral("Mantenimiento de actividades");
    s.controlName = QStringLiteral("adcActividades");
    s.statement = QStringLiteral("SELECT * FROM ACTIVIDADES ORDER BY ACTDESCRIPCION ASC");
    s.gridName = QStringLiteral("dtgActividades");
    s.gridCaption = QStringLiteral("LISTA DE ACTIVIDADES");
    s.columns = {column(QStringLiteral("Código"), QStringLiteral("ActId")),
                 column(QStringLiteral("Descripción de la Actividad"), QStringLiteral("ActDescripcion"))};
    s.keyField = QStringLiteral("ActId");
    s.descriptionField = QStringLiteral("ActDescripcion");
    return s;
}

const QString kDrmList = QStringLiteral(
    "SELECT *, R.RUBID+' '+M.MATDESCRIPCION FROM DOCENTES_RUBROS_MATERIAS DRM, ACTIVIDADES A, RUBROS R, "
    "MATERIAS M WHERE DRM.ACTID=A.ACTID AND DRM.RUBID=R.RUBID AND DRM.MATID=M.MATID");

QPushButton *button(QWidget *parent, const char *name, const QString &caption)
{
    auto *b = new QPushButton(caption, parent);
    b->setObjectName(QString::fromLatin1(name));
    return b;
}

// The link of an activity to an area, and to a pair of subject group and subject.
QString areaLink(const QString &actid, const QString &areid)
{
    return QStringLiteral("SELECT * FROM AREAS_ACTIVIDADES WHERE ACTID=") + text(actid) +
           QStringLiteral(" AND AREID=") + text(areid);
}

QString subjectLink(const QString &actid, const QString &rubid, const QString &matid)
{
    return QStringLiteral("SELECT * FROM DOCENTES_RUBROS_MATERIAS WHERE ACTID=") + text(actid) +
           QStringLiteral(" AND RUBID=") + text(rubid) + QStringLiteral(" AND MATID=") + text(matid);
}

// The current row's column, or an empty text when there is no row to read.
QString current(store::DataControl *adc, const QString &field)
{
    return adc->hasCurrentRow() && adc->fieldIndex(field) >= 0 ? adc->value(field).toString() : QString();
}

}  // namespace

frmMantActividades::frmMantActividades(QWidget *parent) : MaintenanceWindow(spec(), parent)
{
    chkDocente = new QCheckBox(QStringLiteral("Es una actividad docente ?"), this);
    chkDocente->setObjectName(QStringLiteral("chkDocente"));
    form()->addRow(QString(), chkDocente);
    ui::FieldBinding::bind(chkDocente, dataControl(), QStringLiteral("ActEsDocente"));

    adcAreas = new store::DataControl(QStringLiteral("adcAreas"), this);
    adcAreas->setRecordSource(QStringLiteral("SELECT * FROM AREAS ORDER BY AREDESCRIPCION ASC"));
    adcAreasActividades2 = new store::DataControl(QStringLiteral("adcAreasActividades2"), this);
    adcAreasActividades2->setRecordSource(
        QStringLiteral("SELECT * FROM AREAS_ACTIVIDADES AA, AREAS A WHERE AA.AREID=A.AREID"));
    adcAreasActividades = new store::DataControl(QStringLiteral("adcAreasActividades"), this);
    adcAreasActividades->setRecordSource(QStringLiteral("SELECT * FROM AREAS_ACTIVIDADES"));
    adcMaterias = new store::DataControl(QStringLiteral("adcMaterias"), this);
    adcMaterias->setRecordSource(QStringLiteral("SELECT * FROM MATERIAS ORDER BY MATDESCRIPCION ASC"));
    adcRubros = new store::DataControl(QStringLiteral("adcRubros"), this);
    adcRubros->setRecordSource(QStringLiteral(
        "SELECT * FROM RUBROS R, RUBROS_MATERIAS RM WHERE R.RUBID=RM.RUBID ORDER BY RUBDESCRIPCION ASC"));
    adcDocentesRubrosMaterias2 = new store::DataControl(QStringLiteral("adcDocentesRubrosMaterias2"), this);
    adcDocentesRubrosMaterias2->setRecordSource(kDrmList);
    adcDocentesRubrosMaterias = new store::DataControl(QStringLiteral("adcDocentesRubrosMaterias"), this);
    adcDocentesRubrosMaterias->setRecordSource(QStringLiteral("SELECT * FROM DOCENTES_RUBROS_MATERIAS"));
    for (store::DataControl *adc : {adcAreas, adcAreasActividades2, adcAreasActividades, adcMaterias, adcRubros,
                                    adcDocentesRubrosMaterias2, adcDocentesRubrosMaterias})
        adc->refresh();

    dtlAreasActividades = new ui::DataList(this);
    dtlAreasActividades->setObjectName(QStringLiteral("dtlAreasActividades"));
    dtlAreasActividades->setRowSource(adcAreasActividades2, QStringLiteral("AreDescripcion"), QStringLiteral("AreId"));
    dtcAreas = new ui::DataCombo(this);
    dtcAreas->setObjectName(QStringLiteral("dtcAreas"));
    dtcAreas->setRowSource(adcAreas, QStringLiteral("AreDescripcion"), QStringLiteral("AreId"));
    cmdAgregar = button(this, "cmdAgregar", QStringLiteral("Agregar"));
    cmdQuitar = button(this, "cmdQuitar", QStringLiteral("Quitar"));

    dtlMaterias = new ui::DataList(this);
    dtlMaterias->setObjectName(QStringLiteral("dtlMaterias"));
    dtlMaterias->setRowSource(adcDocentesRubrosMaterias2, QStringLiteral("Expr1000"), QStringLiteral("Expr1000"));
    dtcMaterias = new ui::DataCombo(this);
    dtcMaterias->setObjectName(QStringLiteral("dtcMaterias"));
    dtcMaterias->setRowSource(adcMaterias, QStringLiteral("MatDescripcion"), QStringLiteral("MatId"));
    dtcRubros = new ui::DataCombo(this);
    dtcRubros->setObjectName(QStringLiteral("dtcRubros"));
    dtcRubros->setRowSource(adcRubros, QStringLiteral("RubDescripcion"), QStringLiteral("RubId"));
    cmdAgregarMateria = button(this, "cmdAgregarMateria", QStringLiteral("Agregar"));
    cmdQuitarMateria = button(this, "cmdQuitarMateria", QStringLiteral("Quitar"));
    for (QWidget *w : std::initializer_list<QWidget *>{dtlMaterias, dtcMaterias, dtcRubros, cmdAgregarMateria,
                                                       cmdQuitarMateria})
        w->setEnabled(false);

    // Two columns, each a list with what adds to it above: every label right over its box.
    auto *areas = linkListLayout({{QStringLiteral("Areas en las que se realiza esta actividad:"), dtcAreas}}, cmdAgregar,
                                 cmdQuitar, dtlAreasActividades);
    auto *subjects = linkListLayout({{QStringLiteral("Materias en las que se realiza esta actividad:"), dtcMaterias},
                                     {QStringLiteral("Rubros en las que se realiza esta actividad:"), dtcRubros}},
                                    cmdAgregarMateria, cmdQuitarMateria, dtlMaterias);
    auto *links = new QHBoxLayout;
    links->addLayout(areas, 1);
    links->addLayout(subjects, 1);
    extraArea()->addLayout(links);

    ui::connectGuarded(chkDocente, &QCheckBox::toggled, this, &frmMantActividades::chkDocente_Click);
    ui::connectGuarded(dtcMaterias, &ui::DataCombo::changed, this, &frmMantActividades::dtcMaterias_Change);
    ui::connectGuarded(cmdAgregar, &QPushButton::clicked, this, &frmMantActividades::cmdAgregar_Click);
    ui::connectGuarded(cmdQuitar, &QPushButton::clicked, this, &frmMantActividades::cmdQuitar_Click);
    ui::connectGuarded(cmdAgregarMateria, &QPushButton::clicked, this, &frmMantActividades::cmdAgregarMateria_Click);
    ui::connectGuarded(cmdQuitarMateria, &QPushButton::clicked, this, &frmMantActividades::cmdQuitarMateria_Click);
    resize(760, 720);
    open();
}

QString frmMantActividades::actividad(const QString &field) const
{
    return current(dataControl(), field);
}

void frmMantActividades::currentRowChanged(bool onRow)
{
    // The check box shows the new row's value; only a ticked box opens the subject links.
    chkDocente_Click();
    if (!onRow)
        return;
    refreshAreaLinks();
    refreshSubjectLinks();
}

void frmMantActividades::refreshAreaLinks()
{
    showLinks(adcAreasActividades2,
              QStringLiteral("SELECT * FROM AREAS_ACTIVIDADES AA, AREAS A WHERE AA.AREID=A.AREID AND AA.ACTID=") +
                  text(actividad(QStringLiteral("ActId"))),
              dtlAreasActividades);
}

void frmMantActividades::refreshSubjectLinks()
{
    showLinks(adcDocentesRubrosMaterias2,
              kDrmList + QStringLiteral(" AND DRM.ACTID=") + text(actividad(QStringLiteral("ActId"))), dtlMaterias);
}

void frmMantActividades::chkDocente_Click()
{
    const bool open = chkDocente->isChecked();
    for (QWidget *w : std::initializer_list<QWidget *>{dtcMaterias, dtcRubros, dtlMaterias, cmdAgregarMateria,
                                                       cmdQuitarMateria})
        w->setEnabled(open);
}

void frmMantActividades::dtcMaterias_Change()
{
    // Only the groups that hold the chosen subject can be paired with it.
    adcRubros->setRecordSource(QStringLiteral("SELECT * FROM RUBROS R, RUBROS_MATERIAS RM WHERE R.RUBID=RM.RUBID "
                                              "AND MATID=") +
                               text(dtcMaterias->boundText()) + QStringLiteral(" ORDER BY RUBDESCRIPCION ASC"));
    adcRubros->refresh();
    adcRubros->refresh();
    dtcRubros->refill();
}

void frmMantActividades::cmdAgregar_Click()
{
    if (newRowPending())
        return;
    const QString areid = dtcAreas->boundText();
    if (areid.isEmpty()) {
        ui::msgBox(QStringLiteral("Seleccione primero un elemento de la lista."), {}, ui::Icon::Exclamation, this);
        return;
    }
    const QString actid = actividad(QStringLiteral("ActId"));
    if (findLinks(adcAreasActividades, areaLink(actid, areid)) != 0) {
        ui::msgBox(QStringLiteral("El área %1 ya realiza la actividad %2")
                       .arg(current(adcAreas, QStringLiteral("AreDescripcion")),
                            actividad(QStringLiteral("ActDescripcion"))));
        return;
    }
    if (addLink(adcAreasActividades, {{QStringLiteral("ActId"), actid}, {QStringLiteral("AreId"), areid}}))
        refreshAreaLinks();
}

void frmMantActividades::cmdQuitar_Click()
{
    const QString areid = dtlAreasActividades->boundText();
    const QString actid = actividad(QStringLiteral("ActId"));
    if (findLinks(adcAreasActividades, areaLink(actid, areid)) != 1) {
        ui::msgBox(QStringLiteral("El área %1 no realiza la actividad %2")
                       .arg(current(adcAreas, QStringLiteral("AreDescripcion")),
                            actividad(QStringLiteral("ActDescripcion"))));
        return;
    }
    if (!ui::ask(QStringLiteral("Esta seguro que desea quitar %1 ?").arg(areid), QStringLiteral("Confirmación"),
                 ui::Icon::Question, this))
        return;
    removeLink(adcAreasActividades);
    refreshAreaLinks();
}

void frmMantActividades::cmdAgregarMateria_Click()
{
    if (newRowPending())
        return;
    const QString matid = dtcMaterias->boundText();
    const QString rubid = dtcRubros->boundText();
    if (matid.isEmpty() || rubid.isEmpty()) {
        ui::msgBox(QStringLiteral("Seleccione primero un elemento de la lista."), {}, ui::Icon::Exclamation, this);
        return;
    }
    const QString actid = actividad(QStringLiteral("ActId"));
    if (findLinks(adcDocentesRubrosMaterias, subjectLink(actid, rubid, matid)) != 0) {
        ui::msgBox(QStringLiteral("La materia %1 ya realiza la actividad %2 en el rubro %3")
                       .arg(current(adcMaterias, QStringLiteral("MatDescripcion")),
                            actividad(QStringLiteral("ActDescripcion")),
                            current(adcRubros, QStringLiteral("RubDescripcion"))));
        return;
    }
    if (addLink(adcDocentesRubrosMaterias, {{QStringLiteral("ActId"), actid},
                                            {QStringLiteral("MatId"), matid},
                                            {QStringLiteral("RubId"), rubid}}))
        refreshSubjectLinks();
}

void frmMantActividades::cmdQuitarMateria_Click()
{
    const QString matid = dtcMaterias->boundText();
    const QString rubid = dtcRubros->boundText();
    if (matid.isEmpty() || rubid.isEmpty()) {
        ui::msgBox(QStringLiteral("Debe seleccionar la materia y el rubro que desea quitar a esta actividad"));
        return;
    }
    const QString actid = actividad(QStringLiteral("ActId"));
    const int found = findLinks(adcDocentesRubrosMaterias, subjectLink(actid, rubid, matid));
    const QString activity = actividad(QStringLiteral("ActDescripcion"));
    if (found != 1) {
        ui::msgBox(QStringLiteral("Verifique que la materia %1 sea realizada por la actividad %2 en el rubro %3")
                       .arg(current(adcMaterias, QStringLiteral("MatDescripcion")), activity,
                            current(adcRubros, QStringLiteral("RubDescripcion"))));
        return;
    }
    if (!ui::ask(QStringLiteral("Esta seguro que desea quitar esta materia y rubro de la actividad %1 ?").arg(activity),
                 QStringLiteral("Confirmación"), ui::Icon::Question, this))
        return;
    removeLink(adcDocentesRubrosMaterias);
    refreshSubjectLinks();
}
