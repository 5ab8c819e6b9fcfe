#pragma once

#include <array>
#include <cstdint>
#include <string_view>

namespace zforms {

// The character classes of PDF text (ISO 32000-1 7.2.2), as one table. The zero
// byte is not white space here: it is kept as part of the token it stands in.
enum CharClass : uint8_t {
  kWhite = 1,        // tab, line feed, form feed, carriage return, space
  kSpecial = 2,      // white space and % ( ) / < > [ ] { }
  kLineEnd = 4,      // carriage return, line feed
  kCommentStop = 8,  // what decides whether a text ends in a comment: line ends, % and )
  kOpening = 16,     // % ( / < [ {
  kDelimiter = 32,   // the opening ones and ) > ] }
  kDigit = 64,
};

namespace internal {
constexpr std::array<uint8_t, 256> MakeCharClasses() {
  std::array<uint8_t, 256> table{};
  const auto add = [&table](std::string_view set, int bits) {
    for (const char c : set) {
      auto& entry = table[static_cast<uint8_t>(c)];
      entry = static_cast<uint8_t>(entry | bits);
    }
  };
  add("\t\n\f\r ", kWhite | kSpecial);
  add("%()/<>[]{}", kSpecial | kDelimiter);
  add("%(/<[{", kOpening);
  add("\r\n", kLineEnd);
  add("\r\n%)", kCommentStop);
  add("0123456789", kDigit);
  return table;
}
inline constexpr std::array<uint8_t, 256> kCharClasses = MakeCharClasses();
}  // namespace internal

constexpr bool Is(char c, CharClass kind) { return (internal::kCharClasses[static_cast<uint8_t>(c)] & kind) != 0; }

// Whether the text is an unsigned number and nothing else.
constexpr bool AllDigits(std::string_view text) {
  for (const char c : text) {
    if (!Is(c, kDigit)) return false;
  }
  return !text.empty();
}

}  // namespace zforms
