#include "session/modPrincipal.h"

#include "store/StoreError.h"

#include <QApplication>
#include <cstdio>

namespace modPrincipal {

QString gUsuLogin;
QString gFunCedula;
QString gAreId;
qint16 gPerId = 0;

void ReportarError(const std::exception &error)
{
    std::fprintf(stderr, "%s\n", error.what());
}

void Main() {}

int run(int argc, char *argv[])
{
    QApplication app(argc, argv);
    Main();
    return 0;
}

}  // namespace modPrincipal
