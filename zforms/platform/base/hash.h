#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

#include "zforms/platform/base/chaine.h"
#include "zforms/platform/base/export.h"

namespace zforms {

// SipHash-1-3 with a random key for each process, so that an attacker cannot choose names that all collide in a hash
// table.
ZFORMS_API uint64_t KeyedHash(std::string_view text);

struct ChaineHash {
  size_t operator()(std::string_view text) const { return static_cast<size_t>(KeyedHash(text)); }
};

// Finds the items of an array by their hash: an open-addressing table of positions, kept beside the array by the
// array's owner. A lookup nearly always needs one probe.
class HashIndex {
 public:
  static constexpr size_t kNone = SIZE_MAX;

  // The position of the item with this hash for which `equal(position)` is true, or kNone.
  template <class Equal>
  size_t Find(uint64_t hash, Equal equal) const {
    if (slots_.empty()) return kNone;
    for (size_t at = static_cast<size_t>(hash) & mask_; slots_[at].position != kEmpty; at = (at + 1) & mask_) {
      if (slots_[at].hash == Short(hash) && equal(size_t{slots_[at].position})) return slots_[at].position;
    }
    return kNone;
  }
  // Precondition: the index does not have an equal item.
  void Insert(uint64_t hash, size_t position) {
    if ((count_ + 1) * 4 > slots_.size() * 3) Grow();
    count_++;
    Put({Short(hash), static_cast<uint32_t>(position)});
  }
  // Records that the item at `from` has moved to `to`. Precondition: it is in the index.
  void Move(uint64_t hash, size_t from, size_t to) { slots_[SlotOf(hash, from)].position = static_cast<uint32_t>(to); }
  // Precondition: the item at `position` is in the index.
  void Erase(uint64_t hash, size_t position) {
    // Closes the gap: moves the items that follow it towards it, but never before their home slot.
    size_t gap = SlotOf(hash, position);
    for (size_t at = (gap + 1) & mask_; slots_[at].position != kEmpty; at = (at + 1) & mask_) {
      if (((at - slots_[at].hash) & mask_) < ((at - gap) & mask_)) continue;
      slots_[gap] = slots_[at];
      gap = at;
    }
    slots_[gap].position = kEmpty;
    count_--;
  }
  void Clear() {
    slots_.clear();
    mask_ = count_ = 0;
  }
  void Reserve(size_t count) {
    if (count * 4 > slots_.size() * 3) Resize(std::bit_ceil(count * 2));
  }

 private:
  static constexpr uint32_t kEmpty = UINT32_MAX;
  struct Slot {
    uint32_t hash = 0;
    uint32_t position = kEmpty;
  };

  static uint32_t Short(uint64_t hash) { return static_cast<uint32_t>(hash); }
  size_t SlotOf(uint64_t hash, size_t position) const {
    size_t at = static_cast<size_t>(hash) & mask_;
    while (slots_[at].position != position) at = (at + 1) & mask_;
    return at;
  }
  void Put(Slot slot) {
    size_t at = slot.hash & mask_;
    while (slots_[at].position != kEmpty) at = (at + 1) & mask_;
    slots_[at] = slot;
  }
  void Grow() { Resize(slots_.empty() ? 8 : slots_.size() * 2); }
  void Resize(size_t size) {
    std::vector<Slot> old(size);
    old.swap(slots_);
    mask_ = size - 1;
    for (const Slot& slot : old) {
      if (slot.position != kEmpty) Put(slot);
    }
  }

  std::vector<Slot> slots_;  // size is a power of two
  size_t mask_ = 0;
  size_t count_ = 0;
};

}  // namespace zforms
