#pragma once

#include <string>
#include <string_view>

#include "zforms/platform/base/hex.h"

namespace zforms {

// Bytes as hexadecimal digits in upper case, and back.
inline std::string Hex(std::string_view bytes) {
  std::string digits;
  for (const char c : bytes) AppendHexByte(&digits, static_cast<unsigned char>(c));
  return digits;
}
inline std::string Unhex(std::string_view digits) {
  std::string bytes;
  for (size_t i = 0; i < digits.size(); i += 2) bytes += static_cast<char>(HexByte(digits.substr(i)));
  return bytes;
}

}  // namespace zforms
