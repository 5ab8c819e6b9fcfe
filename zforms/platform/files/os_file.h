#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <system_error>

#include "zforms/platform/base/chaine.h"
#include "zforms/platform/base/export.h"

namespace zforms {

// OsFile is one open file of the operating system, closed by its destructor; used by one thread at a time. Implemented
// by os_file_posix.cpp and os_file_win32.cpp. Paths are UTF-8; opening a path that contains a zero byte fails.
class ZFORMS_API OsFile {
 public:
  enum class Mode {
    kRead,
    kOverwrite,  // created when missing; old contents stay until overwritten or truncated
    kTruncate,   // created when missing; truncated
    kNew,        // fails when it exists; readable by its owner only until CopyPermissions
    kNewShared,  // fails when it exists; with the default permissions of new files
  };

  OsFile() = default;
  OsFile(const OsFile&) = delete;
  OsFile& operator=(const OsFile&) = delete;
  ~OsFile() { Close(); }

  // Opens the file. On failure returns false with the reason in `error`.
  bool Open(const Chaine& path, Mode mode, std::string* error);
  bool IsOpen() const { return handle_ != kClosed; }
  // The length in bytes; 0 for a file without a length, such as a pipe.
  uint64_t Size() const;
  // Reads up to `size` bytes; returns 0 at the end, and on failure with `*failed` set.
  size_t Read(char* to, size_t size, bool* failed);
  // True when all bytes were written. Bytes of a mapped file are copied from file to file by the system, where it can
  // do this.
  bool Write(const char* from, size_t size);
  // Replaces the contents of a file that was just opened by kOverwrite. Texts mapped from this file keep their bytes.
  bool Replace(std::string_view bytes);
  // Truncates a regular file to `size`; does nothing to other files.
  bool Cut(uint64_t size);
  // Flushes the written bytes to the disk.
  bool Sync();
  // Gives this file the permissions of the file at `path`.
  bool CopyPermissions(const Chaine& path);
  // Closes the file. False when the system reports that a write was lost.
  bool Close();

 private:
  static constexpr intptr_t kClosed = -1;
  intptr_t handle_ = kClosed;
};

enum class OsFileKind { kAbsent, kRegular, kFolder, kOther };

// The kind of file at the path; links are followed.
OsFileKind KindOfFile(const Chaine& path);
bool IsWritableFile(const Chaine& path);
// The folder part with its last separator; empty when the path has none.
Chaine FolderOf(const Chaine& path);
// The target of the chain of links at `path`; `path` itself when it is not a link.
Chaine ResolveLinks(const Chaine& path);
// Renames a file over another in one step; the new name reaches the disk before this returns.
bool MoveFileOver(const Chaine& from, const Chaine& to, std::string* error);
// Like MoveFileOver, but does not wait until the new name is on the disk. Returns no error on success.
ZFORMS_API std::error_code RenameFile(const Chaine& from, const Chaine& to);
// Gives a file another name, which must not be in use: never replaces a file. When the name is in use, the error is
// std::errc::file_exists. Where the file system cannot do this in one step, returns another error, and the file keeps
// its old name.
ZFORMS_API std::error_code RenameFileToFree(const Chaine& from, const Chaine& to);
ZFORMS_API void DeleteFileQuietly(const Chaine& path);
// A number that is unique among the running processes.
uint64_t ProcessNumber();
// The system's message for the last call that failed.
std::string LastSystemError();

}  // namespace zforms
