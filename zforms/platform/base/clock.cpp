#include "zforms/platform/base/clock.h"

#include <chrono>
#include <ratio>

namespace zforms {
namespace {

class SystemClock final : public ZClock {
 public:
  uint64_t Ticks() const override {
    using Tick = std::chrono::duration<int64_t, std::ratio<1, 10'000'000>>;
    constexpr int64_t kStartOf1970 = 116'444'736'000'000'000;
    const auto now = std::chrono::system_clock::now().time_since_epoch();
    return static_cast<uint64_t>(kStartOf1970 + std::chrono::duration_cast<Tick>(now).count());
  }
};

}  // namespace

ZClock::~ZClock() = default;

const ZClock& ZClock::System() {
  static const SystemClock clock;
  return clock;
}

}  // namespace zforms
