#include "platform/worker_pool.h"

#include <algorithm>
#include <utility>

namespace zforms {

WorkerPool::WorkerPool(size_t threads, size_t max_queue)
    : thread_count_(std::max<size_t>(threads, 1)), max_queue_(max_queue) {}

WorkerPool::~WorkerPool() {
  Finish(true);
  Join();
}

void WorkerPool::Start() {
  const std::lock_guard lock(mutex_);
  for (; running_ < thread_count_; running_++) threads_.emplace_back([this] { RunJobs(); });
}

bool WorkerPool::Post(Job job) {
  {
    const std::lock_guard lock(mutex_);
    if (finishing_ || queue_.size() >= max_queue_) return false;
    queue_.push_back(std::move(job));
  }
  wake_.notify_one();
  return true;
}

void WorkerPool::Finish(bool drop_queued) {
  // Jobs end outside the lock: they may own what posts.
  std::deque<Job> dropped;
  {
    const std::lock_guard lock(mutex_);
    finishing_ = true;
    if (drop_queued) dropped.swap(queue_);
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
    wake_.wait(lock, [this] { return finishing_ || !queue_.empty(); });
    if (queue_.empty()) break;
    Job job = std::move(queue_.front());
    queue_.pop_front();
    lock.unlock();
    job();
    job = nullptr;
    lock.lock();
  }
  running_--;
  ended_.notify_all();
}

}  // namespace zforms
