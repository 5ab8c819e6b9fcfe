#pragma once

#include <cstddef>
#include <cstdint>

namespace zforms {

// Memory for the nodes of one document, cut from slabs one after another: a parsed
// object's nodes stand side by side, and taking one costs an addition. A slab goes
// when the last of its blocks was given back, so that nodes may outlive the pool.
// One pool, with its nodes, belongs to one thread at a time.
class ZPDFNodePool {
 public:
  // A block knows how far from the front of its slab it stands; 0 is said of memory
  // that comes from no pool.
  struct Block {
    void* memory;
    uint32_t offset;
  };

  ZPDFNodePool() = default;
  ZPDFNodePool(const ZPDFNodePool&) = delete;
  ZPDFNodePool& operator=(const ZPDFNodePool&) = delete;
  ~ZPDFNodePool() { CloseSlab(); }

  // Precondition: bytes <= kLargestBlock. Aligned for pointers.
  Block Take(size_t bytes) {
    const size_t rounded = (bytes + alignof(void*) - 1) & ~(alignof(void*) - 1);
    if (rounded > size_t{limit_} - at_) OpenSlab(rounded);
    const Block block{reinterpret_cast<char*>(slab_) + at_, at_};
    at_ += static_cast<uint32_t>(rounded);
    slab_->blocks++;
    return block;
  }
  static void GiveBack(void* memory, uint32_t offset) {
    auto* const slab = reinterpret_cast<Slab*>(static_cast<char*>(memory) - offset);
    if (--slab->blocks == 0) Free(slab);
  }

  static constexpr size_t kLargestBlock = 8 * 1024;

 private:
  // At the front of its memory. The pool that still cuts from it counts as a block.
  struct Slab {
    size_t blocks;
  };

  void OpenSlab(size_t bytes);
  void CloseSlab();
  static void Free(Slab* slab);

  Slab* slab_ = nullptr;
  uint32_t at_ = 0;
  uint32_t limit_ = 0;
  uint32_t next_size_ = 0;
};

}  // namespace zforms
