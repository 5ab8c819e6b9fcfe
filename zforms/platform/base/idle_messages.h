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

// A message from any thread to the host's thread. Its handler runs once, on the host's thread.
class ZFORMS_API ZIdleMessage : public virtual ZCountedUnknown {
 public:
  virtual void OnIdleMessage() = 0;

 protected:
  ~ZIdleMessage() override;
};

// ZIdleMessageManager delivers messages to the host's idle loop, in the order in which they were posted. Any thread may
// post and never waits. One thread, the host's, runs the loop: with Run when the host has no loop of its own, else with
// RunPending when the host's own loop is woken (SetWake). The host's thread is the one that created the manager, until
// another thread runs the loop.
class ZFORMS_API ZIdleMessageManager {
 public:
  using IIdleMessage = ZIdleMessage;
  using Duration = std::chrono::milliseconds;

  ZIdleMessageManager();
  ZIdleMessageManager(const ZIdleMessageManager&) = delete;
  ZIdleMessageManager& operator=(const ZIdleMessageManager&) = delete;
  // Releases the messages that were not delivered.
  ~ZIdleMessageManager();

  // The manager shared by the whole process.
  static ZIdleMessageManager& Default();

  // Sets a function that is called when a message arrives in an empty queue, on the thread that posts it; it is called
  // at once when messages wait already. A host with its own loop sends that loop an event here, and the event's handler
  // calls RunPending. The function must return soon and must not deliver messages itself. After SetWake returns, the
  // previous function is not called any more.
  void SetWake(std::function<void()> wake);
  // Adds a reference to the message and releases it after the delivery.
  void Post(IIdleMessage* message);
  // The number of messages that wait, including the one that is being delivered.
  size_t Pending() const;

  // Delivers the messages that wait and those posted meanwhile; returns their number.
  size_t RunPending();
  // Like RunPending, but first waits for a message for at most `time`.
  size_t WaitAndRun(Duration time);
  // Delivers messages until Quit; delivers those that still wait before it returns.
  void Run();
  // Ends Run, now or when it is next called. Any thread may call it.
  void Quit();

  bool IsHostThread() const;
  // Empties the queue: the host's thread delivers the messages; any other thread waits until the host's thread has done
  // so. False when `time` is over before that.
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
