#include "zforms/appearance/value_text.h"

#include <cstddef>
#include <cstdint>
#include <utility>

namespace zforms {
namespace {

constexpr char32_t kReplacement = 0xFFFD;

// Returns the character at `*at` and moves `*at` past it; U+FFFD for bytes that are not valid UTF-8.
char32_t TakeCharacter(std::string_view text, size_t* at) {
  const auto first = static_cast<uint8_t>(text[(*at)++]);
  if (first < 0x80) return first;
  const int more = first >= 0xF0 ? 3 : first >= 0xE0 ? 2 : 1;
  if (first < 0xC2 || first > 0xF4) return kReplacement;
  char32_t c = first & (0x3F >> more);
  for (int i = 0; i < more; i++) {
    if (*at >= text.size() || (static_cast<uint8_t>(text[*at]) & 0xC0) != 0x80) return kReplacement;
    c = (c << 6) | (static_cast<uint8_t>(text[(*at)++]) & 0x3F);
  }
  const bool is_character = c <= 0x10FFFF && (c < 0xD800 || c > 0xDFFF) &&
                            c >= (more == 3   ? 0x10000U
                                  : more == 2 ? 0x800U
                                              : 0x80U);
  return is_character ? c : kReplacement;
}

bool IsLineEnd(char32_t c) { return c == U'\n' || c == U'\r' || c == 0x2028 || c == 0x2029; }

bool IsControl(char32_t c) { return c < 32 || (c >= 0x7F && c < 0xA0); }

// A soft hyphen is visible only where a line is broken at it, and lines are never broken there. A byte order mark is
// never visible.
bool IsInvisible(char32_t c) { return c == 0xAD || c == 0xFEFF; }

void DropBlanksAtEnd(std::u32string* text) {
  while (!text->empty() && text->back() == U' ') text->pop_back();
}

// Calls `character` for each character that is shown, and `line_end` for each line end.
template <class Character, class LineEnd>
void Walk(std::string_view utf8, std::u32string* left_out, const Character& character, const LineEnd& line_end) {
  for (size_t at = 0; at < utf8.size();) {
    const char32_t c = TakeCharacter(utf8, &at);
    if (c == U'\r' && at < utf8.size() && utf8[at] == '\n') at++;
    if (IsLineEnd(c)) {
      line_end();
    } else if (c == U'\t') {
      character(U' ');
    } else if (IsControl(c)) {
      if (left_out != nullptr) *left_out += c;
    } else if (!IsInvisible(c)) {
      character(c);
    }
  }
}

}  // namespace

std::u32string LineOfText(std::string_view utf8, std::u32string* left_out) {
  std::u32string text;
  text.reserve(utf8.size());
  const auto add = [&text](char32_t c) { text += c; };
  Walk(utf8, left_out, add, [&text] { text += U' '; });
  DropBlanksAtEnd(&text);
  return text;
}

std::vector<std::u32string> LinesOfText(std::string_view utf8, std::u32string* left_out) {
  std::vector<std::u32string> lines(1);
  const auto add = [&lines](char32_t c) { lines.back() += c; };
  Walk(utf8, left_out, add, [&lines] { lines.emplace_back(); });
  for (std::u32string& line : lines) DropBlanksAtEnd(&line);
  while (lines.size() > 1 && lines.back().empty()) lines.pop_back();
  return lines;
}

}  // namespace zforms
