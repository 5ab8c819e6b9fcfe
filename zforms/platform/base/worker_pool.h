#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

namespace zforms {

// Threads that run jobs from a bounded queue, in order. Heavy jobs have a weight, such as
// the bytes that they work on. They never take more than half of the threads, nor weigh
// more than `max_weight` together unless one does alone, and wait until no other job
// does, so that they hold up none and memory is bounded. Construction starts no thread. Any thread may call any
// function but Join, which no worker may call.
class WorkerPool {
 public:
  using Job = std::function<void()>;

  WorkerPool(size_t threads, size_t max_queue, uint64_t max_weight);
  WorkerPool(const WorkerPool&) = delete;
  WorkerPool& operator=(const WorkerPool&) = delete;
  // Finishes and joins.
  ~WorkerPool();

  void Start();
  // A job without weight is not heavy. False when the queue is full or the pool is
  // finishing.
  bool Post(Job job, uint64_t weight = 0);
  // Takes no more jobs; the threads end after those that are queued, or with
  // `drop_queued` after those that run.
  void Finish(bool drop_queued);
  // True when all threads have ended; waits for that until the time is over.
  bool WaitFinished(std::chrono::milliseconds time);
  void Join();
  bool IsWorker() const;

 private:
  void RunJobs();
  bool CanTakeHeavy() const {
    if (heavy_.empty() || heavy_running_ >= heavy_threads_) return false;
    return heavy_running_ == 0 || weight_ + heavy_.front().weight <= max_weight_;
  }

  struct WeightedJob {
    Job job;
    uint64_t weight = 0;
  };

  const size_t thread_count_;
  const size_t heavy_threads_;
  const size_t max_queue_;
  const uint64_t max_weight_;
  mutable std::mutex mutex_;
  std::condition_variable wake_;
  std::condition_variable ended_;
  std::deque<WeightedJob> queue_;
  std::deque<WeightedJob> heavy_;
  size_t heavy_running_ = 0;
  uint64_t weight_ = 0;  // of the heavy jobs that run
  std::vector<std::thread> threads_;
  size_t running_ = 0;
  bool finishing_ = false;
};

}  // namespace zforms
