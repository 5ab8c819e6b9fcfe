#pragma once

#include <cstdint>
#include <initializer_list>
#include <span>
#include <string>
#include <string_view>

#include "zforms/appearance/fonts/text_font.h"
#include "zforms/platform/base/chaine.h"

namespace zforms {

// The glyphs of one stretch of a line in one font, in visual order.
struct GlyphSpan {
  std::span<const ShapedGlyph> glyphs;
  // The characters that the clusters of the glyphs are indices of, and the index behind the last of them.
  std::u32string_view paragraph;
  size_t end = 0;
  bool right_to_left = false;
};

// ContentWriter builds a content stream (ISO 32000-1 7.8.2): operands and operators as text. Numbers have at most three
// decimals; what is not finite is 0, and nothing reaches beyond a million points. A plain value.
class ContentWriter {
 public:
  ContentWriter() { text_.reserve(kUsualSize); }

  // The operands and then the operator. It ends the line.
  ContentWriter& Operator(std::string_view name, std::initializer_list<double> operands = {});
  // Text that is content already.
  ContentWriter& Raw(std::string_view content) {
    text_ += content;
    return *this;
  }
  // One operand, a blank behind it.
  ContentWriter& Number(double value);
  // A name with its slash; what would end it early is escaped (7.3.5).
  ContentWriter& Name(std::string_view name);

  // "BT" and "ET", between which the operators below may stand (9.4.1).
  void BeginText();
  void EndText();
  // "Tf", unless font and size are set already. `resource` is the name in "/Font" without slash.
  void SetFont(const Chaine& resource, double size);
  // Where the baseline of what is shown next starts, in the units in which "BT" stood.
  void MoveTo(double x, double y);
  // Shows the glyphs in the font that is set, with "/ActualText" around clusters that are not plain (14.9.4).
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
