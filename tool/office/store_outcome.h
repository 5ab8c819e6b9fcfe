#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <mutex>

namespace zforms::tool {

// StoreOutcome is what becomes of one submission, between the thread that answers it
// and the one that stores it: who is told that it was not stored can rely on that.
class StoreOutcome {
 public:
  // True when it is stored. When nobody has begun to store it after that time, nobody
  // will, and it is false; what was begun is waited for to its end.
  bool Wait(std::chrono::milliseconds time) {
    std::unique_lock lock(mutex_);
    told_.wait_for(lock, time, [this] { return IsDecided(); });
    if (state_ == State::kWaits) state_ = State::kFailed;
    told_.wait(lock, [this] { return IsDecided(); });
    return state_ == State::kStored;
  }

  // Begins to store it. False when that comes too late.
  bool Begin() {
    const std::lock_guard lock(mutex_);
    if (state_ == State::kWaits) state_ = State::kBegun;
    return state_ == State::kBegun;
  }
  void Tell(bool stored) {
    const std::lock_guard lock(mutex_);
    state_ = stored ? State::kStored : State::kFailed;
    told_.notify_all();
  }
  // It goes without having been begun, unless it was.
  void Abandon() {
    const std::lock_guard lock(mutex_);
    if (state_ == State::kWaits) state_ = State::kFailed;
    told_.notify_all();
  }

 private:
  enum class State : uint8_t { kWaits, kBegun, kStored, kFailed };
  bool IsDecided() const { return state_ == State::kStored || state_ == State::kFailed; }

  std::mutex mutex_;
  std::condition_variable told_;
  State state_ = State::kWaits;
};

}  // namespace zforms::tool
