#pragma once

#include "zforms/platform/base/export.h"

namespace zforms {

// Hands memory that was freed back to the system, which allocators put off for long.
// Takes milliseconds; worth it after something large. Any thread.
ZFORMS_API void GiveBackMemory();

// Has blocks of a megabyte or more go back as soon as they are freed, for the whole
// process: for programs that meet large inputs now and then. At the start, before threads.
ZFORMS_API void GiveBackLargeBlocks();

}  // namespace zforms
