#include "zforms/appearance/text_layout.h"

#include <algorithm>
#include <cmath>

#include "zforms/appearance/content_writer.h"

namespace zforms {
namespace {

// The figures of docs/appearances.md, in parts of the font size where no unit is named.
constexpr double kLineHeight = 1.35;
constexpr double kDescentOfLine = 0.35 / 1.35;  // in parts of the height of a line
constexpr double kClosestLines = 0.95;
constexpr double kDescentAtBottom = 0.2;
constexpr double kHighestFont = 1500;    // the largest ascent and the largest height that count, in 1/1000 of the size
constexpr double kLeastPadding = 1;      // above and below the text, in points
constexpr double kUsualSize = 12;        // the largest automatic size of several lines, in points
constexpr double kLeastSizeOfLines = 4;  // in points
constexpr double kLeastSize = 1;         // the smallest automatic size of one line, in points
constexpr double kLargestSize = 5000;
// Sums of widths are compared with this tolerance, in points.
constexpr double kTolerance = 0.01;

// Rounds a size down to hundredths of a point, so that text that was found to fit still fits when the size is written.
double CutToHundredths(double size) { return std::floor(size * 100) / 100; }

double SizeOr(double size, double otherwise) { return size > 0 ? std::min(size, kLargestSize) : otherwise; }

double TopPadding(const TextBox& box) { return std::max(kLeastPadding, box.edge); }

// The largest size at which one line fits into the height and width of the box.
double SizeOfLine(double text_width, const TextBox& box) {
  double size = (box.height - 2 * TopPadding(box)) / kLineHeight;
  if (text_width > 0) size = std::min(size, (box.width - 2 * box.padding) * 1000 / text_width);
  return std::clamp(CutToHundredths(size), kLeastSize, kLargestSize);
}

// The baseline that puts the middle between the font's ascent and descent in the middle of the box.
double MiddleBaseline(const TextFontMetrics& metrics, double size, double height) {
  return (height - (metrics.ascent + metrics.descent) * size / 1000) / 2;
}

double StartOf(double width, double padding, const TextBox& box) {
  if (box.quadding == 1) return (box.width - width) / 2;
  if (box.quadding == 2) return box.width - width - padding;
  return padding;
}

bool IsTooHigh(const TextParagraph& paragraph, double size, const TextBox& box) {
  return paragraph.Metrics().cap_height * size / 1000 > box.height - 2 * box.edge + kTolerance;
}

size_t WithoutBlanksAtEnd(const TextParagraph& paragraph, size_t from, size_t to) {
  while (to > from && paragraph.Text()[to - 1] == U' ') to--;
  return to;
}

// The part of the text that fits, and its width in thousandths of the size.
struct Fitting {
  size_t end = 0;
  double width = 0;
};
Fitting FirstThatFit(const TextParagraph& paragraph, double room) {
  Fitting fitting;
  double width = 0;
  for (size_t i = 0; i < paragraph.Size(); i++) {
    width += paragraph.AdvanceAt(i);
    if (width > room) {
      while (i > 0 && !paragraph.StartsCluster(i)) i--;
      fitting.end = i;
      return fitting;
    }
    fitting.width = width;
  }
  fitting.end = paragraph.Size();
  return fitting;
}

size_t NextCluster(const TextParagraph& paragraph, size_t index) {
  if (index < paragraph.Size()) index++;
  while (index < paragraph.Size() && !paragraph.StartsCluster(index)) index++;
  return index;
}

// --- several lines ---

// Breaks paragraphs into lines, one for each call of Next. At the given size, lines are at most as wide as the box.
class LineBreaker {
 public:
  LineBreaker(const std::vector<TextParagraph>& paragraphs, const TextBox& box, double size)
      : paragraphs_(paragraphs),
        room_((box.width - 2 * box.padding + kTolerance) * 1000 / size),
        // A paragraph that is only slightly too wide stays on one line.
        room_alone_((box.width - box.padding + kTolerance) * 1000 / size) {}

  // Sets the next line; false at the end. A paragraph without text gives a line without text.
  bool Next(TextLine* line) {
    while (paragraph_ < paragraphs_.size() && is_done_) StartParagraph();
    if (is_done_) return false;
    const TextParagraph& text = paragraphs_[paragraph_ - 1];
    const size_t next = at_ == 0 && text.Width() <= room_alone_ ? text.Size() : EndOfLine(text);
    *line = {paragraph_ - 1, at_, WithoutBlanksAtEnd(text, at_, next), 0, 0};
    at_ = next;
    is_done_ = at_ >= text.Size();
    return true;
  }

