#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>

#include "zforms/platform/base/counted_unknown.h"
#include "zforms/platform/base/export.h"

namespace zforms {

// What is carried from any thread to the host's. Its handler runs once, on the
// host's thread.
class ZFORMS_API ZIdleMessage : public virtual ZCountedUnknown {
 public:
  virtual void OnIdleMessage() = 0;

 protected:
  ~ZIdleMessage() override;
};

// ZIdleMessageManager hands messages to the host's idle loop, in the order in
// which they were posted. Any thread posts, and never waits; one thread, the
// host's, runs the loop: Run where the host has none of its own, else RunPending
// when the host's own loop is woken (SetWake). The thread that made the manager is
// the host's until another one runs the loop.
class ZFORMS_API ZIdleMessageManager {
 public:
  using IIdleMessage = ZIdleMessage;
  using Duration = std::chrono::milliseconds;

  ZIdleMessageManager();
  ZIdleMessageManager(const ZIdleMessageManager&) = delete;
  ZIdleMessageManager& operator=(const ZIdleMessageManager&) = delete;
  // Releases what was not delivered.
  ~ZIdleMessageManager();

  // The manager of the process.
  static ZIdleMessageManager& Default();

  // Is called when a message comes to an empty queue, on the thread that posts it, and at
  // once when some wait already: a host with a loop of its own sends that loop an event
  // here, whose handler calls RunPending. It must return soon and deliver nothing itself.
  // When SetWake returns, what was set before is not called any more.
  void SetWake(std::function<void()> wake);
  // Takes a reference of its own, which it releases after the delivery.
  void Post(IIdleMessage* message);
  // How many wait, the one that is being delivered included.
  size_t Pending() const;

  // Delivers what waits, and what is posted meanwhile; returns the number.
  size_t RunPending();
  // The same after waiting for a message, until the time is over.
  size_t WaitAndRun(Duration time);
  // Delivers messages until Quit; what waits then is delivered before it returns.
  void Run();
  // Ends Run, now or when it is next called. For any thread.
  void Quit();

  bool IsHostThread() const;
  // Empties the queue: by delivering when the host's thread asks, else by waiting
  // until the host's thread has done so. False when the time was over before.
  bool Drain(Duration time);

 private:
  size_t DeliverAll(std::unique_lock<std::mutex>& lock);
  void Wake();

  mutable std::mutex mutex_;
  std::condition_variable changed_;
  std::deque<ZCountedPtr<IIdleMessage>> messages_;
  size_t in_delivery_ = 0;
  bool quit_ = false;
  std::thread::id host_;
  std::recursive_mutex wake_mutex_;
  std::function<void()> wake_;
};

}  // namespace zforms
