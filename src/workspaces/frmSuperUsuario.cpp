#include "workspaces/frmSuperUsuario.h"

#include "ui/Dialogs.h"

namespace {

Workspace::Setup setup()
{
    Workspace::Setup s;
    s.toolbarKeys = {QStringLiteral("imprimir"),    QStringLiteral("estadisticas"), QStringLiteral("ordenar_asc"),
                     QStringLiteral("ordenar_des"), QStringLiteral("cambio"),       QStringLiteral("ayuda"),
                     QStringLiteral("salir")};
    s.printMenu = {{QStringLiteral("funcionario"), QStringLiteral("El funcionario seleccionado")},
                   {QStringLiteral("area"), QStringLiteral("Todos los funcionarios del área")},
                   {QStringLiteral("todo"), QStringLiteral("Todas las horas realizadas en el mes")}};
    s.hoursMaskInCurrent = true;
    return s;
}

}  // namespace

frmSuperUsuario::frmSuperUsuario(QWidget *parent) : StaffWorkspace(setup(), parent)
{
    setObjectName(QStringLiteral("frmSuperUsuario"));
}

QString frmSuperUsuario::staffStatement() const
{
    return QStringLiteral("SELECT * FROM FUNCIONARIOS F, FUNCIONARIOS_INSTITUTOS FI WHERE F.FUNCEDULA=FI.FUNCEDULA");
}

QString frmSuperUsuario::statisticsStatement()
{
    return QStringLiteral(
        "SHAPE {select HorId,AreDescripcion,ActDescripcion,TipDescripcion,DesDescripcion,HorHoras from HHoras H, "
        "Areas ARE, Actividades ACT, Destinos D, TipoHoras T WHERE H.AREID=ARE.AREID AND H.ACTID=ACT.ACTID AND "
        "H.DESID=D.DESID AND H.TIPID=T.TIPID } AS ChildCommand COMPUTE ChildCommand, "
        "SUM(ChildCommand.[HorHoras]) AS [HorHoras] BY [AreDescripcion], [ActDescripcion], [DesDescripcion], "
        "[TipDescripcion]");
}

void frmSuperUsuario::menuEntryChosen(const QString &button, const QString &entry)
{
    if (button != QLatin1String("estadisticas")) {
        StaffWorkspace::menuEntryChosen(button, entry);
        return;
    }
    static const QHash<QString, QString> columns = {{QStringLiteral("actividades"), QStringLiteral("ActDescripcion")},
                                                     {QStringLiteral("areas"), QStringLiteral("AreDescripcion")},
                                                     {QStringLiteral("destinos"), QStringLiteral("DesDescripcion")},
                                                     {QStringLiteral("tipos"), QStringLiteral("TipDescripcion")}};
    const auto it = columns.constFind(entry);
    if (it == columns.cend())
        return;
    agrupar = it.value();
    consulta = statisticsStatement();
    ui::msgBox(QStringLiteral("Las gráficas todavía no están disponibles."), {}, ui::Icon::Information, this);
    rerunLists();
}
