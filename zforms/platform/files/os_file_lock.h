#pragma once

#include <cstdint>
#include <string>

#include "zforms/platform/base/chaine.h"
#include "zforms/platform/base/export.h"

namespace zforms {

// OsFileLock is an exclusive lock on what a lock file represents, such as its folder. The system releases it when the
// process ends, even by a crash; a lock file that is left behind locks nothing. Implemented by os_file_lock_posix.cpp
// and os_file_lock_win32.cpp. Used by one thread at a time.
class ZFORMS_API OsFileLock {
 public:
  enum class Outcome { kTaken, kHeldByAnother, kFailed };

  OsFileLock() = default;
  OsFileLock(const OsFileLock&) = delete;
  OsFileLock& operator=(const OsFileLock&) = delete;
  ~OsFileLock() { Release(); }

  // Takes the lock; does not wait. Creates the file at the path (UTF-8) when it is missing. `error` gets the reason
  // with kFailed.
  Outcome Take(const Chaine& path, std::string* error);
  // Releases the lock and removes the file; does nothing when the lock is not taken.
  void Release();

 private:
  static constexpr intptr_t kClosed = -1;
  std::string path_;
  intptr_t handle_ = kClosed;
};

}  // namespace zforms
