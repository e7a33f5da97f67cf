#include "StoreTool.h"
#include "admin/frmAdministrador.h"
#include "session/modPrincipal.h"
#include "workspaces/frmJefeArea.h"
#include "workspaces/frmSuperUsuario.h"
#include "workspaces/frmUsuarioComun.h"

#include <QWidget>

namespace {

// The main window of each role, built (and so loaded) here and shown by Main. A role
// without a window yet gets nullptr, and the run ends after the presentation window.
QWidget *mainWindowFor(qint16 perId)
{
    switch (perId) {
    case 5:  // common user
        return new frmUsuarioComun;
    case 6:  // area chief
        return new frmJefeArea;
    case 8:  // super user
        return new frmSuperUsuario;
    case 7:  // administrator
        return new frmAdministrador;
    default:
        return nullptr;
    }
}

}  // namespace

int main(int argc, char *argv[])
{
    modPrincipal::setMainWindowFactory(mainWindowFor);
    modPrincipal::setStoreFiller(storetool::createWithAdministrator);
    return modPrincipal::run(argc, argv);
}
