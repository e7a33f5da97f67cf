#include "StoreTool.h"

#include "session/Usuario.h"
#include "store/Connection.h"
#include "store/StoreError.h"
#include "store/StoreSetup.h"

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
    const auto encoded = Usuario::encode(password);
    if (!encoded)
        throw StoreError(StoreError::Kind::BadValue, 0,
                         QStringLiteral("La contraseña tiene un carácter que no se puede codificar."));
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
                           {login, *encoded, cedula});
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

}  // namespace storetool
