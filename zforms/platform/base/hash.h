#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

#include "zforms/platform/base/chaine.h"
#include "zforms/platform/base/export.h"

namespace zforms {

// SipHash-1-3 under a key that each process draws for itself, so that nobody can
// make up names that all fall on one place of a table.
ZFORMS_API uint64_t KeyedHash(std::string_view text);

struct ChaineHash {
  size_t operator()(std::string_view text) const { return static_cast<size_t>(KeyedHash(text)); }
};

// Where the items of an array are, by their hash: an open table of positions beside
// the array, which its owner keeps. Finding looks at one place nearly always.
class HashIndex {
 public:
  static constexpr size_t kNone = SIZE_MAX;

  // The position of the item with that hash of which `equal(position)` holds, or kNone.
  template <class Equal>
  size_t Find(uint64_t hash, Equal equal) const {
    if (slots_.empty()) return kNone;
    for (size_t at = hash & mask_; slots_[at].position != kEmpty; at = (at + 1) & mask_) {
      if (slots_[at].hash == Short(hash) && equal(size_t{slots_[at].position})) return slots_[at].position;
    }
    return kNone;
  }
  // Precondition: no item of that kind is in the index.
  void Insert(uint64_t hash, size_t position) {
    if ((count_ + 1) * 4 > slots_.size() * 3) Grow();
    count_++;
    Put({Short(hash), static_cast<uint32_t>(position)});
  }
  // Says that the item at `from` now stands at `to`. Precondition: it is in the index.
  void Move(uint64_t hash, size_t from, size_t to) { slots_[SlotOf(hash, from)].position = static_cast<uint32_t>(to); }
  // Precondition: the item at `position` is in the index.
  void Erase(uint64_t hash, size_t position) {
    // What follows without a gap moves up, unless it would pass the place it belongs to.
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
    size_t at = hash & mask_;
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

  std::vector<Slot> slots_;  // as many as a power of two
  size_t mask_ = 0;
  size_t count_ = 0;
};

}  // namespace zforms
