#include <filesystem>
#include <random>
#include <string>
#include <system_error>

#include "zforms/platform/files/os_temp.h"
#include "zforms/platform/text/wide_win32.h"

// After <windows.h>.
#include <sddl.h>

namespace zforms {

Chaine MakePrivateFolder() {
  constexpr int kAttempts = 16;
  wchar_t folder[MAX_PATH + 1];
  const DWORD length = ::GetTempPathW(MAX_PATH + 1, folder);
  if (length == 0 || length > MAX_PATH) return {};
  // Full access for the owner, no access for others, no inherited rights.
  SECURITY_ATTRIBUTES access{sizeof(SECURITY_ATTRIBUTES), nullptr, FALSE};
  if (!::ConvertStringSecurityDescriptorToSecurityDescriptorW(L"D:P(A;OICI;FA;;;OW)", SDDL_REVISION_1,
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
