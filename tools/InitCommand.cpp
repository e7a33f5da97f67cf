#include "InitCommand.h"

#include "StoreTool.h"
#include "store/PersonalStore.h"
#include "store/StoreError.h"

#include <QTextStream>
#include <cstdio>

namespace storetool {

int initCommand(const QString &dataSource, const QStringList &arguments)
{
    QStringList args = arguments;
    QString file = store::personalstore::defaultFile();
    if (args.size() >= 2 && args.first() == QLatin1String("--file")) {
        file = args.at(1);
        args = args.mid(2);
    }
    if (args.size() != 1 && args.size() != 2)
        return 2;
    const QString login = args.at(0);
    QString password;
    if (args.size() == 2) {
        password = args.at(1);
    } else {
        QTextStream in(stdin);
        password = in.readLine();
    }
    try {
        store::personalstore::create(dataSource, file, [&](store::Connection &conn) {
            createWithAdministrator(conn, login, password);
        });
    } catch (const store::StoreError &e) {
        std::fprintf(stderr, "tempalia-store: %s\n", qPrintable(e.description()));
        return 1;
    }
    std::printf("Base personal creada en %s; origen de datos %s registrado para este usuario; "
                "administrador %s.\n",
                qPrintable(file), qPrintable(dataSource), qPrintable(login));
    return 0;
}

}  // namespace storetool
