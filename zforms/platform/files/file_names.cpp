#include "zforms/platform/files/file_names.h"

#include "zforms/platform/base/ascii.h"

namespace zforms {

bool IsRefusedInFileName(char c) {
  constexpr std::string_view kRefused = "/\\:*?\"<>|";
  return IsControlASCII(c) || kRefused.find(c) != std::string_view::npos;
}

bool IsDeviceName(std::string_view name) {
  const std::string_view stem = name.substr(0, name.find('.'));
  for (const std::string_view device : {"CON", "PRN", "AUX", "NUL"}) {
    if (SameIgnoringASCIICase(stem, device)) return true;
  }
  return stem.size() == 4 && (StartsIgnoringASCIICase(stem, "COM") || StartsIgnoringASCIICase(stem, "LPT")) &&
         IsDigitASCII(stem[3]);
}

}  // namespace zforms
