#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "zforms/pdf/object_identifier.h"
#include "zforms/platform/base/export.h"

namespace zforms {

class ZPDFNodeIndirectObject;

// The location of one object number in the file, and the object after it is loaded.
struct ZPDFObjectLocation {
  ZPDFObjectIdentifier id;
  // The offset from the start of the file in bytes; for a packed object, the number of its object stream.
  uint32_t offset = 0;
  bool in_use = false;
  bool packed = false;
  // Set when loading starts, so that loading does not recurse when the object needs itself.
  bool requested = false;
  ZPDFNodeIndirectObject* object = nullptr;
};

// The locations of a document: one record for each object number, in number order. When a number has several records,
// the newest is used; sections are added newest first. Owned by the parser.
class ZFORMS_API ZPDFLocations {
 public:
  using iterator = std::vector<ZPDFObjectLocation>::iterator;
  using const_iterator = std::vector<ZPDFObjectLocation>::const_iterator;

  void Clear();
  // Reserves memory for this many more records.
  void ExpectMore(size_t count);
  // Adds a record that is older than those added before. Settle keeps the record that was added first.
  void AddOlder(const ZPDFObjectIdentifier& id, uint32_t offset, bool in_use) { Add({id, offset, in_use}); }
  // Adds such a record for an object inside an object stream.
  void AddOlderPacked(uint32_t number, uint32_t stream) { Add({{number, 0}, stream, true, true}); }
  // Call it before Settle: makes the free records added from index `from` up to `to` older than all others.
  void MakeFreeOldest(size_t from, size_t to);
  // Sorts the records and keeps the newest of each number.
  void Settle();

  // Removes the free records whose objects are not loaded.
  void DropFree();

  // The record of that number, null when there is none. Call it after Settle.
  ZPDFObjectLocation* Find(uint32_t number);
  const ZPDFObjectLocation* Find(uint32_t number) const { return const_cast<ZPDFLocations*>(this)->Find(number); }
  // Adds a record with a number higher than all others.
  ZPDFObjectLocation* Append(const ZPDFObjectIdentifier& id);

  bool IsEmpty() const { return records_.empty(); }
  size_t Size() const { return records_.size(); }
  uint32_t HighestNumber() const { return records_.empty() ? 0 : records_.back().id.Number(); }
  iterator begin() { return records_.begin(); }
  iterator end() { return records_.end(); }
  const_iterator begin() const { return records_.begin(); }
  const_iterator end() const { return records_.end(); }

 private:
  void Add(const ZPDFObjectLocation& record) { records_.push_back(record); }

  std::vector<ZPDFObjectLocation> records_;
};

}  // namespace zforms
