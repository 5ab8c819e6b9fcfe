#pragma once

#include <cstddef>

namespace zforms {

// From this size on a block is mapped for itself, and the system is asked for large
// pages: touching fresh memory, and finding one's way in much of it, then costs
// several times less. Smaller blocks do better in the heap, which uses them again.
inline constexpr size_t kLargeBlock = size_t{16} << 20;

// So many bytes, aligned as malloc does it. Throws std::bad_alloc.
void* AllocateBlock(size_t bytes);
// Moves the block, whose size was `bytes`, where it cannot grow in its place.
void* GrowBlock(void* block, size_t bytes, size_t wanted);
void FreeBlock(void* block, size_t bytes);

}  // namespace zforms
