#pragma once

#include <string>

struct sqlite3;

namespace zforms::tool {

// The version of the store in a database; 0 when the database is empty. False, with a reason, when it is no store or of
// a version that this program cannot use.
bool ReadSqliteVersion(sqlite3* database, int* version, std::string* error);

// Creates the tables that are missing, and brings them to `wanted`, or keeps their version when `wanted` is 0 and the
// database is not empty. All in one transaction.
bool PrepareSqliteTables(sqlite3* database, int wanted, int* version, std::string* error);

}  // namespace zforms::tool
