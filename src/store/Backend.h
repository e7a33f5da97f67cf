#pragma once

#include <QString>

namespace store {

// The store engines the program knows how to talk to. Detected from the ODBC driver.
enum class Backend { SQLite, PostgreSQL };

QString backendName(Backend backend);

}  // namespace store
