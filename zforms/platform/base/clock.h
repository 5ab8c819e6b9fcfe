#pragma once

#include <cstdint>

#include "zforms/platform/base/export.h"

namespace zforms {

// ZClock tells the time. A host or a test may put one of its own in the place of
// the system's. Any thread may ask it.
class ZFORMS_API ZClock {
 public:
  virtual ~ZClock();

  // The time in UTC, in ticks of 100 ns since the start of the year 1601.
  virtual uint64_t Ticks() const = 0;

  // The clock of the system; lives as long as the process.
  static const ZClock& System();
};

}  // namespace zforms
