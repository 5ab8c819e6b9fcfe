#pragma once

#include <string_view>

namespace zforms {

inline constexpr std::string_view kHexDigits = "0123456789ABCDEF";
inline constexpr std::string_view kLowerHexDigits = "0123456789abcdef";

// The value of a hexadecimal digit in upper or lower case, -1 for any other character.
constexpr int HexDigit(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  return -1;
}

// The byte written by up to two hexadecimal digits; reading stops at the first other character.
constexpr unsigned char HexByte(std::string_view pair) {
  int value = 0;
  for (const char c : pair.substr(0, 2)) {
    const int digit = HexDigit(c);
    if (digit < 0) break;
    value = value * 16 + digit;
  }
  return static_cast<unsigned char>(value);
}

// Appends the two digits of the byte to a Chaine or a std::string.
template <class Text>
void AppendHexByte(Text* out, unsigned char byte, std::string_view digits = kHexDigits) {
  *out += digits[byte >> 4];
  *out += digits[byte & 15];
}

}  // namespace zforms
