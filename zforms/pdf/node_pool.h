#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

namespace zforms {

// Memory for the nodes of one document, taken from large slabs: the nodes of a parsed object are next to each other,
// and an allocation costs one addition. A slab is freed when its last block is returned, so nodes may outlive the pool.
// The pool lives as long as it has users: its document, and the dictionaries with values that are not read yet. One
// pool, with its nodes, is used by one thread at a time.
class ZPDFNodePool {
 public:
  // A deleter that ends one use of the pool.
  struct GivesUp {
    void operator()(ZPDFNodePool* pool) const { pool->GiveUp(); }
  };
  using User = std::unique_ptr<ZPDFNodePool, GivesUp>;

  static User Make() { return User(new ZPDFNodePool); }
  User Share() {
    users_++;
    return User(this);
  }

  // A block of memory and its offset in its slab in bytes. Nodes store the offset; there, 0 means memory that is not
  // from a pool.
  struct Block {
    void* memory;
    uint32_t offset;
  };

  ZPDFNodePool(const ZPDFNodePool&) = delete;
  ZPDFNodePool& operator=(const ZPDFNodePool&) = delete;

  // Returns a block, aligned for pointers. Precondition: bytes <= kLargestBlock.
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
  // The header of a slab's memory. `blocks` counts the blocks in use, and 1 more while the pool takes blocks from it.
  struct Slab {
    size_t blocks;
  };

  ZPDFNodePool() = default;
  ~ZPDFNodePool() { CloseSlab(); }
  void GiveUp() {
    if (--users_ == 0) delete this;
  }
  void OpenSlab(size_t bytes);
  void CloseSlab();
  static void Free(Slab* slab);

  Slab* slab_ = nullptr;
  uint32_t at_ = 0;
  uint32_t limit_ = 0;
  uint32_t next_size_ = 0;
  size_t users_ = 1;
};

}  // namespace zforms
