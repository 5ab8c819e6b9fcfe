#include "zforms/platform/base/worker_pool.h"

#include <algorithm>
#include <utility>

namespace zforms {

WorkerPool::WorkerPool(size_t threads, size_t max_queue, uint64_t max_weight)
    : thread_count_(std::max<size_t>(threads, 1)),
      heavy_threads_(std::max<size_t>(thread_count_ / 2, 1)),
      max_queue_(max_queue),
      max_weight_(max_weight) {}

WorkerPool::~WorkerPool() {
  Finish(true);
  Join();
}

void WorkerPool::Start() {
  const std::lock_guard lock(mutex_);
  for (; running_ < thread_count_; running_++) threads_.emplace_back([this] { RunJobs(); });
}

bool WorkerPool::Post(Job job, uint64_t weight) {
  {
    const std::lock_guard lock(mutex_);
    if (finishing_ || queue_.size() + heavy_.size() >= max_queue_) return false;
    (weight != 0 ? heavy_ : queue_).push_back({std::move(job), weight});
  }
  wake_.notify_one();
  return true;
}

void WorkerPool::Finish(bool drop_queued) {
  // Destroys the jobs outside the lock: their destructors may post other jobs.
  std::deque<WeightedJob> dropped[2];
  {
    const std::lock_guard lock(mutex_);
    finishing_ = true;
    if (drop_queued) {
      dropped[0].swap(queue_);
      dropped[1].swap(heavy_);
    }
  }
  wake_.notify_all();
}

bool WorkerPool::WaitFinished(std::chrono::milliseconds time) {
  std::unique_lock lock(mutex_);
  return ended_.wait_for(lock, time, [this] { return running_ == 0; });
}

void WorkerPool::Join() {
  for (std::thread& thread : threads_) thread.join();
  threads_.clear();
}

bool WorkerPool::IsWorker() const {
  return std::any_of(threads_.begin(), threads_.end(),
                     [](const std::thread& thread) { return thread.get_id() == std::this_thread::get_id(); });
}

void WorkerPool::RunJobs() {
  std::unique_lock lock(mutex_);
  while (true) {
    wake_.wait(lock, [this] { return finishing_ || !queue_.empty() || CanTakeHeavy(); });
    const bool is_heavy = queue_.empty();
    // Ends this thread when the pool is finishing and no job can start. The threads that run heavy jobs then run the
    // heavy jobs that remain.
    if (is_heavy && !CanTakeHeavy()) break;
    std::deque<WeightedJob>& queue = is_heavy ? heavy_ : queue_;
    WeightedJob next = std::move(queue.front());
    queue.pop_front();
    heavy_running_ += is_heavy ? 1 : 0;
    weight_ += next.weight;
    lock.unlock();
    next.job();
    next.job = nullptr;
    lock.lock();
    heavy_running_ -= is_heavy ? 1 : 0;
    weight_ -= next.weight;
    // The next heavy job may have been too heavy to run beside this one.
    if (is_heavy && CanTakeHeavy()) wake_.notify_one();
  }
  running_--;
  ended_.notify_all();
}

}  // namespace zforms
