#pragma once

#include <QStringList>

namespace store {

class Connection;

// Creating and upgrading the store's tables.
namespace setup {

inline constexpr const char *kHistoryTable = "HORAS_HISTORIAL";
inline constexpr int kPasswordWidth = 128;  // UsuPassword: an Argon2id hash text

// Tables of ours that already stand in the store (case-insensitive match).
QStringList existingTables(Connection &conn);
// The eighteen tables, their keys and indexes, the rows of PERMISOS and the history of the
// hour records (HORAS_HISTORIAL and its triggers), in one transaction. Throws StoreError,
// changing nothing, when any of the tables exists already.
void createSchema(Connection &conn);
// Drops every table of ours and the history (tests and the large-store generator only).
void dropSchema(Connection &conn);

// Brings a store made by an earlier version up to date, in one transaction, and says what
// it changed (nothing on a store that is up to date): UsuPassword widened for hashes, the
// history table and its triggers added.
QStringList upgrade(Connection &conn);

// The history on its own (the benchmarks compare a store with and without it).
bool hasHistory(Connection &conn);
void installHistory(Connection &conn);
void removeHistory(Connection &conn);

// PostgreSQL: the store's function that moves a close's rows (tempalia_cierre_mover), which
// a history made by an earlier version lacks until it is upgraded.
bool hasArchiveFunction(Connection &conn);

// SQLite: the history's row triggers that recognise a close's rows one by one (a delete
// from HORAS of a row that stands in HHORAS, an insert into HHORAS of a row that stands in
// HORAS). The close drops them inside its own write transaction, which no other connection
// sees, records its move itself and creates them again before it commits (see
// history::moveToArchive). Dropping returns false on a store without the history.
bool dropArchiveTriggers(Connection &conn);
void createArchiveTriggers(Connection &conn);

}  // namespace setup
}  // namespace store
