#include "tool/store/store_opening.h"

#include "tool/postgres/postgres_address.h"
#include "tool/store/postgres_store.h"
#include "tool/store/sqlite_store.h"

namespace zforms::tool {

std::string WhyNotUsable(int version) {
  if (version > kStoreVersion) {
    return "the store has version " + std::to_string(version) + ", and this program knows versions up to " +
           std::to_string(kStoreVersion) + ": use a newer zforms";
  }
  if (version >= kOldestStoreVersion) return {};
  return "the store has the old version " + std::to_string(version) + ": \"zforms store upgrade\" updates it";
}

std::unique_ptr<Store> OpenStore(const std::string& address, Store::Mode mode, std::string* error) {
  if (IsPostgresAddress(address)) return PostgresStore::Open(address, mode, error);
  return SqliteStore::Open(address, mode, error);
}

bool UpgradeStore(const std::string& address, int* before, std::string* error) {
  if (IsPostgresAddress(address)) return PostgresStore::Upgrade(address, before, error);
  return SqliteStore::Upgrade(address, before, error);
}

bool CopyStore(Store& from, Store& to, std::string* error) {
  bool is_read = true;
  if (to.Load([&](StoreSink& sink) { return is_read = from.VisitAll(sink); })) return true;
  // Takes the error of the source when the target has none: then reading the source has failed.
  *error = to.LastError();
  if (!is_read && (error->empty() || *error == "not an error")) *error = from.LastError();
  return false;
}

std::string ShownAddress(const std::string& address) {
  return IsPostgresAddress(address) ? WithoutPasswords(address) : address;
}

}  // namespace zforms::tool
