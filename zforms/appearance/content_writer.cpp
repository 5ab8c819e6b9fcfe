#include "zforms/appearance/content_writer.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>

#include "zforms/platform/text/text.h"

namespace zforms {
namespace {

constexpr double kFarthest = 1e6;
constexpr std::string_view kHexDigits = "0123456789ABCDEF";
// The smallest adjustment that is written, in 1/1000 of the font size. Smaller ones are not visible.
constexpr double kLeastAdjustment = 0.1;

// Rounds to thousandths and writes as few digits as the value needs.
void AppendNumber(std::string* text, double value) {
  if (!std::isfinite(value)) value = 0;
  int64_t thousandths = std::llround(std::clamp(value, -kFarthest, kFarthest) * 1000);
  if (thousandths < 0) *text += '-';
  thousandths = std::abs(thousandths);
  std::array<char, 24> digits;
  char* end = digits.data();
  const int64_t fraction = thousandths % 1000;
  if (thousandths >= 1000 || fraction == 0) {
    end = std::to_chars(end, digits.data() + digits.size(), thousandths / 1000).ptr;
  }
  if (fraction > 0) {
    *end++ = '.';
    for (int64_t rest = fraction, unit = 100; rest > 0; rest %= unit, unit /= 10) {
      *end++ = static_cast<char>('0' + rest / unit);
      if (unit == 1) break;
    }
  }
  text->append(digits.data(), end);
}

void AppendHex(std::string* text, uint32_t value, int digits) {
  for (int shift = 4 * (digits - 1); shift >= 0; shift -= 4) *text += kHexDigits[(value >> shift) & 15];
}

void AppendEscaped(std::string* text, uint8_t byte) {
  if (byte == '(' || byte == ')' || byte == '\\') {
    *text += '\\';
    *text += static_cast<char>(byte);
  } else if (byte >= 32 && byte < 127) {
    *text += static_cast<char>(byte);
  } else {
    *text += '\\';
    for (int shift = 6; shift >= 0; shift -= 3) *text += static_cast<char>('0' + ((byte >> shift) & 7));
  }
}

bool IsAdjusted(const ShapedGlyph& glyph) {
  return std::abs(glyph.x) >= kLeastAdjustment || std::abs(glyph.advance - glyph.width) >= kLeastAdjustment;
}

}  // namespace

ContentWriter& ContentWriter::Number(double value) {
  AppendNumber(&text_, value);
  text_ += ' ';
  return *this;
}

ContentWriter& ContentWriter::Name(std::string_view name) {
  text_ += '/';
  for (const char c : name) {
    const auto byte = static_cast<uint8_t>(c);
    if (byte > 32 && byte < 127 && std::string_view("#()<>[]{}/%").find(c) == std::string_view::npos) {
      text_ += c;
    } else {
      text_ += '#';
      AppendHex(&text_, byte, 2);
    }
  }
  text_ += ' ';
  return *this;
}

ContentWriter& ContentWriter::Operator(std::string_view name, std::initializer_list<double> operands) {
  for (const double operand : operands) Number(operand);
  text_ += name;
  text_ += '\n';
  return *this;
}

// --- text ---

void ContentWriter::BeginText() {
  Operator("BT");
  line_x_ = line_y_ = 0;
}

void ContentWriter::EndText() {
  Operator("ET");
  // Forgets the font: it stays set after "ET", but a "Q" may restore an earlier one.
  font_.Clear();
  size_ = 0;
}

void ContentWriter::SetFont(const Chaine& resource, double size) {
  if (font_ == resource && size_ == size) return;
  font_ = resource;
  size_ = size;
  Name(resource).Operator("Tf", {size});
}

void ContentWriter::MoveTo(double x, double y) {
  // Computes the move from the rounded numbers that were written, so that rounding errors do not add up.
  const auto rounded = [](double value) { return std::round(value * 1000) / 1000; };
  x = rounded(x);
  y = rounded(y);
  Operator("Td", {x - line_x_, y - line_y_});
  line_x_ = x;
  line_y_ = y;
}

void ContentWriter::Show(const GlyphSpan& span) {
  const std::span<const ShapedGlyph> glyphs = span.glyphs;
  for (size_t from = 0, to = 0; from < glyphs.size(); from = to) {
    const bool is_plain = glyphs[from].is_plain;
    while (to < glyphs.size() && glyphs[to].is_plain == is_plain) to++;
    // Adds the rest of the last cluster, since a cluster is never split.
    while (!is_plain && to < glyphs.size() && glyphs[to].cluster == glyphs[to - 1].cluster) to++;
    if (!is_plain) BeginActualText(span, from, to);
    ShowGlyphs(glyphs.subspan(from, to - from));
    if (!is_plain) Operator("EMC");
  }
}

// Begins marked content whose "/ActualText" is the text of the clusters of the glyphs [from, to), as UTF-16BE in
// hexadecimal.
void ContentWriter::BeginActualText(const GlyphSpan& span, size_t from, size_t to) {
  const std::span<const ShapedGlyph> glyphs = span.glyphs;
  size_t start = span.right_to_left ? glyphs[to - 1].cluster : glyphs[from].cluster;
  size_t end = span.end;
  if (span.right_to_left && from > 0) end = glyphs[from - 1].cluster;
  if (!span.right_to_left && to < glyphs.size()) end = glyphs[to].cluster;
  end = std::min(end, span.paragraph.size());
  start = std::min(start, end);
  Raw("/Span <</ActualText <FEFF");
  for (const char32_t c : span.paragraph.substr(start, end - start)) {
    if (c >= 0x10000) {
      AppendHex(&text_, 0xD800 + ((c - 0x10000) >> 10), 4);
      AppendHex(&text_, 0xDC00 + ((c - 0x10000) & 0x3FF), 4);
    } else {
      AppendHex(&text_, c, 4);
    }
  }
  Raw(">>> BDC\n");
}

void ContentWriter::ShowGlyphs(std::span<const ShapedGlyph> glyphs) {
  for (size_t from = 0, to = 0; from < glyphs.size(); from = to) {
    const double y = glyphs[from].y;
    while (to < glyphs.size() && glyphs[to].y == y) to++;
    if (y != 0) Operator("Ts", {y * size_ / 1000});
    ShowOnOneHeight(glyphs.subspan(from, to - from));
    if (y != 0) Operator("Ts", {0});
  }
}

// Writes "Tj" when each glyph advances as the font says, else "TJ". A positive number in the array of "TJ" moves to the
// left (9.4.3), so a move to the right is written as a negative number.
void ContentWriter::ShowOnOneHeight(std::span<const ShapedGlyph> glyphs) {
  if (std::none_of(glyphs.begin(), glyphs.end(), IsAdjusted)) {
    String(glyphs);
    Operator(" Tj");
    return;
  }
  text_ += '[';
  double behind = 0;
  size_t from = 0;
  for (size_t i = 0; i < glyphs.size(); i++) {
    const double move = behind + glyphs[i].x;
    if (std::abs(move) >= kLeastAdjustment) {
      if (i > from) String(glyphs.subspan(from, i - from));
      AppendNumber(&text_, -std::round(move * 10) / 10);
      from = i;
      behind -= std::round(move * 10) / 10;
    }
    behind += glyphs[i].advance - glyphs[i].width;
  }
  String(glyphs.subspan(from));
  if (std::abs(behind) >= kLeastAdjustment) AppendNumber(&text_, -behind);
  Operator("] TJ");
}

void ContentWriter::String(std::span<const ShapedGlyph> glyphs) {
  const bool is_wide = std::any_of(glyphs.begin(), glyphs.end(), [](const auto& glyph) { return glyph.code_size > 1; });
  text_ += is_wide ? '<' : '(';
  for (const ShapedGlyph& glyph : glyphs) {
    if (is_wide) {
      AppendHex(&text_, glyph.code, 2 * glyph.code_size);
    } else {
      AppendEscaped(&text_, static_cast<uint8_t>(glyph.code));
    }
  }
  text_ += is_wide ? '>' : ')';
}

}  // namespace zforms
