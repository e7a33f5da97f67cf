// tempalia-store: creates the store's tables, demo rows or the first administrator on the
// data source RRHHODBC (or the one named by --dsn), makes a personal store, brings an older
// store up to date, and prints the history of the hour records.
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
    std::fputs("Uso: tempalia-store [--dsn ORIGEN] ORDEN\n"
               "  create [--propietario ROL --programa ROL [--clave-programa CLAVE]]\n"
               "           crea las tablas, claves, índices, los cuatro permisos y el historial;\n"
               "           en PostgreSQL, con los dos roles, las tablas quedan del propietario y el\n"
               "           rol del programa recibe solo los derechos que usan las ventanas\n"
               "  upgrade  pone al día una base anterior (contraseñas con hash, historial); se\n"
               "           puede repetir sin efecto\n"
               "  demo     agrega datos de demostración (logins usuario, jefe, admin, super)\n"
               "  admin LOGIN PASSWORD\n"
               "           crea el primer administrador de una base vacía\n"
               "  init [--file ARCHIVO] LOGIN [PASSWORD]\n"
               "           crea una base personal (SQLite) con su administrador y registra el\n"
               "           origen de datos para este usuario; sin PASSWORD lo lee de la entrada\n"
               "  historial [--funcionario CEDULA] [--desde AAAA-MM-DD] [--hasta AAAA-MM-DD] [--csv]\n"
               "           los cambios de los registros de horas: cuándo, quién, qué\n",
               stderr);
    return 2;
}

// "--name value" pairs after the command; false on an unknown or incomplete option.
bool options(const QStringList &args, const QStringList &known, QHash<QString, QString> *out,
             const QStringList &flags = {})
{
    for (int i = 0; i < args.size(); ++i) {
        if (flags.contains(args[i])) {
            out->insert(args[i], QStringLiteral("1"));
        } else if (known.contains(args[i]) && i + 1 < args.size()) {
            out->insert(args[i], args[i + 1]);
            ++i;
        } else {
            return false;
        }
    }
    return true;
}

QDate dateOption(const QHash<QString, QString> &opts, const QString &name)
{
    if (!opts.contains(name))
        return {};
    const QDate d = QDate::fromString(opts.value(name), Qt::ISODate);
    if (!d.isValid())
        throw store::StoreError(store::StoreError::Kind::BadValue, 0,
                                QStringLiteral("%1 no es una fecha AAAA-MM-DD: %2").arg(name, opts.value(name)));
    return d;
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
    const QStringList rest = args.mid(1);
    try {
        QHash<QString, QString> opts;
        if (command == QLatin1String("create")) {
            if (!options(rest, {QStringLiteral("--propietario"), QStringLiteral("--programa"),
                                QStringLiteral("--clave-programa")},
                         &opts) ||
                opts.contains(QStringLiteral("--propietario")) != opts.contains(QStringLiteral("--programa")))
                return usage();
            auto conn = store::Connection::open(QStringLiteral("DSN=") + dsn);
            if (opts.contains(QStringLiteral("--propietario"))) {
                storetool::create(*conn, {opts.value(QStringLiteral("--propietario")),
                                          opts.value(QStringLiteral("--programa")),
                                          opts.value(QStringLiteral("--clave-programa"))});
                std::printf("Tablas creadas en %s, del rol %s; el programa entra como %s.\n", qPrintable(dsn),
                            qPrintable(opts.value(QStringLiteral("--propietario"))),
                            qPrintable(opts.value(QStringLiteral("--programa"))));
            } else {
                storetool::create(*conn);
                std::printf("Tablas creadas en %s (%s).\n", qPrintable(dsn),
                            qPrintable(store::backendName(conn->backend())));
            }
        } else if (command == QLatin1String("upgrade") && rest.isEmpty()) {
            auto conn = store::Connection::open(QStringLiteral("DSN=") + dsn);
            const QStringList done = storetool::upgrade(*conn);
            if (done.isEmpty())
                std::printf("La base %s ya estaba al día.\n", qPrintable(dsn));
            for (const QString &d : done)
                std::printf("%s: %s.\n", qPrintable(dsn), qPrintable(d));
        } else if (command == QLatin1String("demo") && rest.isEmpty()) {
            auto conn = store::Connection::open(QStringLiteral("DSN=") + dsn);
            storetool::demo(*conn, QDate::currentDate());
            std::printf("Datos de demostración agregados en %s.\n", qPrintable(dsn));
        } else if (command == QLatin1String("admin") && rest.size() == 2) {
            auto conn = store::Connection::open(QStringLiteral("DSN=") + dsn);
            storetool::admin(*conn, rest.at(0), rest.at(1));
            std::printf("Administrador %s creado en %s.\n", qPrintable(rest.at(0)), qPrintable(dsn));
        } else if (command == QLatin1String("historial")) {
            if (!options(rest, {QStringLiteral("--funcionario"), QStringLiteral("--desde"), QStringLiteral("--hasta")},
                         &opts, {QStringLiteral("--csv")}))
                return usage();
            const QDate from = dateOption(opts, QStringLiteral("--desde"));
            const QDate to = dateOption(opts, QStringLiteral("--hasta"));
            auto conn = store::Connection::open(QStringLiteral("DSN=") + dsn);
            const QString report = storetool::historyReport(
                *conn, opts.value(QStringLiteral("--funcionario")), from, to,
                opts.contains(QStringLiteral("--csv")) ? storetool::HistoryFormat::Csv : storetool::HistoryFormat::Table);
            std::fputs(report.toUtf8().constData(), stdout);
        } else {
            return usage();
        }
    } catch (const store::StoreError &e) {
        std::fprintf(stderr, "tempalia-store: %s\n", qPrintable(e.description()));
        return 1;
    }
    return 0;
}
