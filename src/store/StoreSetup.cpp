#include "store/StoreSetup.h"

#include "store/Connection.h"
#include "store/SchemaInfo.h"
#include "store/ResultSet.h"
#include "store/StoreError.h"

#include <QFile>
#include <QRegularExpression>
#include <QSqlDatabase>
#include <algorithm>

namespace store::setup {
namespace {

// The statements of a schema file: each ends with a line ending in ';', except that a
// trigger body (CREATE TRIGGER ... BEGIN ... END;) and a function body between $$ marks
// run to their own end.
QStringList schemaStatements(const QString &resource)
{
    QFile file(resource);
    if (!file.open(QIODevice::ReadOnly))
        throw StoreError(StoreError::Kind::Store, 0, QStringLiteral("Falta el esquema de la base de datos."));
    QStringList statements;
    QString current;
    bool inDollarBody = false;
    const QStringList lines = QString::fromUtf8(file.readAll()).split(QLatin1Char('\n'));
    for (const QString &line : lines) {
        const QString t = line.trimmed();
        if (current.isEmpty() && (t.isEmpty() || t.startsWith(QLatin1String("--"))))
            continue;
        current += line + QLatin1Char('\n');
        if (line.count(QLatin1String("$$")) % 2 == 1)
            inDollarBody = !inDollarBody;
        if (inDollarBody || !t.endsWith(QLatin1Char(';')))
            continue;
        const bool triggerBody = current.startsWith(QLatin1String("CREATE TRIGGER"), Qt::CaseInsensitive) &&
                                 current.contains(QLatin1String("\nBEGIN"));
        if (triggerBody && t.compare(QLatin1String("END;"), Qt::CaseInsensitive) != 0)
            continue;
        current = current.trimmed();
        current.chop(1);
        statements << current;
        current.clear();
    }
    return statements;
}

QString schemaFile(Backend backend)
{
    return backend == Backend::SQLite ? QStringLiteral(":/schema/sqlite.sql") : QStringLiteral(":/schema/postgresql.sql");
}

QString historyFile(Backend backend)
{
    return backend == Backend::SQLite ? QStringLiteral(":/schema/sqlite-history.sql")
                                      : QStringLiteral(":/schema/postgresql-history.sql");
}

// The SQLite triggers that recognise a close's rows, as the history's schema names them.
const QStringList kArchiveTriggers{QStringLiteral("TR_HORAS_HIST_BAJA"), QStringLiteral("TR_HORAS_HIST_ARCHIVO"),
                                   QStringLiteral("TR_HHORAS_HIST_ALTA")};

void runStatements(Connection &conn, const QStringList &statements)
{
    for (const QString &s : statements)
        conn.executeNative(s);
}

bool tableExists(Connection &conn, const QString &table)
{
    for (const QString &p : conn.database().tables(QSql::Tables))
        if (p.compare(table, Qt::CaseInsensitive) == 0)
            return true;
    return false;
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
        runStatements(conn, schemaStatements(schemaFile(conn.backend())));
        runStatements(conn, schemaStatements(historyFile(conn.backend())));
        conn.commit();
    } catch (...) {
        conn.rollback();
        throw;
    }
}

void dropSchema(Connection &conn)
{
    removeHistory(conn);
    for (const QString &t : existingTables(conn))
        conn.executeNative(QStringLiteral("DROP TABLE %1").arg(t));
}

bool hasHistory(Connection &conn)
{
    return tableExists(conn, QString::fromLatin1(kHistoryTable));
}

void installHistory(Connection &conn)
{
    runStatements(conn, schemaStatements(historyFile(conn.backend())));
}

void removeHistory(Connection &conn)
{
    const bool sqlite = conn.backend() == Backend::SQLite;
    for (const char *t : {"HORAS", "HHORAS"})
        for (const char *kind : {"ALTA", "CAMBIO", "BAJA", "ARCHIVO"}) {
            const QString trigger = QStringLiteral("TR_%1_HIST_%2").arg(QLatin1String(t), QLatin1String(kind));
            if (sqlite)
                conn.executeNative(QStringLiteral("DROP TRIGGER IF EXISTS %1").arg(trigger));
            else if (tableExists(conn, QLatin1String(t)))
                conn.executeNative(QStringLiteral("DROP TRIGGER IF EXISTS %1 ON %2").arg(trigger, QLatin1String(t)));
        }
    conn.executeNative(QStringLiteral("DROP VIEW IF EXISTS HORAS_HISTORIAL_LECTURA"));
    conn.executeNative(QStringLiteral("DROP TABLE IF EXISTS HORAS_HISTORIAL"));
    if (sqlite)
        return;
    conn.executeNative(QStringLiteral("DROP TABLE IF EXISTS HORAS_CIERRE"));
    for (const char *f : {"tempalia_hist_fila()", "tempalia_hist_horas_bajas()", "tempalia_hist_hhoras_altas()",
                          "tempalia_hist_json(jsonb)", "tempalia_cierre_mover(VARCHAR, DATE)"})
        conn.executeNative(QStringLiteral("DROP FUNCTION IF EXISTS %1").arg(QLatin1String(f)));
}

bool hasArchiveFunction(Connection &conn)
{
    return !conn.selectNative(QStringLiteral("SELECT to_regprocedure('tempalia_cierre_mover(varchar,date)')"))
                .rows.front()
                .value(0)
                .isNull();
}

bool dropArchiveTriggers(Connection &conn)
{
    // The drops come first: they take the file's write lock before anything is read.
    for (const QString &trigger : kArchiveTriggers)
        conn.executeNative(QStringLiteral("DROP TRIGGER IF EXISTS %1").arg(trigger));
    return !conn.selectNative(QStringLiteral("SELECT 1 FROM sqlite_master WHERE type = 'table' AND name = ?"),
                              {QString::fromLatin1(kHistoryTable)})
                .rows.empty();
}

void createArchiveTriggers(Connection &conn)
{
    static const QStringList statements = [] {
        QStringList creates = schemaStatements(historyFile(Backend::SQLite));
        creates.removeIf([](const QString &s) {
            return std::none_of(kArchiveTriggers.begin(), kArchiveTriggers.end(), [&](const QString &trigger) {
                return s.startsWith(QStringLiteral("CREATE TRIGGER %1 ").arg(trigger));
            });
        });
        return creates;
    }();
    runStatements(conn, statements);
}

// An older history (PostgreSQL) lacks the close's function: the schema's statements that
// can run again replace the trigger functions and add the function and its marker.
static bool updateHistory(Connection &conn)
{
    if (conn.backend() != Backend::PostgreSQL || hasArchiveFunction(conn))
        return false;
    static const QRegularExpression rerunnable(
        QStringLiteral("^(CREATE OR REPLACE |CREATE TABLE IF NOT EXISTS |GRANT |DO )"));
    QStringList statements = schemaStatements(historyFile(Backend::PostgreSQL));
    statements.removeIf([](const QString &s) { return !rerunnable.match(s).hasMatch(); });
    runStatements(conn, statements);
    return true;
}

static bool widenPasswordColumn(Connection &conn)
{
    if (conn.backend() == Backend::PostgreSQL) {
        const ResultSet rs = conn.selectNative(QStringLiteral(
            "SELECT character_maximum_length FROM information_schema.columns "
            "WHERE table_name = 'usuarios' AND column_name = 'usupassword' AND table_schema = current_schema()"));
        if (rs.rows.empty() || rs.rows.front().value(0).toInt() >= kPasswordWidth)
            return false;
        conn.executeNative(QStringLiteral("ALTER TABLE USUARIOS ALTER COLUMN UsuPassword TYPE VARCHAR(%1)")
                               .arg(kPasswordWidth));
        return true;
    }
    // SQLite cannot change a column's check: the table is built again with the new
    // definition (the one in the schema file) and its rows copied over.
    const ResultSet rs = conn.selectNative(
        QStringLiteral("SELECT sql FROM sqlite_master WHERE type = 'table' AND name = 'USUARIOS'"));
    if (rs.rows.empty() || !rs.rows.front().value(0).toString().contains(QLatin1String("length(UsuPassword) <= 12)")))
        return false;
    QString create;
    for (const QString &s : schemaStatements(schemaFile(Backend::SQLite)))
        if (s.startsWith(QLatin1String("CREATE TABLE USUARIOS ")))
            create = s;
    create.replace(QLatin1String("CREATE TABLE USUARIOS "), QLatin1String("CREATE TABLE USUARIOS_NUEVA "));
    conn.executeNative(create);
    conn.executeNative(QStringLiteral("INSERT INTO USUARIOS_NUEVA (UsuLogin, UsuPassword, FunCedula, PerId) "
                                      "SELECT UsuLogin, UsuPassword, FunCedula, PerId FROM USUARIOS"));
    conn.executeNative(QStringLiteral("DROP TABLE USUARIOS"));
    conn.executeNative(QStringLiteral("ALTER TABLE USUARIOS_NUEVA RENAME TO USUARIOS"));
    return true;
}

QStringList upgrade(Connection &conn)
{
    QStringList done;
    if (existingTables(conn).isEmpty())
        throw StoreError(StoreError::Kind::Store, 0,
                         QStringLiteral("La base de datos no tiene las tablas del programa: use create."));
    conn.beginTransaction();
    try {
        if (widenPasswordColumn(conn))
            done << QStringLiteral("columna UsuPassword ampliada a %1 caracteres").arg(kPasswordWidth);
        if (!hasHistory(conn)) {
            installHistory(conn);
            done << QStringLiteral("historial de horas creado");
        } else if (updateHistory(conn)) {
            done << QStringLiteral("historial de horas actualizado");
        }
        conn.commit();
    } catch (...) {
        conn.rollback();
        throw;
    }
    return done;
}

}  // namespace store::setup
