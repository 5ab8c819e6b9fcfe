#pragma once

#include <mutex>

namespace zforms {

// CCriticalSection lets one thread in at a time; the thread that is in may enter
// again.
class CCriticalSection {
 public:
  void Lock() { mutex_.lock(); }
  void Unlock() { mutex_.unlock(); }

 private:
  std::recursive_mutex mutex_;
};

// CSingleLock is in the section from its making to its end.
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
