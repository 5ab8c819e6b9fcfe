#include <malloc.h>

#include "zforms/platform/base/os_memory.h"

namespace zforms {

void GiveBackMemory() { _heapmin(); }

// As it does by itself.
void GiveBackLargeBlocks() {}

}  // namespace zforms
