#pragma once

#include <string>

struct sqlite3;

namespace zforms::tool {

// Reads the version of the store in a database; 0 when the database is empty. False, with a reason, when the database
// is not a store, or has a version that this program cannot use.
bool ReadSqliteVersion(sqlite3* database, int* version, std::string* error);

// Creates missing tables and upgrades the tables to the version `wanted`, in one transaction. When `wanted` is 0, keeps
// their version; an empty database gets kStoreVersion. `version` gets the new version.
bool PrepareSqliteTables(sqlite3* database, int wanted, int* version, std::string* error);

}  // namespace zforms::tool
