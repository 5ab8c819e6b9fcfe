#include "zforms/pdf/parser/locations.h"

#include <algorithm>

namespace zforms {
namespace {

bool ByNumber(const ZPDFObjectLocation& a, const ZPDFObjectLocation& b) { return a.id.Number() < b.id.Number(); }

}  // namespace

void ZPDFLocations::Clear() { records_.clear(); }

// At least doubles the room, so that many small sections do not copy all records each time.
void ZPDFLocations::ExpectMore(size_t count) {
  const size_t wanted = records_.size() + count;
  if (wanted > records_.capacity()) records_.reserve(std::max(wanted, 2 * records_.capacity()));
}

void ZPDFLocations::MakeFreeOldest(size_t from, size_t to) {
  const auto at = [this](size_t place) { return records_.begin() + static_cast<std::ptrdiff_t>(place); };
  const auto first_free =
      std::stable_partition(at(from), at(to), [](const ZPDFObjectLocation& record) { return record.in_use; });
  std::rotate(first_free, at(to), records_.end());
}

void ZPDFLocations::Settle() {
  // Among records with equal numbers the first is the newest, and stable sorting keeps it first.
  if (!std::is_sorted(records_.begin(), records_.end(), ByNumber)) {
    std::stable_sort(records_.begin(), records_.end(), ByNumber);
  }
  const auto same = [](const auto& a, const auto& b) { return a.id.Number() == b.id.Number(); };
  records_.erase(std::unique(records_.begin(), records_.end(), same), records_.end());
}

void ZPDFLocations::DropFree() {
  std::erase_if(records_, [](const ZPDFObjectLocation& record) { return !record.in_use && record.object == nullptr; });
}

ZPDFObjectLocation* ZPDFLocations::Find(uint32_t number) {
  // Most files number their objects without gaps, from 0 or 1.
  for (const uint32_t guess : {number, number - 1}) {
    if (guess < records_.size() && records_[guess].id.Number() == number) return &records_[guess];
  }
  const ZPDFObjectLocation wanted{{number, 0}};
  const auto found = std::lower_bound(records_.begin(), records_.end(), wanted, ByNumber);
  return found != records_.end() && found->id.Number() == number ? &*found : nullptr;
}

ZPDFObjectLocation* ZPDFLocations::Append(const ZPDFObjectIdentifier& id) {
  records_.push_back({id, 0, true, false, true});
  return &records_.back();
}

}  // namespace zforms
