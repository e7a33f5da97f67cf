// tempalia-bench-generate [--small]: fills the store behind RRHHODBC with the large
// organisation the benchmarks run on. Everything in that store is replaced.
#include "LargeStore.h"

#include "store/Connection.h"
#include "store/StoreError.h"

#include <QCoreApplication>
#include <cstdio>

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    const bool small = app.arguments().contains(QStringLiteral("--small"));
    try {
        auto conn = store::Connection::open();
        bench::fillLargeStore(*conn, bench::sizeFor(small ? 0.1 : 1.0));
    } catch (const store::StoreError &e) {
        std::fprintf(stderr, "tempalia-bench-generate: %s\n", qPrintable(e.description()));
        return 1;
    }
    return 0;
}
