#pragma once

#include "zforms/platform/base/export.h"

namespace zforms {

// Returns freed memory to the system, which allocators delay. Takes milliseconds, so call it after large work only. Any
// thread may call it.
ZFORMS_API void GiveBackMemory();

// Makes the allocator return blocks of a megabyte or more as soon as they are freed, for the whole process. For
// programs with occasional large inputs. Call it at the start, before there are threads.
ZFORMS_API void GiveBackLargeBlocks();

}  // namespace zforms
