#include <cstddef>

#include "platform/os_memory.h"

// The GNU C library's; others give memory back by themselves.
extern "C" int malloc_trim(std::size_t keep) __attribute__((weak));

namespace zforms {

void GiveBackMemory() {
  if (malloc_trim != nullptr) malloc_trim(0);
}

}  // namespace zforms
