#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

#include "zforms/platform/base/chaine.h"
#include "zforms/platform/base/containers.h"
#include "zforms/platform/base/export.h"

namespace zforms {

// The characters of UTF-8 text, and its lines.

// Whether the byte continues a character, rather than begins one.
constexpr bool IsTrailByte(char c) { return (static_cast<unsigned char>(c) & 0xC0) == 0x80; }

// Removes one character from the front of the text and returns it. When the bytes there are not UTF-8, removes one byte
// and returns nothing. Precondition: the text is not empty.
constexpr std::optional<char32_t> TakeCharacter(std::string_view* text) {
  const uint8_t lead = static_cast<uint8_t>(text->front());
  const size_t length = lead < 0x80 ? 1 : lead < 0xC2 ? 0 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : lead < 0xF5 ? 4 : 0;
  const std::string_view bytes = text->substr(0, length);
  text->remove_prefix(1);
  if (length == 0 || bytes.size() < length) return std::nullopt;
  if (length == 1) return lead;

  char32_t c = lead & (0x7Fu >> length);
  for (const char trail : bytes.substr(1)) {
    if (!IsTrailByte(trail)) return std::nullopt;
    c = c << 6 | (static_cast<uint8_t>(trail) & 0x3Fu);
  }
  constexpr char32_t kLeast[] = {0, 0, 0x80, 0x800, 0x10000};
  if (c < kLeast[length] || c > 0x10FFFF || (c >= 0xD800 && c < 0xE000)) return std::nullopt;
  text->remove_prefix(length - 1);
  return c;
}

// How many characters begin in the text.
constexpr uint64_t CountCharacters(std::string_view text) {
  return static_cast<uint64_t>(std::count_if(text.begin(), text.end(), [](char c) { return !IsTrailByte(c); }));
}

// The length of the longest beginning of the text that has up to `size` bytes and cuts no character. Bytes that are not
// UTF-8 are cut anywhere.
ZFORMS_API size_t SizeOfWholeCharacters(std::string_view text, size_t size);

// The lines of the text, without their ends, which are CR LF, CR or LF. Text that ends with a line end has an empty
// last line; the empty text has one empty line.
ZFORMS_API PTableau<Chaine> LinesOf(const Chaine& text);

}  // namespace zforms
