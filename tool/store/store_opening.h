#pragma once

#include <memory>
#include <string>

#include "tool/store/store.h"

namespace zforms::tool {

// Opens the store at an address: a data folder, or "postgresql://..." for a database of PostgreSQL. A store that does
// not exist is created, unless it is opened for reading. Null, with a reason, when that fails, when another server uses
// the folder, or when the store has tables of a newer version.
std::unique_ptr<Store> OpenStore(const std::string& address, Store::Mode mode, std::string* error);

// Upgrades the tables of a store to kStoreVersion, in one transaction; `before` gets the version that they had. When
// the store is a folder, no server may use it meanwhile.
bool UpgradeStore(const std::string& address, int* before, std::string* error);

// Copies everything into an empty store, in one transaction.
bool CopyStore(Store& from, Store& to, std::string* error);

// The address as messages may show it, without passwords.
std::string ShownAddress(const std::string& address);

// Why a store with tables of this version cannot be used; empty when it can.
std::string WhyNotUsable(int version);

}  // namespace zforms::tool
