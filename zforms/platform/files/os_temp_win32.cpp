#include <filesystem>
#include <random>
#include <string>
#include <system_error>
#include <vector>

#include "zforms/platform/files/os_temp.h"
#include "zforms/platform/text/wide_win32.h"

// Needs <windows.h>, which wide_win32.h includes.
#include <sddl.h>

namespace zforms {
namespace {

// The security identifier (SID) of the user of this process, as text; empty on failure.
std::wstring UserName() {
  HANDLE token = nullptr;
  if (!::OpenProcessToken(::GetCurrentProcess(), TOKEN_QUERY, &token)) return {};
  DWORD size = 0;
  ::GetTokenInformation(token, TokenUser, nullptr, 0, &size);
  std::vector<uint64_t> bytes(size / sizeof(uint64_t) + 1);
  const bool known = ::GetTokenInformation(token, TokenUser, bytes.data(), size, &size) != FALSE;
  ::CloseHandle(token);
  wchar_t* text = nullptr;
  if (!known || !::ConvertSidToStringSidW(reinterpret_cast<const TOKEN_USER*>(bytes.data())->User.Sid, &text)) {
    return {};
  }
  std::wstring name = text;
  ::LocalFree(text);
  return name;
}

}  // namespace

Chaine MakePrivateFolder() {
  constexpr int kAttempts = 16;
  wchar_t folder[MAX_PATH + 1];
  const DWORD length = ::GetTempPathW(MAX_PATH + 1, folder);
  const std::wstring user = UserName();
  if (length == 0 || length > MAX_PATH || user.empty()) return {};
  // Full access for the user, no access for others, no inherited rights.
  const std::wstring rights = L"D:P(A;OICI;FA;;;" + user + L")";
  SECURITY_ATTRIBUTES access{sizeof(SECURITY_ATTRIBUTES), nullptr, FALSE};
  if (!::ConvertStringSecurityDescriptorToSecurityDescriptorW(rights.c_str(), SDDL_REVISION_1,
                                                              &access.lpSecurityDescriptor, nullptr)) {
    return {};
  }
  std::random_device source;
  Chaine made;
  for (int attempt = 0; attempt < kAttempts && made.IsEmpty(); attempt++) {
    const std::wstring path = folder + (L"zforms-" + std::to_wstring(source()));
    if (::CreateDirectoryW(path.c_str(), &access)) made = Narrow(path);
  }
  ::LocalFree(access.lpSecurityDescriptor);
  return made;
}

void RemoveFolder(const Chaine& path) {
  std::error_code ignored;
  std::filesystem::remove_all(std::filesystem::path(Widen(path)), ignored);
}

}  // namespace zforms
