#pragma once

#include <memory>
#include <string>

#include "tool/postgres/postgres_connection.h"

namespace zforms::tool {

// A session with the store; null, with a reason, when the database cannot be reached.
std::unique_ptr<PostgresConnection> ConnectToStore(const Libpq& pq, const std::string& address, Deadline deadline,
                                                   std::string* error);

// The version of the store's tables in the database; 0 when there are none. False, with a reason, when that cannot be
// read.
bool ReadPostgresVersion(PostgresConnection& connection, Deadline deadline, int* version, std::string* error);

// Creates the tables when there are none, and upgrades them to kStoreVersion, in one transaction. `before` gets the
// version that they had. When several servers call this at the same time, one does the work and the others wait.
bool UpgradePostgresTables(PostgresConnection& connection, Deadline deadline, int* before, std::string* error);

}  // namespace zforms::tool
