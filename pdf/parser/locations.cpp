#include "pdf/parser/locations.h"

#include <algorithm>

namespace zforms {
namespace {

bool ByNumber(const ZPDFObjectLocation& a, const ZPDFObjectLocation& b) { return a.id.Number() < b.id.Number(); }

}  // namespace

void ZPDFLocations::Clear() { records_.clear(); }

void ZPDFLocations::AddOlder(const ZPDFObjectIdentifier& id, uint32_t offset, bool in_use) {
  records_.push_back({id, offset, in_use});
}

void ZPDFLocations::Settle() {
  // The first of equals is the newest, and stable sorting keeps it in front.
  if (!std::is_sorted(records_.begin(), records_.end(), ByNumber)) {
    std::stable_sort(records_.begin(), records_.end(), ByNumber);
  }
  const auto same = [](const auto& a, const auto& b) { return a.id.Number() == b.id.Number(); };
  records_.erase(std::unique(records_.begin(), records_.end(), same), records_.end());
}

ZPDFObjectLocation* ZPDFLocations::Find(uint32_t number) {
  // Most files number their objects without holes, from 0 or 1 on.
  for (const uint32_t guess : {number, number - 1}) {
    if (guess < records_.size() && records_[guess].id.Number() == number) return &records_[guess];
  }
  const ZPDFObjectLocation wanted{{number, 0}};
  const auto found = std::lower_bound(records_.begin(), records_.end(), wanted, ByNumber);
  return found != records_.end() && found->id.Number() == number ? &*found : nullptr;
}

ZPDFObjectLocation* ZPDFLocations::Append(const ZPDFObjectIdentifier& id) {
  records_.push_back({id, 0, true, true});
  return &records_.back();
}

}  // namespace zforms
