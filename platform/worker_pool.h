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

// Threads that run jobs from a bounded queue, in order. Heavy jobs never take more than
// half of the threads, and wait until no other job does, so that they do not hold up
// those. Construction starts no thread. Any thread may call any function but Join, which
// no worker may call.
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
  bool Post(Job job, bool is_heavy = false);
  // Takes no more jobs; the threads end after those that are queued, or with
  // `drop_queued` after those that run.
  void Finish(bool drop_queued);
  // True when all threads have ended; waits for that until the time is over.
  bool WaitFinished(std::chrono::milliseconds time);
  void Join();
  bool IsWorker() const;

 private:
  void RunJobs();
  bool CanTakeHeavy() const { return !heavy_.empty() && heavy_running_ < heavy_threads_; }

  const size_t thread_count_;
  const size_t heavy_threads_;
  const size_t max_queue_;
  mutable std::mutex mutex_;
  std::condition_variable wake_;
  std::condition_variable ended_;
  std::deque<Job> queue_;
  std::deque<Job> heavy_;
  size_t heavy_running_ = 0;
  std::vector<std::thread> threads_;
  size_t running_ = 0;
  bool finishing_ = false;
};

}  // namespace zforms
