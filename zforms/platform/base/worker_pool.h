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

// A pool of threads that run jobs from a bounded queue, in order. A heavy job has a weight, such as the number of bytes
// it works on. Heavy jobs never take more than half of the threads (but always one), and together never weigh more than
// `max_weight`, except that a heavier job may run without other heavy jobs. They start only when no other job waits, so
// they delay no light job and memory stays bounded.
//
// The constructor starts no thread. Any thread may call any function, except that a worker must not call Join.
class WorkerPool {
 public:
  using Job = std::function<void()>;

  WorkerPool(size_t threads, size_t max_queue, uint64_t max_weight);
  WorkerPool(const WorkerPool&) = delete;
  WorkerPool& operator=(const WorkerPool&) = delete;
  // Drops the queued jobs, and waits until the running ones have ended.
  ~WorkerPool();

  void Start();
  // Queues a job; a job of weight 0 is not heavy. False when the queue is full or the pool is finishing.
  bool Post(Job job, uint64_t weight = 0);
  // Accepts no more jobs. The threads end after the queued jobs, or with `drop_queued` after the jobs that are running.
  void Finish(bool drop_queued);
  // Waits until all threads have ended, at most for `time`; true when they have.
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
  uint64_t weight_ = 0;  // the total weight of the heavy jobs that run
  std::vector<std::thread> threads_;
  size_t running_ = 0;
  bool finishing_ = false;
};

}  // namespace zforms
