#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

#include "platform/export.h"

namespace zforms {

// Threads that run jobs from one bounded queue, in order. Construction starts
// none. Any thread may call any function but Join, which no worker may call.
class ZFORMS_API WorkerPool {
 public:
  using Job = std::function<void()>;

  WorkerPool(size_t threads, size_t max_queue);
  WorkerPool(const WorkerPool&) = delete;
  WorkerPool& operator=(const WorkerPool&) = delete;
  // Finishes and joins.
  ~WorkerPool();

  void Start();
  // False when the queue is full or the pool is finishing.
  bool Post(Job job);
  // Takes no more jobs; the threads end after those that are queued, or with
  // `drop_queued` after those that run.
  void Finish(bool drop_queued);
  // True when all threads have ended; waits for that until the time is over.
  bool WaitFinished(std::chrono::milliseconds time);
  void Join();
  bool IsWorker() const;

 private:
  void RunJobs();

  const size_t thread_count_;
  const size_t max_queue_;
  mutable std::mutex mutex_;
  std::condition_variable wake_;
  std::condition_variable ended_;
  std::deque<Job> queue_;
  std::vector<std::thread> threads_;
  size_t running_ = 0;
  bool finishing_ = false;
};

}  // namespace zforms
