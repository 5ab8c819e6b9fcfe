#include <algorithm>

#include "zforms/platform/host/shell.h"
#include "zforms/platform/text/inet_url.h"
#include "zforms/platform/text/wide_win32.h"

// Needs <windows.h>, which wide_win32.h includes.
#include <shellapi.h>
#include <shlwapi.h>

namespace zforms {

namespace {

bool Run(const std::wstring& file, const Chaine& verb) {
  const std::wstring wide_verb = Widen(verb);
  if (file.empty() || wide_verb.empty()) return false;
  SHELLEXECUTEINFOW info{};
  info.cbSize = sizeof info;
  info.fMask = SEE_MASK_FLAG_NO_UI | SEE_MASK_NOASYNC;
  info.lpVerb = wide_verb.c_str();
  info.lpFile = file.c_str();
  info.nShow = SW_SHOWMINNOACTIVE;
  return ::ShellExecuteExW(&info) != FALSE;
}

class WindowsShell : public ZShell {
 public:
  bool Execute(const Chaine& path, const Chaine& verb) override {
    std::wstring file = Widen(path);
    std::replace(file.begin(), file.end(), L'/', L'\\');
    return (verb == "open" || verb == "print") && Run(file, verb);
  }
  bool OpenURL(const Chaine& url) override { return !ZInetURL(url).Protocol().IsEmpty() && Run(Widen(url), "open"); }
  Chaine ProgramFor(const Chaine& path) override {
    const std::wstring file = Widen(path);
    const size_t point = file.rfind(L'.');
    if (point == std::wstring::npos) return {};
    wchar_t program[MAX_PATH];
    DWORD size = MAX_PATH;
    const HRESULT result =
        ::AssocQueryStringW(ASSOCF_NONE, ASSOCSTR_EXECUTABLE, file.c_str() + point, L"open", program, &size);
    return SUCCEEDED(result) ? Chaine(Narrow(program)) : Chaine();
  }
  Chaine ServerOfClass(const Chaine& class_id) override {
    // A 64-bit program finds the classes of 32-bit programs under a separate key.
    for (const char* const folder : {"CLSID\\", "Wow6432Node\\CLSID\\"}) {
      const std::wstring key = Widen(folder + class_id + "\\InprocServer32");
      std::wstring path;
      if (!key.empty() && ReadRegistryText(HKEY_CLASSES_ROOT, key, nullptr, &path)) return Narrow(path);
    }
    return {};
  }
};

}  // namespace

std::unique_ptr<ZShell> OpenSystemShell() { return std::make_unique<WindowsShell>(); }

}  // namespace zforms
