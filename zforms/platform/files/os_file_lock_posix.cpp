#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "zforms/platform/files/os_file.h"
#include "zforms/platform/files/os_file_lock.h"

namespace zforms {
namespace {

constexpr int kAttempts = 100;

int LockFile(int file) {
  int result;
  do {
    result = ::flock(file, LOCK_EX | LOCK_NB);
  } while (result != 0 && errno == EINTR);
  return result;
}

// True when the open file is still at the path. The previous owner of the lock may have removed it.
bool IsAt(const std::string& path, int file) {
  struct stat there;
  struct stat open;
  return ::stat(path.c_str(), &there) == 0 && ::fstat(file, &open) == 0 && there.st_dev == open.st_dev &&
         there.st_ino == open.st_ino;
}

}  // namespace

OsFileLock::Outcome OsFileLock::Take(const Chaine& path, std::string* error) {
  Release();
  path_ = path.ToString();
  for (int attempt = 0; attempt < kAttempts; attempt++) {
    const int file = ::open(path_.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0666);
    if (file < 0 && errno == EINTR) continue;
    if (file < 0) break;
    if (LockFile(file) != 0) {
      const bool held = errno == EWOULDBLOCK;
      if (!held) *error = LastSystemError();
      ::close(file);
      return held ? Outcome::kHeldByAnother : Outcome::kFailed;
    }
    if (IsAt(path_, file)) {
      handle_ = file;
      return Outcome::kTaken;
    }
    ::close(file);
  }
  *error = LastSystemError();
  return Outcome::kFailed;
}

void OsFileLock::Release() {
  if (handle_ == kClosed) return;
  ::unlink(path_.c_str());
  ::close(static_cast<int>(handle_));
  handle_ = kClosed;
}

}  // namespace zforms
