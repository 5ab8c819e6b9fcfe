#include <malloc.h>

#include "platform/os_memory.h"

namespace zforms {

void GiveBackMemory() { _heapmin(); }

}  // namespace zforms
