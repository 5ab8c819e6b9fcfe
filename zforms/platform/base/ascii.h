#pragma once

#include <algorithm>
#include <string_view>

namespace zforms {

// Classes and letter case of the characters of ASCII. The bytes from 80 on are in no class and have no case.

constexpr bool IsASCII(char c) { return static_cast<unsigned char>(c) < 0x80; }
constexpr bool IsASCII(std::string_view text) {
  return std::all_of(text.begin(), text.end(), [](char c) { return IsASCII(c); });
}
constexpr char LowerASCII(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c; }
constexpr bool IsDigitASCII(char c) { return c >= '0' && c <= '9'; }
constexpr bool IsLetterASCII(char c) { return LowerASCII(c) >= 'a' && LowerASCII(c) <= 'z'; }
// True for control characters, such as CR, LF, NUL and DEL.
constexpr bool IsControlASCII(char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7F; }

// True when two texts are equal if the case of the letters A to Z is ignored.
constexpr bool SameIgnoringASCIICase(std::string_view a, std::string_view b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                    [](char x, char y) { return LowerASCII(x) == LowerASCII(y); });
}
constexpr bool StartsIgnoringASCIICase(std::string_view text, std::string_view start) {
  return SameIgnoringASCIICase(text.substr(0, start.size()), start);
}

}  // namespace zforms
