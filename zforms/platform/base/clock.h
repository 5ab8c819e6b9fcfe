#pragma once

#include <cstdint>

#include "zforms/platform/base/export.h"

namespace zforms {

// ZClock tells the time. A host or a test may replace the system's clock by its own. Any thread may call it.
class ZFORMS_API ZClock {
 public:
  virtual ~ZClock();

  // The time in UTC, in ticks of 100 ns since the start of the year 1601.
  virtual uint64_t Ticks() const = 0;

  // The system's clock; lives as long as the process.
  static const ZClock& System();
};

}  // namespace zforms
