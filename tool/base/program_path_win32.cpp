#include <windows.h>

#include <filesystem>
#include <iterator>

#include "tool/base/program_path.h"

namespace zforms::tool {

std::string ProgramPath() {
  wchar_t path[4096];
  const DWORD size = GetModuleFileNameW(nullptr, path, static_cast<DWORD>(std::size(path)));
  if (size == 0 || size == std::size(path)) return {};
  const std::u8string text = std::filesystem::path(std::wstring(path, size)).u8string();
  return {text.begin(), text.end()};
}

}  // namespace zforms::tool
