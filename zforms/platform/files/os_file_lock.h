#pragma once

#include <cstdint>
#include <string>

#include "zforms/platform/base/chaine.h"
#include "zforms/platform/base/export.h"

namespace zforms {

// OsFileLock keeps others away from what a lock file stands for, such as its folder.
// The system lets go of it when the process ends, however that comes; a lock file that
// is left behind locks nothing. Implemented by os_file_lock_posix.cpp and
// os_file_lock_win32.cpp. One thread at a time.
class ZFORMS_API OsFileLock {
 public:
  enum class Outcome { kTaken, kHeldByAnother, kFailed };

  OsFileLock() = default;
  OsFileLock(const OsFileLock&) = delete;
  OsFileLock& operator=(const OsFileLock&) = delete;
  ~OsFileLock() { Release(); }

  // Makes the file at the path (UTF-8) when it is missing. Does not wait. A reason in
  // `error` with kFailed.
  Outcome Take(const Chaine& path, std::string* error);
  // Removes the file; does nothing when the lock is not held.
  void Release();

 private:
  static constexpr intptr_t kClosed = -1;
  std::string path_;
  intptr_t handle_ = kClosed;
};

}  // namespace zforms
