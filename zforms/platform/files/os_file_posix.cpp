#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <system_error>

#include "zforms/platform/files/mapped_files_posix.h"
#include "zforms/platform/files/os_file.h"

namespace zforms {

namespace {

constexpr char kUnusablePath[] = "the path is empty or contains a zero byte";
constexpr size_t kLargestTransfer = size_t{1} << 30;

bool IsUsable(const Chaine& path) { return !path.IsEmpty() && path.View().find('\0') == std::string_view::npos; }

int FlagsOf(OsFile::Mode mode) {
  switch (mode) {
    case OsFile::Mode::kRead: return O_RDONLY;
    case OsFile::Mode::kOverwrite: return O_WRONLY | O_CREAT;
    case OsFile::Mode::kTruncate: return O_WRONLY | O_CREAT | O_TRUNC;
    case OsFile::Mode::kNew:
    case OsFile::Mode::kNewShared: return O_WRONLY | O_CREAT | O_EXCL;
  }
  return O_RDONLY;
}

bool StatOf(const Chaine& path, struct stat* facts) {
  return IsUsable(path) && ::stat(path.ToString().c_str(), facts) == 0;
}

}  // namespace

std::string LastSystemError() {
  // The memory to write cannot be read: only the memory of a mapped file can become unreadable.
  if (errno == EFAULT) return "an input file became shorter while it was read";
  return std::generic_category().message(errno);
}

bool OsFile::Open(const Chaine& path, Mode mode, std::string* error) {
  Close();
  if (!IsUsable(path)) {
    if (error != nullptr) *error = kUnusablePath;
    return false;
  }
  const mode_t permissions = mode == Mode::kNew ? 0600 : 0666;
  int file;
  do {
    file = ::open(path.ToString().c_str(), FlagsOf(mode) | O_CLOEXEC, permissions);
  } while (file < 0 && errno == EINTR);
  if (file < 0) {
    if (error != nullptr) *error = LastSystemError();
    return false;
  }
  handle_ = file;
  return true;
}

uint64_t OsFile::Size() const {
  struct stat facts;
  if (::fstat(static_cast<int>(handle_), &facts) != 0 || !S_ISREG(facts.st_mode) || facts.st_size < 0) return 0;
  return static_cast<uint64_t>(facts.st_size);
}

size_t OsFile::Read(char* to, size_t size, bool* failed) {
  ssize_t got;
  do {
    got = ::read(static_cast<int>(handle_), to, std::min(size, kLargestTransfer));
  } while (got < 0 && errno == EINTR);
  if (got >= 0) return static_cast<size_t>(got);
  *failed = true;
  return 0;
}

bool OsFile::Write(const char* from, size_t size) {
  const size_t copied = CopyMapped({from, size}, static_cast<int>(handle_));
  from += copied;
  size -= copied;
  while (size != 0) {
    const ssize_t put = ::write(static_cast<int>(handle_), from, std::min(size, kLargestTransfer));
    if (put < 0 && errno == EINTR) continue;
    if (put <= 0) return false;
    from += put;
    size -= static_cast<size_t>(put);
  }
  return true;
}

bool OsFile::Replace(std::string_view bytes) {
  const size_t there = MappedFrom(static_cast<int>(handle_), bytes);
  if (there == 0 && !DetachMapped(static_cast<int>(handle_))) return false;
  if (there != 0 && ::lseek(static_cast<int>(handle_), static_cast<off_t>(there), SEEK_SET) < 0) return false;
  return Write(bytes.data() + there, bytes.size() - there) && Cut(bytes.size());
}

bool OsFile::Cut(uint64_t size) {
  struct stat facts;
  if (::fstat(static_cast<int>(handle_), &facts) != 0) return false;
  if (!S_ISREG(facts.st_mode)) return true;
  if (size > static_cast<uint64_t>(std::numeric_limits<off_t>::max())) return false;
  return ::ftruncate(static_cast<int>(handle_), static_cast<off_t>(size)) == 0;
}

bool OsFile::Sync() { return ::fsync(static_cast<int>(handle_)) == 0; }

bool OsFile::CopyPermissions(const Chaine& path) {
  struct stat facts;
  if (!StatOf(path, &facts)) return false;
  // Sets the owner too, which only a privileged process may do. For all others this fails, and the file stays theirs.
  const int owner = ::fchown(static_cast<int>(handle_), facts.st_uid, facts.st_gid);
  const mode_t kept = owner == 0 ? 07777 : 0777;
  return ::fchmod(static_cast<int>(handle_), facts.st_mode & kept) == 0;
}

bool OsFile::Close() {
  if (!IsOpen()) return true;
  const int file = static_cast<int>(handle_);
  handle_ = kClosed;
  return ::close(file) == 0;
}

OsFileKind KindOfFile(const Chaine& path) {
  struct stat facts;
  if (!StatOf(path, &facts)) return OsFileKind::kAbsent;
  if (S_ISREG(facts.st_mode)) return OsFileKind::kRegular;
  return S_ISDIR(facts.st_mode) ? OsFileKind::kFolder : OsFileKind::kOther;
}

bool IsWritableFile(const Chaine& path) { return IsUsable(path) && ::access(path.ToString().c_str(), W_OK) == 0; }

Chaine FolderOf(const Chaine& path) {
  const size_t last = path.View().find_last_of('/');
  return last == std::string_view::npos ? Chaine() : path.Mid(0, last + 1);
}

namespace {

// The target of a link whose target does not exist yet; the link itself when links form a circle.
Chaine FollowDangling(const Chaine& link) {
  constexpr int kMaxLinks = 40;
  std::string at = link.ToString();
  for (int i = 0; i < kMaxLinks; i++) {
    char target[PATH_MAX];
    const ssize_t length = ::readlink(at.c_str(), target, sizeof target);
    if (length < 0) return at;
    const std::string next(target, static_cast<size_t>(length));
    const Chaine folder = FolderOf(at);
    at = next.starts_with('/') || folder.IsEmpty() ? next : folder.ToString() + "/" + next;
  }
  return link;
}

}  // namespace

Chaine ResolveLinks(const Chaine& path) {
  struct stat facts;
  if (!IsUsable(path) || ::lstat(path.ToString().c_str(), &facts) != 0 || !S_ISLNK(facts.st_mode)) return path;
  char* real = ::realpath(path.ToString().c_str(), nullptr);
  if (real == nullptr) return FollowDangling(path);
  const Chaine result(real);
  std::free(real);
  return result;
}

bool MoveFileOver(const Chaine& from, const Chaine& to, std::string* error) {
  if (const std::error_code failed = RenameFile(from, to)) {
    if (error != nullptr) *error = IsUsable(from) && IsUsable(to) ? failed.message() : kUnusablePath;
    return false;
  }
  // Flushes the folder, so that the new name is on the disk. Where the file system cannot do this, the file is still
  // written.
  const Chaine folder = FolderOf(to);
  const std::string opened = folder.IsEmpty() ? "." : folder.ToString();
  const int handle = ::open(opened.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (handle >= 0) {
    ::fsync(handle);
    ::close(handle);
  }
  return true;
}

std::error_code RenameFile(const Chaine& from, const Chaine& to) {
  if (!IsUsable(from) || !IsUsable(to)) return std::make_error_code(std::errc::invalid_argument);
  if (::rename(from.ToString().c_str(), to.ToString().c_str()) == 0) return {};
  return {errno, std::generic_category()};
}

std::error_code RenameFileToFree(const Chaine& from, const Chaine& to) {
  if (!IsUsable(from) || !IsUsable(to)) return std::make_error_code(std::errc::invalid_argument);
  // A hard link never replaces an existing file, unlike a rename.
  if (::link(from.ToString().c_str(), to.ToString().c_str()) != 0) return {errno, std::generic_category()};
  ::unlink(from.ToString().c_str());
  return {};
}

void DeleteFileQuietly(const Chaine& path) { ::unlink(path.ToString().c_str()); }

uint64_t ProcessNumber() { return static_cast<uint64_t>(::getpid()); }

}  // namespace zforms
