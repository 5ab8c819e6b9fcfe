#include "zforms/platform/files/os_file.h"
#include "zforms/platform/files/os_file_lock.h"
#include "zforms/platform/files/path_win32.h"
#include "zforms/platform/text/wide_win32.h"

namespace zforms {

// The lock is a file that is opened without sharing and deleted when its handle is closed.
OsFileLock::Outcome OsFileLock::Take(const Chaine& path, std::string* error) {
  Release();
  const std::wstring wide = SystemPath(path);
  const HANDLE handle = ::CreateFileW(wide.c_str(), GENERIC_WRITE | DELETE, 0, nullptr, OPEN_ALWAYS,
                                      FILE_ATTRIBUTE_NORMAL | FILE_FLAG_DELETE_ON_CLOSE, nullptr);
  if (handle != INVALID_HANDLE_VALUE) {
    handle_ = reinterpret_cast<intptr_t>(handle);
    return Outcome::kTaken;
  }
  if (::GetLastError() == ERROR_SHARING_VIOLATION) return Outcome::kHeldByAnother;
  *error = LastSystemError();
  return Outcome::kFailed;
}

void OsFileLock::Release() {
  if (handle_ == kClosed) return;
  ::CloseHandle(reinterpret_cast<HANDLE>(handle_));
  handle_ = kClosed;
}

}  // namespace zforms
