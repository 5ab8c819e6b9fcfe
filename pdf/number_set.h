#pragma once

#include <bitset>
#include <cstdint>
#include <memory>
#include <set>
#include <vector>

#include "pdf/object_identifier.h"

namespace zforms {

// A set of object identifiers, quick where numbers lie close together and their
// generation is 0, as in nearly every file. A few numbers far apart cost a page each.
class ZPDFNumberSet {
 public:
  // True when the identifier was not in the set before.
  bool Add(const ZPDFObjectIdentifier& id) {
    if (id.Generation() != 0) return others_.insert(id).second;
    const size_t page = id.Number() / kPageSize;
    if (page >= pages_.size()) pages_.resize(page + 1);
    if (pages_[page] == nullptr) pages_[page] = std::make_unique<Page>();
    auto bit = (*pages_[page])[id.Number() % kPageSize];
    if (bit) return false;
    bit = true;
    return true;
  }

 private:
  static constexpr uint32_t kPageSize = 1 << 15;
  using Page = std::bitset<kPageSize>;

  std::vector<std::unique_ptr<Page>> pages_;
  std::set<ZPDFObjectIdentifier> others_;
};

}  // namespace zforms
