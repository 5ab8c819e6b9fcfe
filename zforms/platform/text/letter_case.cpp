#include "zforms/platform/text/letter_case.h"

#include <utf8proc.h>

#include <algorithm>
#include <cstdlib>
#include <memory>

#include "zforms/platform/base/ascii.h"
#include "zforms/platform/text/characters.h"

namespace zforms {
namespace {

// Composing takes quadratic time in the marks of one letter, so only short texts are composed.
constexpr size_t kLongestFileName = 1024;

constexpr auto kFold = UTF8PROC_CASEFOLD;
constexpr auto kFoldAndCompose = static_cast<utf8proc_option_t>(UTF8PROC_CASEFOLD | UTF8PROC_COMPOSE | UTF8PROC_STABLE);

size_t SizeOfValidFront(std::string_view utf8) {
  std::string_view rest = utf8;
  while (!rest.empty()) {
    const size_t before = rest.size();
    if (!TakeCharacter(&rest)) return utf8.size() - before;
  }
  return utf8.size();
}

// Precondition: the text is valid.
void AppendMapped(Chaine* out, std::string_view utf8, utf8proc_option_t options) {
  utf8proc_uint8_t* mapped = nullptr;
  const utf8proc_ssize_t size = utf8proc_map(reinterpret_cast<const utf8proc_uint8_t*>(utf8.data()),
                                             static_cast<utf8proc_ssize_t>(utf8.size()), &mapped, options);
  const std::unique_ptr<utf8proc_uint8_t, decltype(&std::free)> owned(mapped, &std::free);
  if (size >= 0) {
    out->Append({reinterpret_cast<const char*>(mapped), static_cast<size_t>(size)});
  } else {
    out->Append(utf8);
  }
}

Chaine Mapped(std::string_view utf8, utf8proc_option_t options) {
  Chaine result;
  if (IsASCII(utf8)) {
    char* const to = utf8.empty() ? nullptr : result.AppendUninitialized(utf8.size());
    std::transform(utf8.begin(), utf8.end(), to, LowerASCII);
    return result;
  }
  while (!utf8.empty()) {
    const size_t size = SizeOfValidFront(utf8);
    if (size > 0) AppendMapped(&result, utf8.substr(0, size), options);
    utf8.remove_prefix(size);
    if (utf8.empty()) break;
    result += utf8.front();
    utf8.remove_prefix(1);
  }
  return result;
}

}  // namespace

Chaine FoldCase(std::string_view utf8) { return Mapped(utf8, kFold); }

Chaine FoldFileName(std::string_view utf8) {
  return Mapped(utf8, utf8.size() <= kLongestFileName ? kFoldAndCompose : kFold);
}

}  // namespace zforms
