#include <algorithm>
#include <system_error>

#include "zforms/platform/files/os_file.h"
#include "zforms/platform/files/path_win32.h"
#include "zforms/platform/text/wide_win32.h"

namespace zforms {

namespace {

constexpr char kUnusablePath[] = "the path is empty, contains a zero byte or is not UTF-8";
constexpr size_t kLargestTransfer = size_t{1} << 30;

HANDLE HandleOf(intptr_t handle) { return reinterpret_cast<HANDLE>(handle); }

DWORD AttributesOf(const Chaine& path) {
  const std::wstring wide = SystemPath(path);
  return wide.empty() ? INVALID_FILE_ATTRIBUTES : ::GetFileAttributesW(wide.c_str());
}

DWORD DispositionOf(OsFile::Mode mode) {
  switch (mode) {
    case OsFile::Mode::kRead: return OPEN_EXISTING;
    case OsFile::Mode::kOverwrite: return OPEN_ALWAYS;
    case OsFile::Mode::kTruncate: return CREATE_ALWAYS;
    case OsFile::Mode::kNew:
    case OsFile::Mode::kNewShared: return CREATE_NEW;
  }
  return OPEN_EXISTING;
}

}  // namespace

std::string LastSystemError() {
  const DWORD number = ::GetLastError();
  if (number == ERROR_SHARING_VIOLATION || number == ERROR_LOCK_VIOLATION) return "another program uses the file";
  // The messages of the C library are the same in every language of Windows.
  const std::error_condition known = std::system_category().default_error_condition(static_cast<int>(number));
  if (known.category() == std::generic_category()) return known.message();
  return "Windows error " + std::to_string(number);
}

bool OsFile::Open(const Chaine& path, Mode mode, std::string* error) {
  Close();
  const std::wstring wide = SystemPath(path);
  if (wide.empty()) {
    if (error != nullptr) *error = kUnusablePath;
    return false;
  }
  const DWORD access = mode == Mode::kRead ? GENERIC_READ : GENERIC_WRITE;
  // Others may read, write, rename and delete the file meanwhile, as on other systems.
  constexpr DWORD kShared = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
  HANDLE handle;
  int attempt = 0;
  do {
    handle = ::CreateFileW(wide.c_str(), access, kShared, nullptr, DispositionOf(mode), FILE_ATTRIBUTE_NORMAL, nullptr);
  } while (handle == INVALID_HANDLE_VALUE && ::GetLastError() == ERROR_SHARING_VIOLATION && MayTryAgain(attempt++));
  if (handle == INVALID_HANDLE_VALUE) {
    if (error != nullptr) *error = KindOfFile(path) == OsFileKind::kFolder ? "Is a directory" : LastSystemError();
    return false;
  }
  // INVALID_HANDLE_VALUE is -1, the value of kClosed.
  handle_ = reinterpret_cast<intptr_t>(handle);
  return true;
}

uint64_t OsFile::Size() const {
  LARGE_INTEGER size;
  if (::GetFileType(HandleOf(handle_)) != FILE_TYPE_DISK || !::GetFileSizeEx(HandleOf(handle_), &size)) return 0;
  return size.QuadPart < 0 ? 0 : static_cast<uint64_t>(size.QuadPart);
}

size_t OsFile::Read(char* to, size_t size, bool* failed) {
  DWORD got = 0;
  const DWORD wanted = static_cast<DWORD>(std::min(size, kLargestTransfer));
  if (::ReadFile(HandleOf(handle_), to, wanted, &got, nullptr)) return got;
  // When the writer of a pipe has closed it, the input has ended.
  if (::GetLastError() != ERROR_BROKEN_PIPE) *failed = true;
  return 0;
}

bool OsFile::Write(const char* from, size_t size) {
  while (size != 0) {
    DWORD put = 0;
    const DWORD wanted = static_cast<DWORD>(std::min(size, kLargestTransfer));
    if (!::WriteFile(HandleOf(handle_), from, wanted, &put, nullptr) || put == 0) return false;
    from += put;
    size -= put;
  }
  return true;
}

bool OsFile::Cut(uint64_t size) {
  if (::GetFileType(HandleOf(handle_)) != FILE_TYPE_DISK) return true;
  LARGE_INTEGER end;
  end.QuadPart = static_cast<LONGLONG>(size);
  return ::SetFilePointerEx(HandleOf(handle_), end, nullptr, FILE_BEGIN) && ::SetEndOfFile(HandleOf(handle_));
}

bool OsFile::Replace(std::string_view bytes) { return Write(bytes.data(), bytes.size()) && Cut(bytes.size()); }

bool OsFile::Sync() { return ::FlushFileBuffers(HandleOf(handle_)) != 0; }

// Does nothing: a new file inherits the rights of its folder, and MoveFileOver keeps the rights of the target.
bool OsFile::CopyPermissions(const Chaine&) { return true; }

bool OsFile::Close() {
  if (!IsOpen()) return true;
  const HANDLE handle = HandleOf(handle_);
  handle_ = kClosed;
  return ::CloseHandle(handle) != 0;
}

OsFileKind KindOfFile(const Chaine& path) {
  // GetFileAttributes says that "nul" is a file.
  if (IsDevicePath(SystemPath(path))) return OsFileKind::kOther;
  const DWORD attributes = AttributesOf(path);
  if (attributes == INVALID_FILE_ATTRIBUTES) return OsFileKind::kAbsent;
  if (attributes & FILE_ATTRIBUTE_DIRECTORY) return OsFileKind::kFolder;
  return attributes & FILE_ATTRIBUTE_DEVICE ? OsFileKind::kOther : OsFileKind::kRegular;
}

bool IsWritableFile(const Chaine& path) {
  const DWORD attributes = AttributesOf(path);
  return attributes != INVALID_FILE_ATTRIBUTES && !(attributes & FILE_ATTRIBUTE_READONLY);
}

Chaine FolderOf(const Chaine& path) {
  const size_t last = path.View().find_last_of("/\\:");
  return last == std::string_view::npos ? Chaine() : path.Mid(0, last + 1);
}

Chaine ResolveLinks(const Chaine& path) { return path; }

namespace {

// Renames by MoveFileEx, or over a file by ReplaceFile; tries again while another program holds a file. On failure the
// reason is the last error.
bool Rename(const Chaine& from, const Chaine& to, bool replaces, DWORD flags) {
  const std::wstring source = SystemPath(from);
  const std::wstring target = SystemPath(to);
  ::SetLastError(ERROR_INVALID_NAME);
  if (source.empty() || target.empty()) return false;
  bool done;
  int attempt = 0;
  do {
    // ReplaceFile keeps the access rights and attributes of the old file.
    const DWORD attributes = replaces ? ::GetFileAttributesW(target.c_str()) : INVALID_FILE_ATTRIBUTES;
    done = attributes != INVALID_FILE_ATTRIBUTES &&
           ::ReplaceFileW(target.c_str(), source.c_str(), nullptr, REPLACEFILE_IGNORE_MERGE_ERRORS, nullptr, nullptr);
    // MoveFileEx is used when there is no old file, when the file system has no such rights, or when the old file was
    // created or deleted meanwhile.
    done = done || ::MoveFileExW(source.c_str(), target.c_str(), flags);
    if (!done && attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY)) return false;
  } while (!done && MayTryAgain(attempt++));
  return done;
}

std::error_code ErrorUnless(bool done) {
  return done ? std::error_code() : std::error_code(static_cast<int>(::GetLastError()), std::system_category());
}

}  // namespace

bool MoveFileOver(const Chaine& from, const Chaine& to, std::string* error) {
  if (Rename(from, to, true, MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH)) return true;
  if (error != nullptr) *error = SystemPath(from).empty() || SystemPath(to).empty() ? kUnusablePath : LastSystemError();
  return false;
}

std::error_code RenameFile(const Chaine& from, const Chaine& to) {
  return ErrorUnless(Rename(from, to, true, MOVEFILE_REPLACE_EXISTING));
}

std::error_code RenameFileToFree(const Chaine& from, const Chaine& to) {
  return ErrorUnless(Rename(from, to, false, 0));
}

void DeleteFileQuietly(const Chaine& path) {
  const std::wstring wide = SystemPath(path);
  if (!wide.empty()) ::DeleteFileW(wide.c_str());
}

uint64_t ProcessNumber() { return ::GetCurrentProcessId(); }

}  // namespace zforms
