#pragma once

#include <cstdint>
#include <initializer_list>
#include <span>
#include <string>
#include <string_view>

#include "zforms/appearance/fonts/text_font.h"
#include "zforms/platform/base/chaine.h"

namespace zforms {

// The glyphs of a part of a line in one font, in visual order.
struct GlyphSpan {
  std::span<const ShapedGlyph> glyphs;
  // The clusters of the glyphs are indices into `paragraph`. `end` is the index after their last character.
  std::u32string_view paragraph;
  size_t end = 0;
  bool right_to_left = false;
};

// ContentWriter builds a content stream (ISO 32000-1 7.8.2): operands and operators as text. Numbers have at most three
// decimals. A number that is not finite becomes 0. Numbers beyond a million are limited to it. It can be copied.
class ContentWriter {
 public:
  ContentWriter() { text_.reserve(kUsualSize); }

  // Writes the operands, then the operator and a line end.
  ContentWriter& Operator(std::string_view name, std::initializer_list<double> operands = {});
  // Appends content unchanged.
  ContentWriter& Raw(std::string_view content) {
    text_ += content;
    return *this;
  }
  // Writes one operand and a blank.
  ContentWriter& Number(double value);
  // Writes a slash, the name and a blank. Escapes the characters that would end the name early (7.3.5).
  ContentWriter& Name(std::string_view name);

  // Write "BT" and "ET". Call the functions below only between the two (9.4.1).
  void BeginText();
  void EndText();
  // Writes "Tf", unless font and size are set already. `resource` is the name in "/Font" without slash.
  void SetFont(const Chaine& resource, double size);
  // Sets where the baseline of the next text starts, in the units that apply at "BT".
  void MoveTo(double x, double y);
  // Shows the glyphs in the current font, with "/ActualText" around clusters that are not plain (14.9.4).
  void Show(const GlyphSpan& span);

  const std::string& Text() const { return text_; }
  Chaine Take() const { return Chaine(text_); }

 private:
  static constexpr size_t kUsualSize = 256;

  void BeginActualText(const GlyphSpan& span, size_t from, size_t to);
  void ShowGlyphs(std::span<const ShapedGlyph> glyphs);
  void ShowOnOneHeight(std::span<const ShapedGlyph> glyphs);
  void String(std::span<const ShapedGlyph> glyphs);

  std::string text_;
  Chaine font_;
  double size_ = 0;
  double line_x_ = 0, line_y_ = 0;  // the start of the current line
};

}  // namespace zforms
