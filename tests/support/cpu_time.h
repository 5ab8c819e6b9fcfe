// Processor time of the test program, for checks that work grows in proportion to its input.
#pragma once

#include "tests/support/process.h"

namespace zforms {

// Measures from its construction on. Other programs on the machine do not count, a slow machine does: compare with the
// time of a smaller input, or with a limit that only work in another proportion can reach.
class CpuTime {
 public:
  // In seconds of a build without sanitizers, roughly.
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