 private:
  void StartParagraph() {
    paragraph_++;
    at_ = 0;
    is_done_ = false;
  }
  // The index after the line that starts at at_. Blanks at the end of a line do not count for its width.
  size_t EndOfLine(const TextParagraph& text) const {
    double width = 0;
    size_t last_break = at_;
    for (size_t i = at_; i < text.Size(); i++) {
      if (i > at_ && text.MayBreakBefore(i)) last_break = i;
      width += text.AdvanceAt(i);
      if (width <= room_ || text.Text()[i] == U' ') continue;
      if (last_break > at_) return last_break;
      while (i > at_ && !text.StartsCluster(i)) i--;
      return i > at_ ? i : NextCluster(text, at_);
    }
    return text.Size();
  }

  const std::vector<TextParagraph>& paragraphs_;
  double room_, room_alone_;
  size_t paragraph_ = 0;  // the index after the current paragraph
  size_t at_ = 0;
  bool is_done_ = true;
};

struct LineGrid {
  double size = 0;
  double line_height = 0;
};

// The smallest distance between lines, in parts of the size. Fonts that shape complex scripts need their full height,
// for signs above and below the letters.
double ClosestLines(const std::vector<TextParagraph>& paragraphs) {
  double closest = kClosestLines;
  for (const TextParagraph& paragraph : paragraphs) {
    const TextFontMetrics& metrics = paragraph.Metrics();
    const auto shapes = [](const TextRun& run) { return run.font->Shapes(); };
    if (std::any_of(paragraph.Runs().begin(), paragraph.Runs().end(), shapes)) {
      closest = std::max(closest, std::min(metrics.ascent - metrics.descent, kHighestFont) / 1000);
    }
  }
  return closest;
}

// How far the fonts of the first line reach above and below its baseline. Counts only fonts that shape complex scripts;
// 0 when there are none.
TextFontMetrics ShapedMetrics(const std::vector<TextParagraph>& paragraphs, const TextBox& box, double size) {
  TextFontMetrics highest;
  LineBreaker breaker(paragraphs, box, size);
  TextLine line;
  if (!breaker.Next(&line)) return highest;
  for (const TextRun& run : paragraphs[line.paragraph].VisualRuns(line.from, line.to)) {
    if (!run.font->Shapes()) continue;
    const TextFontMetrics metrics = PlausibleMetrics(*run.font);
    highest.ascent = std::max(highest.ascent, std::min(metrics.ascent, kHighestFont));
    highest.descent = std::min(highest.descent, metrics.descent);
  }
  return highest;
}

bool FitsAt(const std::vector<TextParagraph>& paragraphs, const TextBox& box, double size, double height) {
  LineBreaker breaker(paragraphs, box, size);
  TextLine line;
  double used = kDescentAtBottom * size + std::max(ShapedMetrics(paragraphs, box, size).ascent / 1000 - 1, 0.0) * size;
  const double closest = std::max(ClosestLines(paragraphs), 1.0) * size;
  for (bool is_first = true; breaker.Next(&line); is_first = false) {
    used += is_first ? size : closest;
    if (used > height + kTolerance) return false;
  }
  return true;
}

// Divides the height of the box into a whole number of lines. With an automatic size, uses the smallest number of
// lines at which the text fits.
LineGrid GridOf(const std::vector<TextParagraph>& paragraphs, const TextBox& box) {
  const double height = std::max(box.height - 2 * TopPadding(box), 0.1);
  const auto lines_at = [height](double size) {
    return static_cast<size_t>(std::max(std::round(height / (size * kLineHeight)), 1.0));
  };
  if (box.size > 0) {
    const double size = std::min(box.size, kLargestSize);
    return {size, height / static_cast<double>(lines_at(size))};
  }
  const auto size_of = [height](size_t lines) {
    const double size = CutToHundredths(height / static_cast<double>(lines) / kLineHeight);
    return std::min(size, kUsualSize);
  };
  size_t low = std::max(lines_at(kUsualSize), std::min(paragraphs.size(), lines_at(kLeastSizeOfLines)));
  size_t high = std::max(lines_at(kLeastSizeOfLines), low);
  if (size_of(high) < kLeastSizeOfLines && high > low) high--;
  while (low < high) {
    const size_t middle = (low + high) / 2;
    if (FitsAt(paragraphs, box, size_of(middle), height)) {
      high = middle;
    } else {
      low = middle + 1;
    }
  }
  // In a box that is not high enough for one line of the smallest size, the text has that size and is clipped.
  const double size = std::max(size_of(low), std::min(kLeastSizeOfLines, std::max(height / kLineHeight, kLeastSize)));
  return {size, height / static_cast<double>(low)};
}

size_t CharactersFrom(const std::vector<TextParagraph>& paragraphs, const TextLine& line) {
  size_t count = paragraphs[line.paragraph].Size() - line.from;
  for (size_t i = line.paragraph + 1; i < paragraphs.size(); i++) count += paragraphs[i].Size();
  return count;
}

double WidthOf(const TextParagraph& paragraph, const TextLine& line) {
  double width = 0;
  for (size_t i = line.from; i < line.to; i++) width += paragraph.AdvanceAt(i);
  return width;
}

// The baseline of the first line. In a box that is lower than a line, the middle of the line is shown.
double FirstBaseline(const std::vector<TextParagraph>& paragraphs, const TextBox& box, const LineGrid& grid) {
  const double top = std::max(box.edge, std::clamp(std::floor((box.height - grid.size) / 2), 0.0, kLeastPadding));
  double descent = kDescentOfLine * grid.line_height;
  if (paragraphs.empty()) return box.height - top - (grid.line_height - descent);
  const TextFontMetrics& metrics = paragraphs[0].Metrics();
  if (grid.line_height < grid.size) return MiddleBaseline(metrics, grid.size, box.height);
  descent = std::max(descent, std::min(-metrics.descent / 1000, 0.5) * grid.size);
  const double first = box.height - top - (grid.line_height - descent);
  // Moves the baseline down if necessary: signs above the letters reach up to the ascent.
  const TextFontMetrics shaped = ShapedMetrics(paragraphs, box, grid.size);
  const double below_ascent = box.height - top - shaped.ascent * grid.size / 1000;
  return std::min(first, std::max(below_ascent, MiddleBaseline(shaped, grid.size, box.height)));
}

}  // namespace

TextLayout LayOutLine(const TextParagraph& paragraph, const TextBox& box) {
  TextLayout layout;
  layout.size = SizeOr(box.size, SizeOfLine(paragraph.Width(), box));
  if (paragraph.Size() == 0) return layout;
  const double scale = layout.size / 1000;
  const double y = MiddleBaseline(paragraph.Metrics(), layout.size, box.height);
  const double width = paragraph.Width() * scale;
  TextLine line{0, 0, paragraph.Size(), StartOf(width, box.padding, box), y};
  // Text that is too wide is shown from its beginning, whatever its quadding.
  const bool is_too_wide = width > box.width - box.padding - box.edge + kTolerance;
  if (is_too_wide) {
    const Fitting fitting = FirstThatFit(paragraph, (box.width - box.padding - box.edge) / scale);
    layout.left_out = WithoutBlanksAtEnd(paragraph, 0, paragraph.Size());
    layout.left_out -= std::min(layout.left_out, fitting.end);
    // Adds one more cluster. It is clipped, which shows that the text continues.
    line.to = NextCluster(paragraph, fitting.end);
    line.x = paragraph.IsRightToLeft() ? box.width - box.padding - WidthOf(paragraph, line) * scale : box.padding;
  }
  if (IsTooHigh(paragraph, layout.size, box)) layout.left_out = paragraph.Size();
  layout.lines.push_back(line);
  return layout;
}

TextLayout LayOutLines(const std::vector<TextParagraph>& paragraphs, const TextBox& box) {
  const LineGrid grid = GridOf(paragraphs, box);
  TextLayout layout;
  layout.size = grid.size;
  const double first = FirstBaseline(paragraphs, box, grid);
  const double lowest = TopPadding(box) + kDescentAtBottom * grid.size;
  const double closest = ClosestLines(paragraphs) * grid.size;
  const auto most = first > lowest ? static_cast<size_t>((first - lowest + kTolerance) / closest) + 1 : 1;
  LineBreaker breaker(paragraphs, box, grid.size);
  TextLine line;
  while (layout.lines.size() < most && breaker.Next(&line)) layout.lines.push_back(line);
  if (breaker.Next(&line)) layout.left_out = CharactersFrom(paragraphs, line);
  if (!layout.lines.empty() && IsTooHigh(paragraphs[0], grid.size, box)) {
    layout.left_out = CharactersFrom(paragraphs, layout.lines[0]);
  }
  // Lines are set closer when they do not all fit at the usual distance.
  double distance = grid.line_height;
  if (layout.lines.size() > 1) {
    distance = std::min(distance, (first - lowest) / static_cast<double>(layout.lines.size() - 1));
  }
  double y = first;
  for (TextLine& placed : layout.lines) {
    const double width = WidthOf(paragraphs[placed.paragraph], placed) * grid.size / 1000;
    // A line that is slightly too wide uses half of the padding.
    const double padding = width > box.width - 2 * box.padding + kTolerance ? box.padding / 2 : box.padding;
    placed.x = StartOf(width, padding, box);
    placed.y = y;
    y -= distance;
  }
  return layout;
}

TextLayout LayOutComb(const TextParagraph& paragraph, const TextBox& box, size_t cells) {
  TextLayout layout;
  const double cell = box.width / static_cast<double>(cells);
  std::vector<TextLine> clusters;
  double widest = 0;
  for (size_t i = 0, next = 0; i < paragraph.Size() && clusters.size() < cells; i = next) {
    next = NextCluster(paragraph, i);
    clusters.push_back({0, i, next, 0, 0});
    widest = std::max(widest, WidthOf(paragraph, clusters.back()));
  }
  // The automatic size is the size for one line, reduced so that no cluster is wider than its cell.
  double automatic = SizeOfLine(paragraph.Width(), box);
  if (widest > 0) automatic = std::max(std::min(automatic, CutToHundredths(cell * 1000 / widest)), kLeastSize);
  layout.size = SizeOr(box.size, automatic);
  if (clusters.empty()) return layout;
  layout.left_out = paragraph.Size() - clusters.back().to;
  if (IsTooHigh(paragraph, layout.size, box)) layout.left_out = paragraph.Size();

  // Puts the clusters in the order in which they are shown.
  std::vector<TextLine> shown;
  for (const TextRun& run : paragraph.VisualRuns(0, clusters.back().to)) {
    const auto is_before = [](const TextLine& cluster, size_t from) { return cluster.from < from; };
    const auto first = std::lower_bound(clusters.begin(), clusters.end(), run.from, is_before);
    const auto last = std::lower_bound(first, clusters.end(), run.from + run.count, is_before);
    const auto at = shown.insert(shown.end(), first, last);
    if (run.level % 2 != 0) std::reverse(at, shown.end());
  }
  const double free_cells = static_cast<double>(cells - shown.size());
  double x = box.quadding == 1 ? std::floor(free_cells / 2) * cell : box.quadding == 2 ? free_cells * cell : 0;
  const double y = MiddleBaseline(paragraph.Metrics(), layout.size, box.height);
  for (TextLine& cluster : shown) {
    cluster.x = x + (cell - WidthOf(paragraph, cluster) * layout.size / 1000) / 2;
    cluster.y = y;
    x += cell;
  }
  layout.lines = std::move(shown);
  return layout;
}

void ShowLines(std::vector<TextParagraph>& paragraphs, const TextLayout& layout, ContentWriter& out) {
  for (const TextLine& line : layout.lines) {
    if (line.from >= line.to) continue;
    TextParagraph& paragraph = paragraphs[line.paragraph];
    double x = line.x;
    for (const TextRun& run : paragraph.VisualRuns(line.from, line.to)) {
      const std::vector<ShapedGlyph>& glyphs = paragraph.GlyphsOf(run);
      out.SetFont(run.font->ResourceName(), layout.size);
      out.MoveTo(x, line.y);
      out.Show({glyphs, paragraph.Text(), run.from + run.count, run.level % 2 != 0});
      for (const ShapedGlyph& glyph : glyphs) x += paragraph.AdvanceOf(glyph) * layout.size / 1000;
    }
  }
}

}  // namespace zforms
