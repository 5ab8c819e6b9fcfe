#pragma once

#include <array>
#include <cstdint>
#include <string_view>

namespace zforms {

// The character classes of PDF text (ISO 32000-1 7.2.2), as one table. The zero byte is white space only between the
// tokens of a document; elsewhere it is part of its token.
enum CharClass : uint16_t {
  kWhite = 1,        // tab, line feed, form feed, carriage return, space
  kSpecial = 2,      // white space and % ( ) / < > [ ] { }
  kLineEnd = 4,      // carriage return, line feed
  kCommentStop = 8,  // decides whether a text ends in a comment: line ends, % and )
  kOpening = 16,     // % ( / < [ {
  kDelimiter = 32,   // kOpening and ) > ] }
  kDigit = 64,
  kInString = 128,         // needs care inside a literal string: ( ) \ and carriage return
  kPlainName = 256,        // written unescaped in a name: printable ASCII except # \ and delimiters
  kSelfDelimited = 512,    // needs no blank after it: delimiters and white space except the form feed
  kEscaped = 1024,         // follows a backslash in a written literal string
  kBlank = 2048,           // white space of a document: kWhite and the zero byte
  kBlankOrSpecial = 4096,  // ends a token of a document: kSpecial and the zero byte
};

namespace internal {
constexpr std::array<uint16_t, 256> MakeCharClasses() {
  std::array<uint16_t, 256> table{};
  const auto add = [&table](std::string_view set, int bits) {
    for (const char c : set) {
      auto& entry = table[static_cast<uint8_t>(c)];
      entry = static_cast<uint16_t>(entry | bits);
    }
  };
  add("\t\n\f\r ", kWhite | kSpecial | kBlank | kBlankOrSpecial);
  add({"\0", 1}, kBlank | kBlankOrSpecial);
  add("%()/<>[]{}", kSpecial | kDelimiter | kBlankOrSpecial);
  add("%()/<>[]{}\t\n\r ", kSelfDelimited);
  add("()\\\b\t\n\f\r", kEscaped);
  add("%(/<[{", kOpening);
  add("\r\n", kLineEnd);
  add("\r\n%)", kCommentStop);
  add("0123456789", kDigit);
  add("()\\\r", kInString);
  for (size_t byte = 33; byte < 127; byte++) {
    if (table[byte] == 0 || table[byte] == kDigit) table[byte] = static_cast<uint16_t>(table[byte] | kPlainName);
  }
  for (const char c : {'#', '\\'}) table[static_cast<uint8_t>(c)] &= static_cast<uint16_t>(~kPlainName);
  return table;
}
inline constexpr std::array<uint16_t, 256> kCharClasses = MakeCharClasses();
}  // namespace internal

constexpr bool Is(char c, CharClass kind) { return (internal::kCharClasses[static_cast<uint8_t>(c)] & kind) != 0; }

// SkipClass returns the end of the characters of that class that begin at `at`. FindClass returns the first character
// of that class, or `end`.
constexpr const char* SkipClass(const char* at, const char* end, CharClass kind) {
  while (at != end && Is(*at, kind)) at++;
  return at;
}
constexpr const char* FindClass(const char* at, const char* end, CharClass kind) {
  while (at != end && !Is(*at, kind)) at++;
  return at;
}

// True when the text is an unsigned number and nothing else.
constexpr bool AllDigits(std::string_view text) {
  for (const char c : text) {
    if (!Is(c, kDigit)) return false;
  }
  return !text.empty();
}

}  // namespace zforms
