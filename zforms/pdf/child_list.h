#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <new>
#include <string_view>

#include "zforms/pdf/node_pool.h"
#include "zforms/platform/base/chaine.h"

namespace zforms {

class ZPDFNode;

// The children of a node, in one block of memory with spare room. Several nodes share a list, with a reference count,
// only after one node was assigned to another. Private to the node classes.
//
// A dictionary's list is "keyed" at first: the items are the values, and beside them are the places of the keys in the
// text of the dictionary. This takes a fifth of the memory that nodes for the entries and keys would take. The list
// becomes an ordinary one when its entries are needed as nodes.
//
// An item of a keyed list may be "unread": instead of a node, it holds the place of the value's text. The node is made
// when the value is first needed. See unread_value.h.
struct ZPDFChildList {
  // The place of a key: in `added` when the key was set later or is written with escapes, else in `source`.
  struct Key {
    uint32_t offset;
    uint32_t length : 31;
    uint32_t is_added : 1;
  };
  // The part that only keyed lists have: the text of the dictionary, the added keys, and the memory for the nodes of
  // unread items (null: the heap).
  struct KeyedPart {
    Chaine source;
    Chaine added;
    ZPDFNodePool::User pool;
  };

  static ZPDFChildList* Make(size_t capacity);
  static ZPDFChildList* MakeKeyed(size_t capacity);
  // Make a list in the memory of the pool, or on the heap when it is too large for the pool.
  static ZPDFChildList* Make(size_t capacity, ZPDFNodePool& pool);
  static ZPDFChildList* MakeKeyed(size_t capacity, ZPDFNodePool& pool);
  static void Free(ZPDFChildList* list);

  void Insert(size_t at, ZPDFNode* node);
  void Append(ZPDFNode* node) { Insert(size, node); }
  // Appends a new entry, which is marked as modified. `plain` means that the key is written without escapes.
  void AppendKeyed(std::string_view key, ZPDFNode* value, bool plain);
  // Appends an entry that was read. Preconditions: the key is in `source`, or AddKey returned it; size < capacity.
  void AppendRead(Key key, ZPDFNode* value, bool plain) {
    items[size] = value;
    keys[size] = key;
    Tags()[size] = static_cast<uint8_t>(TagOf(KeyAt(size)) | (plain ? kPlain : 0));
    size++;
  }
  Key AddKey(std::string_view key);
  // Copies the keys and marks of a list of this capacity, for the items appended next.
  void CopyKeys(const ZPDFChildList& from);
  void Remove(size_t at);
  void GrowTo(size_t new_size);
  // The position of the first item with this key; `size` when there is none. Keyed lists only.
  size_t Find(std::string_view key) const;
  // The first position at or after `from` whose key also occurs earlier; `size` when there is none. Keyed lists of at
  // most kFewKeys only.
  size_t FindRepeated(size_t from) const;
  static constexpr size_t kFewKeys = 64;
  std::string_view KeyAt(size_t at) const {
    const Key key = keys[at];
    return {(key.is_added != 0 ? Keyed().added : Keyed().source).data() + key.offset, key.length};
  }
  // True when the entry itself, not only its value, is marked as modified. Keyed lists only.
  bool IsMarked(size_t at) const { return (Tags()[at] & kMark) != 0; }
  bool IsPlain(size_t at) const { return (Tags()[at] & kPlain) != 0; }
  // The text of an unread item. Precondition: IsUnread(items[at]).
  std::string_view UnreadText(size_t at) const {
    const auto place = reinterpret_cast<uintptr_t>(items[at]);
    return Keyed().source.View().substr(place >> kOffsetShift, (place & kLengthMask) >> 1);
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
  // Replaces each key and value by one entry node; the list is then no longer keyed.
  void Unkey(ZPDFNode* const* entries);
  // Takes over a list that a node has given up, with the node's reference to it, and releases it together with this
  // list. False, with nothing changed, when this list already keeps `given_up` or a list
  // that `given_up` keeps.
  bool Retire(ZPDFChildList* given_up);

  // Precondition: the list was made as a keyed one.
  KeyedPart& Keyed() { return *reinterpret_cast<KeyedPart*>(this + 1); }
  const KeyedPart& Keyed() const { return *reinterpret_cast<const KeyedPart*>(this + 1); }

  uint32_t refs : 31;
  uint32_t made_keyed : 1;
  uint32_t size;
  uint32_t capacity;
  uint32_t pool_offset;    // the offset of the block in its slab, 0 when it is on the heap
  ZPDFNode** items;        // after this header and the keyed part, until the list outgrows its first room
  Key* keys;               // between the room for the items and the tags; null unless the list is keyed
  ZPDFChildList* retired;  // lists replaced by an assignment, freed with this one

 private:
  // An unread item has 32 bits: the offset in the upper 16, the length in the next 15, and the lowest bit set, which is
  // never set in a pointer to a node.
  static constexpr uintptr_t kLengthMask = 0xFFFF;
  static constexpr int kOffsetShift = 16;
  static constexpr size_t kLargestOffset = 0xFFFF;
  // A tag is one byte for a key: a hash of six bits and two flags. A search compares tags first, and then only the keys
  // with the same tag.
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
  void DropUnusedKeys();
  ZPDFNode** Inline() {
    return made_keyed != 0 ? reinterpret_cast<ZPDFNode**>(&Keyed() + 1) : reinterpret_cast<ZPDFNode**>(this + 1);
  }
};

}  // namespace zforms
