#include "zforms/platform/files/path_win32.h"

#include "zforms/platform/text/wide_win32.h"

namespace zforms {
namespace {

// The limit of CreateDirectory; the other functions accept a few characters more.
constexpr size_t kLongestPath = MAX_PATH - 12;

// The absolute path, with backslashes and without "." and "..", as the prefix requires.
std::wstring FullPath(const std::wstring& path) {
  std::wstring full(path.size() + MAX_PATH, L'\0');
  DWORD size = ::GetFullPathNameW(path.c_str(), static_cast<DWORD>(full.size()), full.data(), nullptr);
  if (size > full.size()) {
    full.resize(size);
    size = ::GetFullPathNameW(path.c_str(), static_cast<DWORD>(full.size()), full.data(), nullptr);
  }
  full.resize(size < full.size() ? size : 0);
  return full;
}

}  // namespace

std::wstring SystemPath(const Chaine& path) {
  std::wstring wide = Widen(path.View());
  if (wide.size() < kLongestPath || wide.starts_with(LR"(\\?\)") || wide.starts_with(LR"(\\.\)")) return wide;
  const std::wstring full = FullPath(wide);
  if (full.empty()) return wide;
  return full.starts_with(LR"(\\)") ? LR"(\\?\UNC)" + full.substr(1) : LR"(\\?\)" + full;
}

// GetFullPathName puts "\\.\" before the name of a device, whatever its folder is.
bool IsDevicePath(const std::wstring& path) { return FullPath(path).starts_with(LR"(\\.\)"); }

bool MayTryAgain(int attempt) {
  constexpr int kAttempts = 10;
  constexpr DWORD kFirstWait = 2;  // milliseconds; the waits double
  const DWORD error = ::GetLastError();
  const bool is_held = error == ERROR_SHARING_VIOLATION || error == ERROR_LOCK_VIOLATION ||
                       error == ERROR_ACCESS_DENIED || error == ERROR_USER_MAPPED_FILE ||
                       error == ERROR_UNABLE_TO_REMOVE_REPLACED || error == ERROR_UNABLE_TO_MOVE_REPLACEMENT ||
                       error == ERROR_UNABLE_TO_MOVE_REPLACEMENT_2;
  if (!is_held || attempt + 1 >= kAttempts) return false;
  ::Sleep(kFirstWait << attempt);
  ::SetLastError(error);
  return true;
}

}  // namespace zforms
