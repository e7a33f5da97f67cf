#include "StoreTool.h"

#include "session/Usuario.h"
#include "store/Connection.h"
#include "store/StoreError.h"
#include "store/HourHistory.h"
#include "store/SqlValue.h"
#include "store/StoreSetup.h"

#include <QRegularExpression>

#include <QDate>

namespace storetool {

void create(store::Connection &conn)
{
    store::setup::createSchema(conn);
}

void admin(store::Connection &conn, const QString &login, const QString &password)
{
    using store::StoreError;
    if (login.trimmed().isEmpty() || login.size() > 12)
        throw StoreError(StoreError::Kind::BadValue, 0,
                         QStringLiteral("El login debe tener entre 1 y 12 caracteres."));
    if (password.size() > 12)
        throw StoreError(StoreError::Kind::BadValue, 0,
                         QStringLiteral("La contraseña no puede tener más de 12 caracteres."));
    const QString hash = Usuario::hashPassword(password);
    const QString cedula = QStringLiteral("ADMIN");
    conn.beginTransaction();
    try {
        if (conn.selectNative(QStringLiteral("SELECT COUNT(*) FROM AREAS WHERE AreId = ?"), {QStringLiteral("GEN")})
                .rows.front().value(0).toInt() == 0)
            conn.executeNative(QStringLiteral("INSERT INTO AREAS (AreId, AreDescripcion) VALUES (?, ?)"),
                               {QStringLiteral("GEN"), QStringLiteral("General")});
        if (conn.selectNative(QStringLiteral("SELECT COUNT(*) FROM INSTITUTOS WHERE InsId = ?"), {QStringLiteral("GEN")})
                .rows.front().value(0).toInt() == 0)
            conn.executeNative(QStringLiteral("INSERT INTO INSTITUTOS (InsId, InsDescripcion) VALUES (?, ?)"),
                               {QStringLiteral("GEN"), QStringLiteral("Instituto")});
        if (conn.selectNative(QStringLiteral("SELECT COUNT(*) FROM FUNCIONARIOS WHERE FunCedula = ?"), {cedula})
                .rows.front().value(0).toInt() == 0) {
            conn.executeNative(QStringLiteral("INSERT INTO FUNCIONARIOS (FunCedula, FunNombres, FunApellidos) "
                                              "VALUES (?, ?, ?)"),
                               {cedula, QStringLiteral("Administrador"), QStringLiteral("del sistema")});
            conn.executeNative(QStringLiteral("INSERT INTO FUNCIONARIOS_INSTITUTOS (FunCedula, InsId, AreId, "
                                              "FunInsMoneda, FunInsInicio) VALUES (?, ?, ?, ?, ?)"),
                               {cedula, QStringLiteral("GEN"), QStringLiteral("GEN"),
                                QStringLiteral("Pesos Uruguayos"), QDate::currentDate()});
        }
        conn.executeNative(QStringLiteral("INSERT INTO USUARIOS (UsuLogin, UsuPassword, FunCedula, PerId) "
                                          "VALUES (?, ?, ?, 7)"),
                           {login, hash, cedula});
        conn.commit();
    } catch (...) {
        conn.rollback();
        throw;
    }
}

void createWithAdministrator(store::Connection &conn, const QString &login, const QString &password)
{
    create(conn);
    admin(conn, login, password);
}

namespace {

QString identifier(const QString &name, const char *what)
{
    static const QRegularExpression valid(QStringLiteral("^[a-z_][a-z0-9_]{0,62}$"));
    if (!valid.match(name).hasMatch())
        throw store::StoreError(store::StoreError::Kind::BadValue, 0,
                                QStringLiteral("El nombre del rol %1 (%2) debe ser de minúsculas, cifras y _.")
                                    .arg(QLatin1String(what), name));
    return name;
}

void grant(store::Connection &conn, const QString &rights, const QStringList &tables, const QString &role)
{
    conn.executeNative(QStringLiteral("GRANT %1 ON %2 TO %3").arg(rights, tables.join(QStringLiteral(", ")), role));
}

}  // namespace

void create(store::Connection &conn, const Roles &roles)
{
    using store::StoreError;
    if (conn.backend() != store::Backend::PostgreSQL)
        throw StoreError(StoreError::Kind::BadValue, 0,
                         QStringLiteral("Los roles de propietario y de programa solo existen en PostgreSQL."));
    const QString owner = identifier(roles.owner, "propietario");
    const QString program = identifier(roles.program, "del programa");
    if (owner == program)
        throw StoreError(StoreError::Kind::BadValue, 0,
                         QStringLiteral("El propietario y el rol del programa deben ser distintos."));
    if (!store::setup::existingTables(conn).isEmpty())
        throw StoreError(StoreError::Kind::Store, 0,
                         QStringLiteral("La base de datos ya tiene tablas: no se creó nada."));
    auto roleExists = [&](const QString &role) {
        return !conn.selectNative(QStringLiteral("SELECT 1 FROM pg_roles WHERE rolname = ?"), {role}).rows.empty();
    };
    const QString password = roles.programPassword.isEmpty()
                                 ? QStringLiteral("PASSWORD NULL")
                                 : QStringLiteral("PASSWORD ") + store::sql::text(roles.programPassword);
    // The roles first (a role that exists already is kept; the program role's password is
    // set anew), then the schema made as the owner, then the program role's rights.
    if (!roleExists(owner))
        conn.executeNative(QStringLiteral("CREATE ROLE %1 NOLOGIN").arg(owner));
    conn.executeNative(QStringLiteral("%1 ROLE %2 LOGIN NOSUPERUSER NOCREATEDB NOCREATEROLE %3")
                           .arg(roleExists(program) ? QStringLiteral("ALTER") : QStringLiteral("CREATE"), program,
                                password));
    // Only the owner creates in the schema; the account running this acts as the owner.
    conn.executeNative(QStringLiteral("REVOKE CREATE ON SCHEMA public FROM PUBLIC"));
    conn.executeNative(QStringLiteral("GRANT USAGE, CREATE ON SCHEMA public TO %1").arg(owner));
    conn.executeNative(QStringLiteral("GRANT USAGE ON SCHEMA public TO %1").arg(program));
    conn.executeNative(QStringLiteral("GRANT %1 TO CURRENT_USER").arg(owner));
    conn.executeNative(QStringLiteral("SET ROLE %1").arg(owner));
    try {
        store::setup::createSchema(conn);
        conn.beginTransaction();
        grant(conn, QStringLiteral("SELECT"), {QStringLiteral("PERMISOS"), QStringLiteral("HORAS_HISTORIAL_LECTURA")},
              program);
        grant(conn, QStringLiteral("SELECT, INSERT, UPDATE"),
              {QStringLiteral("AREAS"), QStringLiteral("INSTITUTOS"), QStringLiteral("DESTINOS"),
               QStringLiteral("MATERIAS"), QStringLiteral("RUBROS"), QStringLiteral("ACTIVIDADES"),
               QStringLiteral("TIPOHORAS"), QStringLiteral("FUNCIONARIOS"), QStringLiteral("USUARIOS"),
               QStringLiteral("CIERREMESES")},
              program);
        grant(conn, QStringLiteral("SELECT, INSERT, UPDATE, DELETE"),
              {QStringLiteral("FUNCIONARIOS_INSTITUTOS"), QStringLiteral("HORAS"),
               QStringLiteral("HORAS_RUBROS_MATERIAS"), QStringLiteral("AREAS_ACTIVIDADES"),
               QStringLiteral("RUBROS_MATERIAS"), QStringLiteral("DOCENTES_RUBROS_MATERIAS")},
              program);
        // A close settles a row that an interrupted close of an older version left in both
        // tables in favour of the current one (INSERT ... ON CONFLICT DO UPDATE): the archive
        // may be corrected that way, with its history line, but never emptied.
        grant(conn, QStringLiteral("SELECT, INSERT, UPDATE"), {QStringLiteral("HHORAS")}, program);
        grant(conn, QStringLiteral("INSERT"), {QStringLiteral("HORAS_HISTORIAL")}, program);
        conn.executeNative(QStringLiteral("GRANT USAGE ON ALL SEQUENCES IN SCHEMA public TO %1").arg(program));
        conn.commit();
    } catch (...) {
        if (conn.inTransaction())
            conn.rollback();
        conn.executeNative(QStringLiteral("RESET ROLE"));
        throw;
    }
    conn.executeNative(QStringLiteral("RESET ROLE"));
}

QStringList upgrade(store::Connection &conn)
{
    return store::setup::upgrade(conn);
}

namespace {

QString csvField(const QString &value)
{
    if (!value.contains(QLatin1Char(',')) && !value.contains(QLatin1Char('"')) && !value.contains(QLatin1Char('\n')) &&
        !value.contains(QLatin1Char('\r')))
        return value;
    QString quoted = value;
    quoted.replace(QLatin1Char('"'), QLatin1String("\"\""));
    return QLatin1Char('"') + quoted + QLatin1Char('"');
}

// One line per entry on a terminal: control characters (a newline, an escape sequence)
// are shown as \n, \x1b and so on, never passed to the terminal.
QString printable(const QString &value)
{
    QString out;
    for (QChar c : value) {
        if (c == QLatin1Char('\n'))
            out += QLatin1String("\\n");
        else if (c.category() == QChar::Other_Control || c.category() == QChar::Other_Format)
            out += QStringLiteral("\\x%1").arg(c.unicode(), 2, 16, QLatin1Char('0'));
        else
            out += c;
    }
    return out;
}

}  // namespace

QString historyReport(store::Connection &conn, const QString &cedula, const QDate &from, const QDate &to,
                      HistoryFormat format)
{
    store::history::Filter filter;
    filter.cedula = cedula;
    filter.from = from;
    filter.to = to;
    const std::vector<store::history::Line> lines = store::history::read(conn, filter);
    const QString when = QStringLiteral("yyyy-MM-dd HH:mm:ss");
    QString out;
    if (format == HistoryFormat::Csv) {
        out += QStringLiteral("Fecha,Login,Cuenta,Tipo,Tabla,HorId,FunCedula,AreId,Filas,Hasta,Antes,Despues\r\n");
        for (const auto &l : lines) {
            const QStringList fields{l.when.toString(when), l.login, l.account, l.kind, l.table, l.horId.toString(),
                                     l.cedula, l.area, l.rows.toString(),
                                     l.until.isValid() ? l.until.toString(Qt::ISODate) : QString(), l.before, l.after};
            QStringList quoted;
            for (const QString &f : fields)
                quoted << csvField(f);
            out += quoted.join(QLatin1Char(',')) + QStringLiteral("\r\n");
        }
        return out;
    }
    const QStringList heads{QStringLiteral("Fecha"), QStringLiteral("Login"), QStringLiteral("Tipo"),
                            QStringLiteral("Tabla"), QStringLiteral("HorId"), QStringLiteral("Cédula"),
                            QStringLiteral("Detalle")};
    std::vector<QStringList> rows;
    for (const auto &l : lines)
        rows.push_back({l.when.toString(when), printable(l.login.isEmpty() ? QStringLiteral("-") : l.login), l.kind,
                        l.table, l.horId.toString(), printable(l.cedula), printable(store::history::describe(l))});
    QList<int> widths;
    for (int c = 0; c < heads.size() - 1; ++c) {
        int w = int(heads[c].size());
        for (const auto &r : rows)
            w = std::max(w, int(r[c].size()));
        widths << w;
    }
    auto line = [&](const QStringList &cells) {
        QString text;
        for (int c = 0; c < cells.size() - 1; ++c)
            text += cells[c].leftJustified(widths[c]) + QStringLiteral("  ");
        return text + cells.last() + QLatin1Char('\n');
    };
    out += line(heads);
    for (const auto &r : rows)
        out += line(r);
    if (rows.empty())
        out += QStringLiteral("(ningún cambio registrado)\n");
    return out;
}

}  // namespace storetool
