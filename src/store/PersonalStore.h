#pragma once

#include <QString>

#include <functional>

namespace store {

class Connection;

// A store for one user on one machine: an SQLite file in the user's data folder, reached
// through a data source registered for that user only. The first start of the program and
// `tempalia-store init` make one.
namespace personalstore {

// The ODBC driver the store is opened with (package libsqliteodbc).
inline constexpr const char *kDriver = "SQLite3";

// $XDG_DATA_HOME/tempalia/rrhh.sqlite (by default ~/.local/share/tempalia/rrhh.sqlite).
QString defaultFile();

// What goes into the new, empty store once the data source reaches it: its tables and its
// first administrator.
using Filler = std::function<void(Connection &)>;

// Creates `file` (its folder with mode 0700, the file 0600), appends the data source
// `dataSource` pointing at it to the user's data source file, and fills the store.
//
// Nothing that exists is changed: it refuses (StoreError, nothing written) when the data
// source is defined already, when the file is there, or when the SQLite driver is not
// installed. When anything fails after that, what this call wrote is taken back: the new
// file goes and the data source file is as it was.
void create(const QString &dataSource, const QString &file, const Filler &fill);

// The lines a data source of a personal store holds.
QString dataSourceSection(const QString &dataSource, const QString &file);

}  // namespace personalstore
}  // namespace store
