// Processor time of the test program, for checks that work grows in proportion to its input.
#pragma once

#include "tests/support/process.h"

namespace zforms {

// Measures the time since its construction. Other programs on the machine do not change the result, but a slow machine
// does. So compare it with the time for a smaller input, or with a limit that only faster growth can exceed.
class CpuTime {
 public:
  // Roughly the seconds that a build without sanitizers would take.
  [[nodiscard]] double Seconds() const { return (ProcessSeconds() - start_) / kTimesSlower; }

 private:
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
  static constexpr double kTimesSlower = 15;
#else
  static constexpr double kTimesSlower = 1;
#endif

  double start_ = ProcessSeconds();
};

}  // namespace zforms
