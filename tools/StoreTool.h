#pragma once

#include <QDate>
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
