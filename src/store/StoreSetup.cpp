#include "store/StoreSetup.h"

#include "store/Connection.h"
#include "store/SchemaInfo.h"
#include "store/StoreError.h"

#include <QFile>
#include <QSqlDatabase>

namespace store::setup {
namespace {

QStringList schemaStatements(Backend backend)
{
    QFile file(backend == Backend::SQLite ? QStringLiteral(":/schema/sqlite.sql")
                                          : QStringLiteral(":/schema/postgresql.sql"));
    if (!file.open(QIODevice::ReadOnly))
        throw StoreError(StoreError::Kind::Store, 0, QStringLiteral("Falta el esquema de la base de datos."));
    QStringList statements;
    QString current;
    const QStringList lines = QString::fromUtf8(file.readAll()).split(QLatin1Char('\n'));
    for (const QString &line : lines) {
        const QString t = line.trimmed();
        if (t.isEmpty() || t.startsWith(QLatin1String("--")))
            continue;
        current += line + QLatin1Char('\n');
        if (t.endsWith(QLatin1Char(';'))) {
            current = current.trimmed();
            current.chop(1);
            statements << current;
            current.clear();
        }
    }
    return statements;
}

}  // namespace

QStringList existingTables(Connection &conn)
{
    const QStringList present = conn.database().tables(QSql::Tables);
    QStringList ours;
    for (const QString &t : allTables())
        for (const QString &p : present)
            if (p.compare(t, Qt::CaseInsensitive) == 0)
                ours << t;
    return ours;
}

void createSchema(Connection &conn)
{
    const QStringList existing = existingTables(conn);
    if (!existing.isEmpty())
        throw StoreError(StoreError::Kind::Store, 0,
                         QStringLiteral("La base de datos ya tiene tablas (%1): no se creó nada.")
                             .arg(existing.join(QStringLiteral(", "))));
    if (conn.backend() == Backend::SQLite) {
        // Several processes share one file: readers never block the writer. The mode is
        // kept in the file, whatever the data sources that open it later ask for.
        const ResultSet mode = conn.selectNative(QStringLiteral("PRAGMA journal_mode=WAL"));
        if (mode.rows.empty() || mode.rows.front().value(0).toString().compare(QLatin1String("wal"), Qt::CaseInsensitive))
            throw StoreError(StoreError::Kind::Store, 0,
                             QStringLiteral("No se pudo poner la base de datos en modo WAL: otro programa la tiene "
                                            "abierta. Ciérrelo y vuelva a intentarlo."));
        // The file holds the logins' passwords: it is the user's alone.
        const ResultSet files = conn.selectNative(QStringLiteral("PRAGMA database_list"));
        for (const Row &r : files.rows) {
            const QString path = r.value(2).toString();
            if (r.value(1).toString() == QLatin1String("main") && !path.isEmpty())
                QFile::setPermissions(path, QFile::ReadOwner | QFile::WriteOwner);
        }
    }
    conn.beginTransaction();
    try {
        for (const QString &s : schemaStatements(conn.backend()))
            conn.executeNative(s);
        conn.commit();
    } catch (...) {
        conn.rollback();
        throw;
    }
}

void dropSchema(Connection &conn)
{
    for (const QString &t : existingTables(conn))
        conn.executeNative(QStringLiteral("DROP TABLE %1").arg(t));
}

}  // namespace store::setup
