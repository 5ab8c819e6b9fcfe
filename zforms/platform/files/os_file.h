#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "zforms/platform/base/chaine.h"

namespace zforms {

// OsFile is one open file of the operating system, closed by its destructor.
// It is the only place that knows how files are opened: os_file_posix.cpp and
// os_file_win32.cpp implement it. Paths are UTF-8; a path with a zero byte
// names no file.
class OsFile {
 public:
  enum class Mode {
    kRead,
    kOverwrite,  // made when missing; what it held stays until written over or cut
    kTruncate,   // made when missing; emptied
    kNew,        // fails when it exists; readable by its owner only until CopyPermissions
    kNewShared,  // fails when it exists; with the permissions that new files get
  };

  OsFile() = default;
  OsFile(const OsFile&) = delete;
  OsFile& operator=(const OsFile&) = delete;
  ~OsFile() { Close(); }

  // False with a reason in `error` when the file cannot be opened.
  bool Open(const Chaine& path, Mode mode, std::string* error);
  bool IsOpen() const { return handle_ != kClosed; }
  // The length in bytes; 0 when the file has none, such as a pipe.
  uint64_t Size() const;
  // Up to `size` bytes; 0 at the end and on failure, which sets `*failed`.
  size_t Read(char* to, size_t size, bool* failed);
  // True when all bytes were written.
  bool Write(const char* from, size_t size);
  // Cuts a regular file at `size`; does nothing to anything else.
  bool Cut(uint64_t size);
  // Asks that what was written reach the disk.
  bool Sync();
  // Gives this file the permissions of the file at `path`.
  bool CopyPermissions(const Chaine& path);
  // False when closing tells that a write was lost.
  bool Close();

 private:
  static constexpr intptr_t kClosed = -1;
  intptr_t handle_ = kClosed;
};

enum class OsFileKind { kAbsent, kRegular, kFolder, kOther };

// What stands at the path, links followed.
OsFileKind KindOfFile(const Chaine& path);
bool IsWritableFile(const Chaine& path);
// The folder part with its last separator; empty when the path has none.
Chaine FolderOf(const Chaine& path);
// The path that a chain of links at `path` leads to; `path` itself when there is none.
Chaine ResolveLinks(const Chaine& path);
// Moves a file over another in one step.
bool MoveFileOver(const Chaine& from, const Chaine& to, std::string* error);
void DeleteFileQuietly(const Chaine& path);
// A number that two processes do not share.
uint64_t ProcessNumber();
// What the last failed call of the operating system was about.
std::string LastSystemError();

}  // namespace zforms
