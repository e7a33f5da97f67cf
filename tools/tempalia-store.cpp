// tempalia-store: creates the store's tables, demo rows or the first administrator on the
// data source RRHHODBC (or the one named by --dsn).
#include "InitCommand.h"
#include "StoreTool.h"

#include "store/Connection.h"
#include "store/StoreError.h"

#include <QCoreApplication>
#include <QDate>
#include <QStringList>
#include <cstdio>

namespace {

int usage()
{
    std::fputs("Uso: tempalia-store [--dsn ORIGEN] create | demo | admin LOGIN PASSWORD\n"
               "       tempalia-store [--dsn ORIGEN] init [--file ARCHIVO] LOGIN [PASSWORD]\n"
               "  create   crea las tablas, claves, índices y los cuatro permisos\n"
               "  demo     agrega datos de demostración (logins usuario, jefe, admin, super)\n"
               "  admin    crea el primer administrador de una base vacía\n"
               "  init     crea una base personal (SQLite) con su administrador y registra el\n"
               "           origen de datos para este usuario; sin PASSWORD lo lee de la entrada\n",
               stderr);
    return 2;
}

}  // namespace

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    QStringList args = app.arguments().mid(1);
    QString dsn = QStringLiteral("RRHHODBC");
    if (args.size() >= 2 && args.first() == QLatin1String("--dsn")) {
        dsn = args.at(1);
        args = args.mid(2);
    }
    if (args.isEmpty())
        return usage();
    const QString command = args.first();
    if (command == QLatin1String("init")) {
        const int status = storetool::initCommand(dsn, args.mid(1));
        return status == 2 ? usage() : status;
    }
    try {
        auto conn = store::Connection::open(QStringLiteral("DSN=") + dsn);
        if (command == QLatin1String("create")) {
            storetool::create(*conn);
            std::printf("Tablas creadas en %s (%s).\n", qPrintable(dsn), qPrintable(store::backendName(conn->backend())));
        } else if (command == QLatin1String("demo")) {
            storetool::demo(*conn, QDate::currentDate());
            std::printf("Datos de demostración agregados en %s.\n", qPrintable(dsn));
        } else if (command == QLatin1String("admin") && args.size() == 3) {
            storetool::admin(*conn, args.at(1), args.at(2));
            std::printf("Administrador %s creado en %s.\n", qPrintable(args.at(1)), qPrintable(dsn));
        } else {
            return usage();
        }
    } catch (const store::StoreError &e) {
        std::fprintf(stderr, "tempalia-store: %s\n", qPrintable(e.description()));
        return 1;
    }
    return 0;
}
