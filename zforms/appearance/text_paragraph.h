#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "zforms/appearance/fonts/text_font.h"

namespace zforms {

// A stretch of a paragraph in one font and one direction.
struct TextRun {
  TextFont* font = nullptr;
  size_t from = 0;
  size_t count = 0;
  uint8_t level = 0;  // the embedding level (UAX 9); odd levels run from right to left
};

// How the operators Tc, Tw and Tz change the advances of a font (ISO 32000-1 9.3): Tc is added to each glyph and Tw to
// each blank of one byte, in 1/1000 of the font size. The sum is then multiplied by the scaling (Tz), which is 1 for
// none.
struct TextSpacing {
  double character = 0;
  double word = 0;
  double scaling = 1;

  bool operator==(const TextSpacing&) const = default;
};

// The metrics of the font; implausible values are replaced by usual ones.
TextFontMetrics PlausibleMetrics(const TextFont& font);

// A text without line ends, ready to be laid out. One thread at a time.
class TextParagraph {
 public:
  // Marks of a character.
  static constexpr uint8_t kBreakBefore = 1;    // a line may end before it
  static constexpr uint8_t kInsideCluster = 2;  // it belongs to the same grapheme cluster as the one before it
  static constexpr uint8_t kSplitCluster = 4;   // a cluster that is too long is split before it; a run starts here

  // A text in one font, from left to right. A line may end after a blank.
  TextParagraph(std::u32string text, TextFont* font);
  // `runs` are in logical order and cover the text; `marks` has one element for each character.
  TextParagraph(std::u32string text, std::vector<TextRun> runs, std::vector<uint8_t> marks, bool right_to_left);

  // Measures the text with that spacing.
  void Space(const TextSpacing& spacing);
  const TextSpacing& Spacing() const { return spacing_; }

  std::u32string_view Text() const { return text_; }
  size_t Size() const { return text_.size(); }
  const std::vector<TextRun>& Runs() const { return runs_; }
  bool IsRightToLeft() const { return right_to_left_; }
  // The width of the cluster that starts at this character, in 1/1000 of the font size; 0 inside a cluster.
  double AdvanceAt(size_t index) const { return advances_[index]; }
  double Width() const { return width_; }
  // The advance of a glyph of the text with the spacing, in the same unit.
  double AdvanceOf(const ShapedGlyph& glyph) const {
    const bool is_blank = glyph.code_size == 1 && glyph.code == 32;
    return (glyph.advance + spacing_.character + (is_blank ? spacing_.word : 0)) * spacing_.scaling;
  }
  // The largest metrics of all its fonts; see PlausibleMetrics.
  const TextFontMetrics& Metrics() const { return metrics_; }
  bool StartsCluster(size_t index) const { return marks_.empty() || (marks_[index] & kInsideCluster) == 0; }
  bool MayBreakBefore(size_t index) const {
    return marks_.empty() ? text_[index - 1] == U' ' && text_[index] != U' ' : (marks_[index] & kBreakBefore) != 0;
  }

  // The parts of the runs in [from, to), in the order in which they are shown from left to right (UAX 9, rule L2).
  std::vector<TextRun> VisualRuns(size_t from, size_t to) const;
  // The glyphs of a part of one run, as VisualRuns gives them, in visual order. Valid until the next call.
  const std::vector<ShapedGlyph>& GlyphsOf(const TextRun& part);

 private:
  void Measure();

  std::u32string text_;
  std::vector<TextRun> runs_;
  std::vector<uint8_t> marks_;
  bool right_to_left_ = false;
  TextSpacing spacing_;
  std::vector<float> advances_;
  double width_ = 0;
  TextFontMetrics metrics_;
  std::vector<ShapedGlyph> glyphs_;  // the result of the last GlyphsOf
  TextRun glyphs_of_;
};

}  // namespace zforms
