#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <memory>
#include <vector>

#include "zforms/pdf/node.h"

namespace zforms {

// Maps identifiers to the objects found while following references. Usual identifiers, of generation 0, are in a table
// made of pages; others, as in damaged files, are in a map.
class ZPDFObjectTable {
 public:
  // The slot for this identifier; it holds null until an object is stored.
  const ZPDFNodeIndirectObject*& operator[](const ZPDFObjectIdentifier& id) {
    if (id.Generation() != 0 || id.Number() >= kMostNumbers) return others_[id];
    const size_t page = id.Number() / kPageSize;
    if (page >= pages_.size()) pages_.resize(page + 1);
    if (pages_[page] == nullptr) pages_[page] = std::make_unique<Page>();
    return (*pages_[page])[id.Number() % kPageSize];
  }

  // All stored objects, in identifier order.
  ZPDFObjectList List() const {
    ZPDFObjectList list;
    auto other = others_.begin();
    for (size_t page = 0; page < pages_.size(); page++) {
      if (pages_[page] == nullptr) continue;
      for (size_t i = 0; i < kPageSize; i++) {
        if ((*pages_[page])[i] == nullptr) continue;
        const ZPDFObjectIdentifier id(static_cast<uint32_t>(page * kPageSize + i), 0);
        for (; other != others_.end() && other->first < id; ++other) Add(*other, &list);
        list.emplace_back(id, (*pages_[page])[i]);
      }
    }
    for (; other != others_.end(); ++other) Add(*other, &list);
    return list;
  }

 private:
  // The table has at most this many numbers (ISO 32000-1 annex C), so that high numbers in a hostile file cost at most
  // 64 MB.
  static constexpr uint32_t kMostNumbers = 1 << 23;
  static constexpr size_t kPageSize = 1024;
  using Page = std::array<const ZPDFNodeIndirectObject*, kPageSize>;

  static void Add(const ZPDFObjectMap::value_type& item, ZPDFObjectList* list) {
    if (item.second != nullptr) list->emplace_back(item.first, item.second);
  }

  std::vector<std::unique_ptr<Page>> pages_;
  ZPDFObjectMap others_;
};

}  // namespace zforms
