#include "zforms/platform/base/idle_messages.h"

#include <utility>

namespace zforms {

ZIdleMessage::~ZIdleMessage() = default;

ZIdleMessageManager::ZIdleMessageManager() : host_(std::this_thread::get_id()) {}

ZIdleMessageManager::~ZIdleMessageManager() = default;

ZIdleMessageManager& ZIdleMessageManager::Default() {
  static ZIdleMessageManager manager;
  return manager;
}

void ZIdleMessageManager::Post(IIdleMessage* message) {
  message->AddRef();
  ZCountedPtr<IIdleMessage> kept(message);
  bool is_first = false;
  {
    const std::lock_guard lock(mutex_);
    is_first = messages_.empty();
    messages_.push_back(std::move(kept));
  }
  changed_.notify_all();
  if (is_first) Wake();
}

void ZIdleMessageManager::Wake() {
  const std::lock_guard lock(wake_mutex_);
  if (wake_) wake_();
}

void ZIdleMessageManager::SetWake(std::function<void()> wake) {
  const std::lock_guard lock(wake_mutex_);
  wake_ = std::move(wake);
  if (Pending() != 0) Wake();
}

size_t ZIdleMessageManager::Pending() const {
  const std::lock_guard lock(mutex_);
  return messages_.size() + in_delivery_;
}

size_t ZIdleMessageManager::DeliverAll(std::unique_lock<std::mutex>& lock) {
  host_ = std::this_thread::get_id();
  size_t count = 0;
  for (; !messages_.empty(); count++) {
    ZCountedPtr<IIdleMessage> message = std::move(messages_.front());
    messages_.pop_front();
    in_delivery_++;
    lock.unlock();
    message->OnIdleMessage();
    message = {};
    lock.lock();
    in_delivery_--;
  }
  if (count != 0) changed_.notify_all();
  return count;
}

size_t ZIdleMessageManager::RunPending() {
  std::unique_lock lock(mutex_);
  return DeliverAll(lock);
}

size_t ZIdleMessageManager::WaitAndRun(Duration time) {
  std::unique_lock lock(mutex_);
  changed_.wait_for(lock, time, [this] { return !messages_.empty(); });
  return DeliverAll(lock);
}

void ZIdleMessageManager::Run() {
  std::unique_lock lock(mutex_);
  host_ = std::this_thread::get_id();
  while (!quit_) {
    changed_.wait(lock, [this] { return quit_ || !messages_.empty(); });
    DeliverAll(lock);
  }
  quit_ = false;
}

void ZIdleMessageManager::Quit() {
  {
    const std::lock_guard lock(mutex_);
    quit_ = true;
  }
  changed_.notify_all();
}

bool ZIdleMessageManager::IsHostThread() const {
  const std::lock_guard lock(mutex_);
  return host_ == std::this_thread::get_id();
}

bool ZIdleMessageManager::Drain(Duration time) {
  if (IsHostThread()) {
    RunPending();
    return true;
  }
  std::unique_lock lock(mutex_);
  return changed_.wait_for(lock, time, [this] { return messages_.empty() && in_delivery_ == 0; });
}

}  // namespace zforms
