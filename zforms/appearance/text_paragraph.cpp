#include "zforms/appearance/text_paragraph.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace zforms {
namespace {

// The ascent and descent of a font that states none, and the largest height that is plausible.
constexpr TextFontMetrics kUsualMetrics{1000, -350, 700};
constexpr double kMostMetric = 3000;

}  // namespace

TextFontMetrics PlausibleMetrics(const TextFont& font) {
  const TextFontMetrics metrics = font.Metrics();
  const double height = metrics.ascent - metrics.descent;
  const bool is_plausible =
      std::isfinite(height) && height > 100 && metrics.ascent > 0 && metrics.descent <= 0 && height < kMostMetric;
  if (!is_plausible) return kUsualMetrics;
  TextFontMetrics result = metrics;
  if (!(result.cap_height > 0) || result.cap_height > result.ascent) result.cap_height = 0.7 * result.ascent;
  return result;
}

TextParagraph::TextParagraph(std::u32string text, TextFont* font) : text_(std::move(text)) {
  runs_.push_back({font, 0, text_.size(), 0});
  Measure();
}

TextParagraph::TextParagraph(std::u32string text, std::vector<TextRun> runs, std::vector<uint8_t> marks,
                             bool right_to_left)
    : text_(std::move(text)), runs_(std::move(runs)), marks_(std::move(marks)), right_to_left_(right_to_left) {
  Measure();
}

void TextParagraph::Space(const TextSpacing& spacing) {
  if (spacing == spacing_) return;
  spacing_ = spacing;
  Measure();
}

void TextParagraph::Measure() {
  advances_.assign(text_.size(), 0);
  width_ = 0;
  bool is_first = true;
  for (const TextRun& run : runs_) {
    const TextFontMetrics metrics = PlausibleMetrics(*run.font);
    metrics_.ascent = is_first ? metrics.ascent : std::max(metrics_.ascent, metrics.ascent);
    metrics_.descent = is_first ? metrics.descent : std::min(metrics_.descent, metrics.descent);
    metrics_.cap_height = is_first ? metrics.cap_height : std::max(metrics_.cap_height, metrics.cap_height);
    is_first = false;
    for (const ShapedGlyph& glyph : GlyphsOf(run)) {
      if (glyph.cluster >= text_.size() || !std::isfinite(glyph.advance)) continue;
      advances_[glyph.cluster] += static_cast<float>(std::clamp(AdvanceOf(glyph), -1e5, 1e5));
    }
  }
  for (float& advance : advances_) {
    advance = std::max(advance, 0.0F);
    width_ += advance;
  }
  if (is_first) metrics_ = kUsualMetrics;
}

const std::vector<ShapedGlyph>& TextParagraph::GlyphsOf(const TextRun& part) {
  if (glyphs_of_.font == part.font && glyphs_of_.from == part.from && glyphs_of_.count == part.count) return glyphs_;
  glyphs_.clear();
  glyphs_of_ = part;
  part.font->Shape(text_, part.from, part.count, part.level % 2 != 0, &glyphs_);
  return glyphs_;
}

std::vector<TextRun> TextParagraph::VisualRuns(size_t from, size_t to) const {
  std::vector<TextRun> parts;
  uint8_t highest = 0, lowest_odd = UINT8_MAX;
  const auto is_before = [](const TextRun& run, size_t index) { return run.from + run.count <= index; };
  for (auto run = std::lower_bound(runs_.begin(), runs_.end(), from, is_before); run != runs_.end(); ++run) {
    if (run->from >= to) break;
    const size_t first = std::max(run->from, from);
    parts.push_back({run->font, first, std::min(run->from + run->count, to) - first, run->level});
    highest = std::max(highest, run->level);
    if (run->level % 2 != 0) lowest_odd = std::min(lowest_odd, run->level);
  }
  // For each level from the highest down to the lowest odd one: reverses every sequence of runs at this level or above.
  for (int level = highest; level >= lowest_odd; level--) {
    for (size_t i = 0; i < parts.size(); i++) {
      size_t end = i;
      while (end < parts.size() && parts[end].level >= level) end++;
      std::reverse(parts.begin() + static_cast<ptrdiff_t>(i), parts.begin() + static_cast<ptrdiff_t>(end));
      i = std::max(i, end);
    }
  }
  return parts;
}

}  // namespace zforms
