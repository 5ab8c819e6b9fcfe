#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "pdf/object_identifier.h"

namespace zforms {

class ZPDFNodeIndirectObject;

// Where one object number stands in the file, and the object once it is loaded.
struct ZPDFObjectLocation {
  ZPDFObjectIdentifier id;
  uint32_t offset = 0;
  bool in_use = false;
  // Set when loading starts, so that an object that leads to itself ends there.
  bool requested = false;
  ZPDFNodeIndirectObject* object = nullptr;
};

// The locations of a document, one record an object number, in number order. The
// newest record of a number decides; sections are added newest first.
class ZPDFLocations {
 public:
  using iterator = std::vector<ZPDFObjectLocation>::iterator;
  using const_iterator = std::vector<ZPDFObjectLocation>::const_iterator;

  void Clear();
  // Adds a record behind those added before; it loses to them on Settle.
  void AddOlder(const ZPDFObjectIdentifier& id, uint32_t offset, bool in_use);
  // Sorts what was added and keeps the newest record of each number.
  void Settle();

  // The record of that number, null when there is none. Only after Settle.
  ZPDFObjectLocation* Find(uint32_t number);
  const ZPDFObjectLocation* Find(uint32_t number) const { return const_cast<ZPDFLocations*>(this)->Find(number); }
  // Adds a record with a number above all others.
  ZPDFObjectLocation* Append(const ZPDFObjectIdentifier& id);

  bool IsEmpty() const { return records_.empty(); }
  size_t Size() const { return records_.size(); }
  uint32_t HighestNumber() const { return records_.empty() ? 0 : records_.back().id.Number(); }
  iterator begin() { return records_.begin(); }
  iterator end() { return records_.end(); }
  const_iterator begin() const { return records_.begin(); }
  const_iterator end() const { return records_.end(); }

 private:
  std::vector<ZPDFObjectLocation> records_;
};

}  // namespace zforms
