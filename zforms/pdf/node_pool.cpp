#include "zforms/pdf/node_pool.h"

#include <algorithm>
#include <cstdlib>
#include <new>

namespace zforms {
namespace {

// Under the address sanitizer every block gets its own slab, so that the sanitizer sees each allocation and release.
#ifdef ZFORMS_SEPARATE_BLOCKS
constexpr uint32_t kFirstSlab = 0;
constexpr uint32_t kLargestSlab = 0;
#else
// The first slab is large enough for a small form. Later slabs grow, but stay below the size from which the system's
// allocator maps and unmaps memory each time.
constexpr uint32_t kFirstSlab = 16 * 1024;
constexpr uint32_t kLargestSlab = 120 * 1024;
#endif

}  // namespace

void ZPDFNodePool::OpenSlab(size_t bytes) {
  CloseSlab();
  next_size_ = std::clamp(next_size_ * 2, kFirstSlab, kLargestSlab);
  limit_ = std::max(next_size_, static_cast<uint32_t>(sizeof(Slab) + bytes));
  void* const memory = std::malloc(limit_);
  if (memory == nullptr) throw std::bad_alloc();
  slab_ = new (memory) Slab{1};
  at_ = sizeof(Slab);
}

void ZPDFNodePool::CloseSlab() {
  if (slab_ != nullptr && --slab_->blocks == 0) Free(slab_);
  slab_ = nullptr;
  at_ = limit_ = 0;
}

void ZPDFNodePool::Free(Slab* slab) { std::free(slab); }

}  // namespace zforms
