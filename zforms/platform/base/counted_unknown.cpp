#include "zforms/platform/base/counted_unknown.h"

namespace zforms {

ZCountedUnknown::~ZCountedUnknown() = default;

void ZCountedUnknown::Release() const {
  if (count_.fetch_sub(1, std::memory_order_acq_rel) == 1) delete this;
}

}  // namespace zforms
