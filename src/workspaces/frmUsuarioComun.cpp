#include "workspaces/frmUsuarioComun.h"

namespace {

Workspace::Setup setup()
{
    Workspace::Setup s;
    s.toolbarKeys = {QStringLiteral("nuevo"),       QStringLiteral("modificar"),   QStringLiteral("eliminar"),
                     QStringLiteral("imprimir"),    QStringLiteral("ordenar_asc"), QStringLiteral("ordenar_des"),
                     QStringLiteral("ayuda"),       QStringLiteral("salir")};
    return s;
}

}  // namespace

frmUsuarioComun::frmUsuarioComun(QWidget *parent) : Workspace(setup(), parent)
{
    setObjectName(QStringLiteral("frmUsuarioComun"));
}
