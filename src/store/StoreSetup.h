#pragma once

#include <QStringList>

namespace store {

class Connection;

// Creating the store's tables on an empty data source.
namespace setup {

// Tables of ours that already stand in the store (case-insensitive match).
QStringList existingTables(Connection &conn);
// The eighteen tables, their keys and indexes and the rows of PERMISOS, in one transaction.
// Throws StoreError, changing nothing, when any of the tables exists already.
void createSchema(Connection &conn);
// Drops every table of ours (tests and the large-store generator only).
void dropSchema(Connection &conn);

}  // namespace setup
}  // namespace store
