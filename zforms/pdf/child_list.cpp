#include "zforms/pdf/child_list.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <utility>

namespace zforms {
namespace {

void* Allocate(size_t bytes) {
  void* memory = std::malloc(bytes);
  if (memory == nullptr) throw std::bad_alloc();
  return memory;
}

constexpr size_t kTagsAtOnce = sizeof(uint64_t);

// Tags are compared in groups of eight, so memory is allocated for whole groups.
size_t TagBytes(size_t count) { return (count + kTagsAtOnce - 1) / kTagsAtOnce * kTagsAtOnce; }

size_t RoomFor(size_t count, bool keyed) {
  return count * sizeof(ZPDFNode*) + (keyed ? count * sizeof(ZPDFChildList::Key) + TagBytes(count) : 0);
}

size_t BlockFor(size_t count, bool keyed) {
  return sizeof(ZPDFChildList) + (keyed ? sizeof(ZPDFChildList::KeyedPart) : 0) + RoomFor(count, keyed);
}

// When the text of the keys that were added later (`added`) has more bytes than this, unused keys are removed from it.
constexpr size_t kManyAddedBytes = 256;

}  // namespace

ZPDFChildList* ZPDFChildList::Place(ZPDFNodePool::Block block, size_t capacity, bool keyed) {
  auto* list = new (block.memory) ZPDFChildList;
  list->refs = 1;
  list->made_keyed = keyed ? 1 : 0;
  list->size = 0;
  list->pool_offset = block.offset;
  list->retired = nullptr;
  if (keyed) new (list + 1) KeyedPart;
  list->SetRoom(list->Inline(), capacity, keyed);
  return list;
}

void ZPDFChildList::SetRoom(void* memory, size_t room, bool keyed) {
  capacity = static_cast<uint32_t>(room);
  items = static_cast<ZPDFNode**>(memory);
  keys = keyed ? reinterpret_cast<Key*>(items + room) : nullptr;
  if (keyed) std::fill_n(Tags(), TagBytes(room), uint8_t{0});
}

ZPDFChildList* ZPDFChildList::Make(size_t capacity) {
  return Place({Allocate(BlockFor(capacity, false)), 0}, capacity, false);
}

ZPDFChildList* ZPDFChildList::MakeKeyed(size_t capacity) {
  return Place({Allocate(BlockFor(capacity, true)), 0}, capacity, true);
}

ZPDFChildList* ZPDFChildList::Make(size_t capacity, ZPDFNodePool& pool) {
  const size_t bytes = BlockFor(capacity, false);
  return bytes > ZPDFNodePool::kLargestBlock ? Make(capacity) : Place(pool.Take(bytes), capacity, false);
}

ZPDFChildList* ZPDFChildList::MakeKeyed(size_t capacity, ZPDFNodePool& pool) {
  const size_t bytes = BlockFor(capacity, true);
  return bytes > ZPDFNodePool::kLargestBlock ? MakeKeyed(capacity) : Place(pool.Take(bytes), capacity, true);
}

void ZPDFChildList::Free(ZPDFChildList* list) {
  if (list->made_keyed != 0) std::destroy_at(&list->Keyed());
  if (list->items != list->Inline()) std::free(list->items);
  const uint32_t pool_offset = list->pool_offset;
  if (pool_offset != 0) {
    ZPDFNodePool::GiveBack(list, pool_offset);
  } else {
    std::free(list);
  }
}

void ZPDFChildList::Reserve(size_t wanted) {
  if (wanted <= capacity) return;
  if (wanted > UINT32_MAX / 2) throw std::bad_alloc();
  const size_t room = std::max<size_t>(wanted, size_t{capacity} * 2);
  ZPDFNode** const old_items = items;
  const Key* const old_keys = keys;
  const uint8_t* const old_tags = keys == nullptr ? nullptr : Tags();
  SetRoom(Allocate(RoomFor(room, keys != nullptr)), room, keys != nullptr);
  std::copy(old_items, old_items + size, items);
  if (old_keys != nullptr) {
    std::copy(old_keys, old_keys + size, keys);
    std::copy(old_tags, old_tags + size, Tags());
  }
  if (old_items != Inline()) std::free(old_items);
}

void ZPDFChildList::Insert(size_t at, ZPDFNode* node) {
  Reserve(size_t{size} + 1);
  std::copy_backward(items + at, items + size, items + size + 1);
  items[at] = node;
  size++;
}

void ZPDFChildList::AppendKeyed(std::string_view key, ZPDFNode* value, bool plain) {
  Reserve(size_t{size} + 1);
  AppendRead(AddKey(key), value, plain);
  SetMark(size_t{size} - 1, true);
}

ZPDFChildList::Key ZPDFChildList::AddKey(std::string_view key) {
  Chaine& added = Keyed().added;
  const auto offset = static_cast<uint32_t>(added.size());
  added.Append(key);
  return {offset, static_cast<uint32_t>(key.size()) & INT32_MAX, 1};
}

void ZPDFChildList::CopyKeys(const ZPDFChildList& from) {
  // The pool is not copied, because a copy may be used by another thread.
  Keyed().source = from.Keyed().source;
  Keyed().added = from.Keyed().added;
  std::copy(from.keys, from.keys + from.size, keys);
  std::copy(from.Tags(), from.Tags() + from.size, Tags());
}

// Compares eight tags at a time: a byte of `other` is zero where a tag matches. `hits` marks each zero byte, and
// sometimes also the byte above it; comparing the keys then excludes that byte.
size_t ZPDFChildList::Find(std::string_view key) const {
  static_assert(std::endian::native == std::endian::little);
  constexpr uint64_t kEach = 0x0101010101010101;
  const uint8_t* const tags = Tags();
  const uint64_t wanted = kEach * TagOf(key);
  for (size_t first = 0; first < size; first += kTagsAtOnce) {
    uint64_t other;
    std::memcpy(&other, tags + first, sizeof(other));
    other = (other & (kEach * (kPlain - 1))) ^ wanted;
    for (uint64_t hits = (other - kEach) & ~other & (kEach << 7); hits != 0; hits &= hits - 1) {
      const size_t i = first + static_cast<size_t>(std::countr_zero(hits)) / 8;
      if (i < size && Chaine::AreSame(KeyAt(i), key)) return i;
    }
  }
  return size;
}

size_t ZPDFChildList::FindRepeated(size_t from) const {
  const uint8_t* const tags = Tags();
  uint64_t seen = 0;  // a bit for each tag
  for (size_t i = 0; i < size; i++) {
    const uint64_t tag = uint64_t{1} << (tags[i] % kPlain);
    if (i >= from && (seen & tag) != 0 && Find(KeyAt(i)) < i) return i;
    seen |= tag;
  }
  return size;
}

void ZPDFChildList::Remove(size_t at) {
  std::copy(items + at + 1, items + size, items + at);
  if (keys != nullptr) {
    std::copy(keys + at + 1, keys + size, keys + at);
    std::copy(Tags() + at + 1, Tags() + size, Tags() + at);
  }
  size--;
  if (keys != nullptr && Keyed().added.size() > kManyAddedBytes) DropUnusedKeys();
}

// Removes unused keys from `added`, which would otherwise grow each time that a host removes a key and sets it again.
void ZPDFChildList::DropUnusedKeys() {
  size_t used = 0;
  for (uint32_t i = 0; i < size; i++) used += keys[i].is_added != 0 ? keys[i].length : 0;
  if (used > Keyed().added.size() / 2) return;
  const Chaine old = std::move(Keyed().added);
  Keyed().added.Clear();
  for (uint32_t i = 0; i < size; i++) {
    if (keys[i].is_added != 0) keys[i] = AddKey(old.View().substr(keys[i].offset, keys[i].length));
  }
}

void ZPDFChildList::GrowTo(size_t new_size) {
  if (new_size <= size) return;
  Reserve(new_size);
  std::fill(items + size, items + new_size, nullptr);
  size = static_cast<uint32_t>(new_size);
}

void ZPDFChildList::Unkey(ZPDFNode* const* entries) {
  keys = nullptr;
  std::copy(entries, entries + size, items);
}

bool ZPDFChildList::Retire(ZPDFChildList* given_up) {
  ZPDFChildList* last = nullptr;
  for (ZPDFChildList* list = given_up; list != nullptr; list = list->retired) {
    for (const ZPDFChildList* waiting = this; waiting != nullptr; waiting = waiting->retired) {
      if (list == waiting) return false;
    }
    last = list;
  }
  last->retired = retired;
  retired = given_up;
  return true;
}

}  // namespace zforms
