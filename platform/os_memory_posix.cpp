#include <sys/mman.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <new>

#include "platform/os_memory.h"

namespace zforms {
namespace {

constexpr size_t kPage = 4096;
constexpr size_t kLargePage = size_t{2} << 20;

size_t RoundUp(size_t bytes, size_t unit) { return (bytes + unit - 1) / unit * unit; }

// Maps more than is wanted and gives back what stands before and behind the block.
void* MapAligned(size_t bytes) {
  const size_t mapped = bytes + kLargePage - kPage;
  void* const memory = ::mmap(nullptr, mapped, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (memory == MAP_FAILED) throw std::bad_alloc();
  auto* const front = static_cast<char*>(memory);
  const size_t lead = RoundUp(reinterpret_cast<uintptr_t>(front), kLargePage) - reinterpret_cast<uintptr_t>(front);
  if (lead != 0) ::munmap(front, lead);
  if (lead + bytes < mapped) ::munmap(front + lead + bytes, mapped - lead - bytes);
#ifdef MADV_HUGEPAGE
  // Only advice: a system without such pages refuses it, and nothing is lost.
  ::madvise(front + lead, bytes, MADV_HUGEPAGE);
#endif
  return front + lead;
}

}  // namespace

void* AllocateBlock(size_t bytes) {
  if (bytes >= kLargeBlock) return MapAligned(RoundUp(bytes, kPage));
  void* memory = std::malloc(bytes);
  if (memory == nullptr) throw std::bad_alloc();
  return memory;
}

void* GrowBlock(void* block, size_t bytes, size_t wanted) {
  if (wanted < kLargeBlock) {
    void* const memory = std::realloc(block, wanted);
    if (memory == nullptr) throw std::bad_alloc();
    return memory;
  }
#ifdef MREMAP_MAYMOVE
  // The pages move, and their bytes stay where they are.
  if (bytes >= kLargeBlock) {
    void* const memory = ::mremap(block, RoundUp(bytes, kPage), RoundUp(wanted, kPage), MREMAP_MAYMOVE);
    if (memory == MAP_FAILED) throw std::bad_alloc();
    return memory;
  }
#endif
  void* const memory = AllocateBlock(wanted);
  std::memcpy(memory, block, bytes);
  FreeBlock(block, bytes);
  return memory;
}

void FreeBlock(void* block, size_t bytes) {
  if (bytes >= kLargeBlock) {
    ::munmap(block, RoundUp(bytes, kPage));
  } else {
    std::free(block);
  }
}

}  // namespace zforms
