#pragma once

#include <mutex>

namespace zforms {

// CCriticalSection is a recursive lock: one thread at a time holds it, and that thread may take it again.
class CCriticalSection {
 public:
  void Lock() { mutex_.lock(); }
  void Unlock() { mutex_.unlock(); }

 private:
  std::recursive_mutex mutex_;
};

// CSingleLock enters the section in its constructor and leaves it in its destructor.
class CSingleLock {
 public:
  explicit CSingleLock(CCriticalSection& section) : section_(section) { section_.Lock(); }
  CSingleLock(const CSingleLock&) = delete;
  CSingleLock& operator=(const CSingleLock&) = delete;
  ~CSingleLock() { section_.Unlock(); }

 private:
  CCriticalSection& section_;
};

}  // namespace zforms
