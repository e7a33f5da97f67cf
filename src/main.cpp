#include "session/modPrincipal.h"

#include <QWidget>

namespace {

// The main window of each role, built (and so loaded) here and shown by Main. A role
// without a window yet gets nullptr, and the run ends after the presentation window.
QWidget *mainWindowFor(qint16 perId)
{
    switch (perId) {
    case 5:  // common user: frmUsuarioComun
    case 6:  // area chief: frmJefeArea
    case 7:  // administrator: frmAdministrador
    case 8:  // super user: frmSuperUsuario
    default:
        return nullptr;
    }
}

}  // namespace

int main(int argc, char *argv[])
{
    modPrincipal::setMainWindowFactory(mainWindowFor);
    return modPrincipal::run(argc, argv);
}
