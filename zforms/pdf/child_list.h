#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <new>
#include <string_view>
#include <utility>

#include "zforms/pdf/node_pool.h"
#include "zforms/platform/base/chaine.h"

namespace zforms {

class ZPDFNode;

// The children of a node, in one block with spare room. Shared, with a reference count, only after one node was
// assigned from another. Private to the node classes.
//
// A dictionary's list is "keyed" until its entries are needed as nodes: the items are then the values, and the keys are
// stored beside them. This takes a third of the memory of a node for each entry and key.
//
// An item of a keyed list may be "unread": the place of the value's text in the source, instead of a node. A node is
// made of it when somebody asks for the value. See unread_value.h.
struct ZPDFChildList {
  static ZPDFChildList* Make(size_t capacity);
  static ZPDFChildList* MakeKeyed(size_t capacity);
  // The same, allocated in the pool if it is small enough.
  static ZPDFChildList* Make(size_t capacity, ZPDFNodePool& pool);
  static ZPDFChildList* MakeKeyed(size_t capacity, ZPDFNodePool& pool);
  static void Free(ZPDFChildList* list);

  void Insert(size_t at, ZPDFNode* node);
  void Append(ZPDFNode* node) { Insert(size, node); }
  // `plain` means that the key is a name that needs no escaping. Precondition of the second form: size < capacity.
  void AppendKeyed(Chaine key, ZPDFNode* value, bool plain, bool marked);
  void AppendKeyedInRoom(Chaine key, ZPDFNode* value, bool plain, bool marked) {
    items[size] = value;
    Tags()[size] = static_cast<uint8_t>(TagOf(key) | (plain ? kPlain : 0) | (marked ? kMark : 0));
    new (keys + size) Chaine(std::move(key));
    size++;
  }
  void Remove(size_t at);
  void GrowTo(size_t new_size);
  // The position of the leftmost such key, `size` when there is none. Keyed lists only.
  size_t Find(std::string_view key) const;
  // The first position at or after `from` whose key also occurs earlier; `size` when there is none. Keyed lists of at
  // most kFewKeys only.
  size_t FindRepeated(size_t from) const;
  static constexpr size_t kFewKeys = 64;
  // True when the entry itself, not only its value, is marked as modified. Keyed lists only.
  bool IsMarked(size_t at) const { return (Tags()[at] & kMark) != 0; }
  bool IsPlain(size_t at) const { return (Tags()[at] & kPlain) != 0; }
  // The text of an unread item. Precondition: IsUnread(items[at]).
  std::string_view UnreadText(size_t at) const {
    const auto place = reinterpret_cast<uintptr_t>(items[at]);
    return source.View().substr(place >> kOffsetShift, (place & kLengthMask) >> 1);
  }
  static bool IsUnread(const ZPDFNode* item) { return (reinterpret_cast<uintptr_t>(item) & 1) != 0; }
  // The item for a text at this place of the source; null when the place does not fit into an item.
  static ZPDFNode* MakeUnread(size_t offset, size_t length) {
    if (offset > kLargestOffset || length > kLengthMask >> 1) return nullptr;
    return std::bit_cast<ZPDFNode*>(uintptr_t{offset} << kOffsetShift | length << 1 | 1);
  }
  void SetMark(size_t at, bool marked) {
    Tags()[at] = static_cast<uint8_t>(marked ? Tags()[at] | kMark : Tags()[at] & ~kMark);
  }
  // Replaces each key and value by one entry node; the list is not keyed any more.
  void Unkey(ZPDFNode* const* entries);
  // Takes over the caller's reference to a list, to be released together with this one. False when the retired lists of
  // the two have a list in common.
  bool Retire(ZPDFChildList* given_up);

  uint32_t refs;
  uint32_t size;
  uint32_t capacity;
  uint32_t pool_offset;    // the offset of the block in its slab, 0 for a block of its own
  ZPDFNode** items;        // after this header until the list outgrows its first room
  Chaine* keys;            // after the room for the items, followed by the tags; null unless keyed
  ZPDFChildList* retired;  // lists replaced by an assignment, freed with this one
  // For the unread items: the text that they are parts of, and the memory for their nodes, null for the heap.
  Chaine source;
  ZPDFNodePool::User pool;

 private:
  // An unread item has its lowest bit set, which no pointer to a node has. It fits into 32 bits.
  static constexpr uintptr_t kLengthMask = 0xFFFF;
  static constexpr int kOffsetShift = 16;
  static constexpr size_t kLargestOffset = 0xFFFF;
  // A tag is a six-bit hash of a key, so that a search compares one byte for each key; the upper two bits are flags.
  static constexpr uint8_t kMark = 0x80;
  static constexpr uint8_t kPlain = 0x40;
  static uint8_t TagOf(std::string_view key) {
    const size_t last = key.size() - 1;
    if (key.size() < 2) return static_cast<uint8_t>(key.size());
    return static_cast<uint8_t>((static_cast<size_t>(key[last]) + 5 * static_cast<size_t>(key[1]) + 11 * last) %
                                kPlain);
  }
  uint8_t* Tags() const { return reinterpret_cast<uint8_t*>(keys + capacity); }

  static ZPDFChildList* Place(ZPDFNodePool::Block block, size_t capacity, bool keyed);
  void Reserve(size_t wanted);
  void SetRoom(void* memory, size_t room, bool keyed);
  void ClearKeys();
  ZPDFNode** Inline() { return reinterpret_cast<ZPDFNode**>(this + 1); }
};

}  // namespace zforms
