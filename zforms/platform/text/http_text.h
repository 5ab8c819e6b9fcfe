#pragma once

#include <algorithm>
#include <string_view>

namespace zforms {

// Functions for the ASCII text of HTTP messages; bytes from 0x80 on have no letter case.

constexpr char LowerASCII(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c; }

constexpr bool EqualIgnoringCase(std::string_view a, std::string_view b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                    [](char x, char y) { return LowerASCII(x) == LowerASCII(y); });
}

constexpr bool StartsIgnoringCase(std::string_view text, std::string_view start) {
  return EqualIgnoringCase(text.substr(0, start.size()), start);
}

constexpr bool IsDigitASCII(char c) { return c >= '0' && c <= '9'; }

// True for control characters, such as CR, LF, NUL and DEL.
constexpr bool IsControlASCII(char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7F; }

}  // namespace zforms
