#include <malloc.h>
#include <windows.h>

#include "zforms/platform/base/os_memory.h"

namespace zforms {

void GiveBackMemory() { _heapmin(); }

// Windows does this by itself.
void GiveBackLargeBlocks() {}

void WipeBytes(void* bytes, size_t n) noexcept { SecureZeroMemory(bytes, n); }

}  // namespace zforms
