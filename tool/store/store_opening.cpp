#include "tool/store/store_opening.h"

#include "tool/store/sqlite_store.h"

namespace zforms::tool {

std::string WhyNotUsable(int version) {
  if (version > kStoreVersion) {
    return "its tables are of version " + std::to_string(version) + ", this program knows those up to version " +
           std::to_string(kStoreVersion) + ": use the newer zforms that wrote them";
  }
  if (version >= kOldestStoreVersion) return {};
  return "its tables are of version " + std::to_string(version) + ": zforms store upgrade makes them usable";
}

std::unique_ptr<Store> OpenStore(const std::string& address, Store::Mode mode, std::string* error) {
  return SqliteStore::Open(address, mode, error);
}

bool UpgradeStore(const std::string& address, int* before, std::string* error) {
  return SqliteStore::Upgrade(address, before, error);
}

bool CopyStore(Store& from, Store& to, std::string* error) {
  bool is_read = true;
  const bool loaded = to.Load([&](StoreSink& sink) { return is_read = from.VisitAll(sink); });
  // A source that cannot be read has a reason; one that was read to a sink that fails has none.
  if (!loaded) *error = to.LastError().empty() && !is_read ? from.LastError() : to.LastError();
  return loaded;
}

std::string ShownAddress(const std::string& address) { return address; }

}  // namespace zforms::tool
