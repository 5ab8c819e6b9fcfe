#include <winsock2.h>
// <windows.h> must be included after <winsock2.h>.
#include <windows.h>

#include <iterator>
#include <string>

#include "tool/postgres/libpq.h"

namespace zforms::tool {
namespace {

// The path of the library in the folders of the PATH; empty when none has it. By default Windows also searches the
// current folder, which may contain files of other users.
std::wstring PathOfLibpq() {
  std::wstring folders(GetEnvironmentVariableW(L"PATH", nullptr, 0), L'\0');
  folders.resize(GetEnvironmentVariableW(L"PATH", folders.data(), static_cast<DWORD>(folders.size())));
  wchar_t file[4096];
  const DWORD size =
      folders.empty() ? 0 : SearchPathW(folders.c_str(), L"libpq.dll", nullptr, std::size(file), file, nullptr);
  return size < std::size(file) ? std::wstring(file, size) : std::wstring();
}

}  // namespace

void* LoadLibpq(std::string* error) {
  const std::wstring path = PathOfLibpq();
  // Makes Windows search the folder of libpq.dll for the libraries that it needs.
  const HMODULE library = path.empty() ? nullptr : LoadLibraryExW(path.c_str(), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH);
  if (library == nullptr) {
    *error =
        "cannot load the library libpq.dll, which zforms needs for PostgreSQL; install PostgreSQL, and add its "
        "folder \"bin\" to the PATH";
  }
  return reinterpret_cast<void*>(library);
}

void* FindInLibrary(void* library, const char* function) {
  return reinterpret_cast<void*>(GetProcAddress(static_cast<HMODULE>(library), function));
}

bool WaitForSocket(int socket, bool or_write, int milliseconds) {
  WSAPOLLFD wanted{static_cast<SOCKET>(socket), static_cast<SHORT>(or_write ? POLLRDNORM | POLLWRNORM : POLLRDNORM), 0};
  return WSAPoll(&wanted, 1, milliseconds) > 0;
}

}  // namespace zforms::tool
