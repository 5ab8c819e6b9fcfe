#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <mutex>

namespace zforms::tool {

// StoreOutcome passes the result of storing one submission from the main thread to the thread that answers the request.
// It guarantees that a submission that was reported as not stored is not stored later.
class StoreOutcome {
 public:
  // Waits for the result: true when the submission is stored. If storing has not begun after `time`, prevents it and
  // returns false. If it has begun, waits until it ends.
  bool Wait(std::chrono::milliseconds time) {
    std::unique_lock lock(mutex_);
    told_.wait_for(lock, time, [this] { return IsDecided(); });
    if (state_ == State::kWaits) state_ = State::kFailed;
    told_.wait(lock, [this] { return IsDecided(); });
    return state_ == State::kStored;
  }

  // Marks that storing begins. False when Wait or Abandon has prevented it.
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
  // Prevents storing, unless it has begun, and ends the wait.
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
