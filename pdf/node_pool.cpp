#include "pdf/node_pool.h"

#include <algorithm>
#include <cstdlib>
#include <new>

#include "platform/os_memory.h"

namespace zforms {
namespace {

// Under the address sanitizer every block has a slab of its own, so that it sees
// each of them come and go.
#ifdef ZFORMS_SEPARATE_BLOCKS
constexpr uint32_t kFirstSlab = 0;
constexpr uint32_t kMiddleSlab = 0;
constexpr uint32_t kLargestSlab = 0;
#else
// Slabs grow from what a small form needs up to less than what the system's
// allocator maps and unmaps each time; those of a huge document are large blocks.
constexpr uint32_t kFirstSlab = 16 * 1024;
constexpr uint32_t kMiddleSlab = 120 * 1024;
constexpr uint32_t kLargestSlab = kLargeBlock;
#endif
constexpr size_t kSmallTotal = 40 * 1024 * 1024;

}  // namespace

void ZPDFNodePool::OpenSlab(size_t bytes) {
  total_ += limit_;
  CloseSlab();
  next_size_ = total_ > kSmallTotal ? kLargestSlab : std::clamp(next_size_ * 2, kFirstSlab, kMiddleSlab);
  limit_ = std::max(next_size_, static_cast<uint32_t>(sizeof(Slab) + bytes));
  slab_ = new (AllocateBlock(limit_)) Slab{1, limit_};
  at_ = sizeof(Slab);
}

void ZPDFNodePool::CloseSlab() {
  if (slab_ != nullptr && --slab_->blocks == 0) Free(slab_);
  slab_ = nullptr;
  at_ = limit_ = 0;
}

void ZPDFNodePool::Free(Slab* slab) { FreeBlock(slab, slab->bytes); }

}  // namespace zforms
