#pragma once

#include <QDate>
#include <QStringList>
#include <QString>

namespace store {
class Connection;
}

// What `tempalia-store` does, callable from tests and benchmarks as well.
namespace storetool {

// Tables, keys, indexes and the four roles. Refuses (StoreError) on a store that has tables.
void create(store::Connection &conn);
// Demo rows that make every window worth opening; logins usuario, jefe, admin, super with
// passwords equal to the login. Dates are placed around `today`.
void demo(store::Connection &conn, const QDate &today);
// The first administrator of an empty store: a staff row, a first area and institute, a
// contract and the login with its encoded password.
void admin(store::Connection &conn, const QString &login, const QString &password);
// What a new store of one's own starts with: the tables, then the first administrator.
void createWithAdministrator(store::Connection &conn, const QString &login, const QString &password);

}  // namespace storetool

namespace storetool {

// PostgreSQL only: the two roles `create` can set up. The owner (no login) holds the
// tables, the history and its triggers; the program role logs in and gets only what the
// windows do: reading everything, writing the tables the windows write, deleting only what
// they delete, adding to HHORAS but never changing it, and on the history nothing but the
// lines its writes add (read through the view HORAS_HISTORIAL_LECTURA). No DDL.
struct Roles {
    QString owner;
    QString program;
    QString programPassword;  // empty: the role gets no password (peer or trust login)
};
void create(store::Connection &conn, const Roles &roles);

// Widens UsuPassword and adds the history where an older store lacks them; idempotent.
// Returns what it changed.
QStringList upgrade(store::Connection &conn);

// The history as a table for a terminal or as CSV (RFC 4180, UTF-8).
enum class HistoryFormat { Table, Csv };
QString historyReport(store::Connection &conn, const QString &cedula, const QDate &from, const QDate &to,
                      HistoryFormat format);

}  // namespace storetool
