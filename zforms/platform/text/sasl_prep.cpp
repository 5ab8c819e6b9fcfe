#include "zforms/platform/text/sasl_prep.h"

#include <utf8proc.h>

#include <algorithm>
#include <iterator>
#include <vector>

#include "zforms/platform/base/ascii.h"
#include "zforms/platform/text/characters.h"
#include "zforms/platform/text/text.h"

namespace zforms {
namespace {

// Longer texts are refused: composing takes quadratic time in the marks of one letter.
constexpr size_t kLongest = 1024;

struct Range {
  char32_t first, last;
};

// RFC 3454 table C.1.2: spaces other than the blank.
constexpr Range kSpaces[] = {{0xA0, 0xA0},     {0x1680, 0x1680}, {0x2000, 0x200B},
                             {0x202F, 0x202F}, {0x205F, 0x205F}, {0x3000, 0x3000}};

// Table B.1: characters that are mapped to nothing.
constexpr Range kNothing[] = {{0xAD, 0xAD},     {0x34F, 0x34F},   {0x1806, 0x1806}, {0x180B, 0x180D},
                              {0x200B, 0x200D}, {0x2060, 0x2060}, {0xFE00, 0xFE0F}, {0xFEFF, 0xFEFF}};

// Tables C.2.1 to C.9: control characters, those of private use, non-characters, surrogates, and what changes the
// meaning or the display of other characters. Non-characters of table C.4 end each plane and are not listed here.
constexpr Range kProhibited[] = {
    {0x0, 0x1F},        {0x7F, 0x9F},       {0x340, 0x341},     {0x6DD, 0x6DD},     {0x70F, 0x70F},
    {0x180E, 0x180E},   {0x200C, 0x200F},   {0x2028, 0x202E},   {0x2060, 0x2063},   {0x206A, 0x206F},
    {0x2FF0, 0x2FFB},   {0xD800, 0xF8FF},   {0xFDD0, 0xFDEF},   {0xFEFF, 0xFEFF},   {0xFFF9, 0xFFFD},
    {0x1D173, 0x1D17A}, {0xE0001, 0xE0001}, {0xE0020, 0xE007F}, {0xF0000, 0xFFFFD}, {0x100000, 0x10FFFD},
};

template <size_t kCount>
bool IsIn(const Range (&table)[kCount], char32_t c) {
  const auto* const found = std::lower_bound(std::begin(table), std::end(table), c,
                                             [](const Range& range, char32_t wanted) { return range.last < wanted; });
  return found != std::end(table) && found->first <= c;
}

bool IsProhibited(char32_t c) { return (c & 0xFFFE) == 0xFFFE || IsIn(kProhibited, c); }

// Wiped when it is destroyed.
struct CodePoints {
  explicit CodePoints(size_t count) : values(count) {}
  CodePoints(const CodePoints&) = delete;
  CodePoints& operator=(const CodePoints&) = delete;
  ~CodePoints() { WipeBytes(values.data(), values.size() * sizeof(values[0])); }
  std::vector<utf8proc_int32_t> values;
};

std::optional<SecretText> Normalized(const SecretText& text) {
  constexpr auto kNFKC = static_cast<utf8proc_option_t>(UTF8PROC_STABLE | UTF8PROC_COMPOSE | UTF8PROC_COMPAT);
  const auto* const bytes = reinterpret_cast<const utf8proc_uint8_t*>(text.data());
  const auto size = static_cast<utf8proc_ssize_t>(text.size());
  const utf8proc_ssize_t count = utf8proc_decompose(bytes, size, nullptr, 0, kNFKC);
  if (count < 0) return std::nullopt;
  CodePoints characters(static_cast<size_t>(count) + 1);  // one more for the zero that ends the text
  utf8proc_int32_t* const buffer = characters.values.data();
  if (utf8proc_decompose(bytes, size, buffer, count, kNFKC) != count) return std::nullopt;
  const utf8proc_ssize_t length = utf8proc_reencode(buffer, count, kNFKC);
  if (length < 0) return std::nullopt;
  return SecretText(reinterpret_cast<const char*>(buffer), static_cast<size_t>(length));
}

enum class Letter : uint8_t { kNone, kLeftToRight, kRightToLeft };

Letter LetterOf(char32_t c) {
  switch (utf8proc_get_property(static_cast<utf8proc_int32_t>(c))->bidi_class) {
    case UTF8PROC_BIDI_CLASS_L: return Letter::kLeftToRight;
    case UTF8PROC_BIDI_CLASS_R:
    case UTF8PROC_BIDI_CLASS_AL: return Letter::kRightToLeft;
    default: return Letter::kNone;
  }
}

// True when the text has no prohibited character. If it has a right-to-left letter, it must also begin and end with
// one, and have no left-to-right letter (RFC 3454 section 6).
bool IsAllowed(std::string_view text) {
  Letter first = Letter::kNone;
  Letter last = Letter::kNone;
  bool has_left_to_right = false;
  bool has_right_to_left = false;
  for (bool is_first = true; !text.empty(); is_first = false) {
    const std::optional<char32_t> c = TakeCharacter(&text);
    if (!c || IsProhibited(*c)) return false;
    last = LetterOf(*c);
    if (is_first) first = last;
    has_left_to_right = has_left_to_right || last == Letter::kLeftToRight;
    has_right_to_left = has_right_to_left || last == Letter::kRightToLeft;
  }
  return !has_right_to_left || (!has_left_to_right && first == Letter::kRightToLeft && last == Letter::kRightToLeft);
}

}  // namespace

std::optional<SecretText> SASLPrep(std::string_view utf8) {
  if (utf8.size() > kLongest || !IsValidUTF8(utf8)) return std::nullopt;
  SecretText mapped;
  mapped.Reserve(utf8.size());  // no character grows
  while (!utf8.empty()) {
    const char32_t c = *TakeCharacter(&utf8);
    // U+200B is in both tables.
    if (IsIn(kNothing, c)) continue;
    AppendUTF8(&mapped, IsIn(kSpaces, c) ? U' ' : c);
  }
  std::optional<SecretText> prepared = Normalized(mapped);
  if (!prepared || !IsAllowed(*prepared)) return std::nullopt;
  return prepared;
}

}  // namespace zforms
