// tempalia-bench-generate [--small | --scale N]: fills the store behind RRHHODBC with the
// large organisation the benchmarks run on: N times 1,000,000 rows in HORAS and as many in
// HHORAS (--small: a tenth). Everything in that store is replaced.
#include "LargeStore.h"

#include "store/Connection.h"
#include "store/StoreError.h"

#include <QCoreApplication>
#include <cstdio>

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    const QStringList args = app.arguments();
    double scale = args.contains(QStringLiteral("--small")) ? 0.1 : 1.0;
    const int at = int(args.indexOf(QStringLiteral("--scale")));
    if (at > 0) {
        bool ok = false;
        scale = args.value(at + 1).toDouble(&ok);
        if (!ok || scale <= 0 || scale > 20) {
            std::fprintf(stderr, "tempalia-bench-generate: --scale espera un número mayor que 0 y hasta 20\n");
            return 2;
        }
    }
    try {
        auto conn = store::Connection::open();
        bench::fillLargeStore(*conn, bench::sizeFor(scale));
    } catch (const store::StoreError &e) {
        std::fprintf(stderr, "tempalia-bench-generate: %s\n", qPrintable(e.description()));
        return 1;
    }
    return 0;
}
