#include <string.h>  // NOLINT(modernize-deprecated-headers): explicit_bzero is not in <cstring>

#include <cstddef>

#include "zforms/platform/base/os_memory.h"

// mallopt(3) and malloc_trim(3) of the GNU C library; other C libraries return memory by themselves.
extern "C" int malloc_trim(std::size_t keep) __attribute__((weak));
extern "C" int mallopt(int parameter, int value) __attribute__((weak));

namespace zforms {
namespace {

constexpr int kTrimThreshold = -1;  // M_TRIM_THRESHOLD
constexpr int kMapThreshold = -3;   // M_MMAP_THRESHOLD
constexpr int kLargeBlock = 1 << 20;

}  // namespace

void GiveBackMemory() {
  if (malloc_trim != nullptr) malloc_trim(0);
}

// Both thresholds are set, because the library otherwise raises them with each large block that is freed.
void GiveBackLargeBlocks() {
  if (mallopt == nullptr) return;
  // NOLINTBEGIN(concurrency-mt-unsafe): called at the start, before there are other threads.
  mallopt(kMapThreshold, kLargeBlock);
  mallopt(kTrimThreshold, 2 * kLargeBlock);
  // NOLINTEND(concurrency-mt-unsafe)
}

void WipeBytes(void* bytes, size_t n) noexcept { explicit_bzero(bytes, n); }

}  // namespace zforms
