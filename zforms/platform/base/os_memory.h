#pragma once

#include <cstddef>

#include "zforms/platform/base/export.h"

namespace zforms {

// Returns freed memory to the system at once, which allocators would do later. Takes milliseconds, so call it only
// after large work. Any thread may call it.
ZFORMS_API void GiveBackMemory();

// Makes the allocator return blocks of a megabyte or more as soon as they are freed, for the whole process. For
// programs with occasional large inputs. Call it at the start, before there are threads.
ZFORMS_API void GiveBackLargeBlocks();

// Overwrites bytes that are not needed any more, in a way that no compiler leaves out.
ZFORMS_API void WipeBytes(void* bytes, size_t n) noexcept;

}  // namespace zforms
