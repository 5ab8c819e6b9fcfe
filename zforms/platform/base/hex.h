#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace zforms {

inline constexpr std::string_view kHexDigits = "0123456789ABCDEF";
inline constexpr std::string_view kLowerHexDigits = "0123456789abcdef";

// The values of all characters as digits, -1 for those that are none: a table is faster than comparing.
inline constexpr std::array<int8_t, 256> kHexDigitValues = [] {
  std::array<int8_t, 256> values{};
  values.fill(-1);
  for (size_t i = 0; i < kHexDigits.size(); i++) {
    values[static_cast<unsigned char>(kHexDigits[i])] = static_cast<int8_t>(i);
    values[static_cast<unsigned char>(kLowerHexDigits[i])] = static_cast<int8_t>(i);
  }
  return values;
}();

// The value of a hexadecimal digit in upper or lower case, -1 for any other character.
constexpr int HexDigit(char c) { return kHexDigitValues[static_cast<unsigned char>(c)]; }

// The two digits of each byte, in upper case: one copy of a pair is faster than two of a digit.
inline constexpr std::array<std::array<char, 2>, 256> kHexPairs = [] {
  std::array<std::array<char, 2>, 256> pairs{};
  for (size_t i = 0; i < pairs.size(); i++) pairs[i] = {kHexDigits[i >> 4], kHexDigits[i & 15]};
  return pairs;
}();

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
