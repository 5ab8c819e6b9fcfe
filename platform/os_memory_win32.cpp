#include <cstdlib>
#include <new>

#include "platform/os_memory.h"

namespace zforms {

// Large pages need a privilege there that few processes have.
void* AllocateBlock(size_t bytes) {
  void* const memory = std::malloc(bytes);
  if (memory == nullptr) throw std::bad_alloc();
  return memory;
}

void* GrowBlock(void* block, size_t, size_t wanted) {
  void* const memory = std::realloc(block, wanted);
  if (memory == nullptr) throw std::bad_alloc();
  return memory;
}

void FreeBlock(void* block, size_t) { std::free(block); }

}  // namespace zforms
