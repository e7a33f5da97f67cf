#pragma once

#include <QString>

// What the ODBC driver manager (unixODBC) knows of this machine and this user.
namespace store::datasources {

// The data source the program works on.
inline constexpr const char *kProgramDataSource = "RRHHODBC";

// True when a user or system data source of that name is defined (names compare without
// regard to case, as the driver manager's do).
bool defined(const QString &name);

// True when a driver of that name is registered (odbcinst.ini).
bool driverInstalled(const QString &name);

// The file the driver manager reads the user's own data sources from: $ODBCINI, else
// .odbc.ini in the home folder of the account (the driver manager ignores $HOME).
QString userFile();

}  // namespace store::datasources
