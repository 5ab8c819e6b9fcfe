#include "zforms/appearance/text_layout.h"

#include <gtest/gtest.h>

#include <cmath>

#include "tests/support/cpu_time.h"
#include "tests/support/fake_font.h"
#include "zforms/appearance/content_writer.h"
#include "zforms/appearance/paragraph_maker.h"
#include "zforms/appearance/value_text.h"

namespace zforms {
namespace {

// The layout as "size text@x y text@x y -n", where n characters do not fit.
std::string Told(const std::vector<TextParagraph>& paragraphs, const TextLayout& layout) {
  ContentWriter out;
  out.Number(layout.size);
  for (const TextLine& line : layout.lines) {
    const std::u32string_view text = paragraphs[line.paragraph].Text().substr(line.from, line.to - line.from);
    out.Raw(std::string(text.begin(), text.end())).Raw("@").Number(line.x).Number(line.y);
  }
  if (layout.left_out > 0) out.Raw("-" + std::to_string(layout.left_out));
  std::string told = out.Text();
  while (!told.empty() && told.back() == ' ') told.pop_back();
  return told;
}

std::vector<TextParagraph> ParagraphsOf(std::string_view text, TextFont* font) {
  std::vector<TextParagraph> paragraphs;
  for (std::u32string& line : LinesOfText(text)) paragraphs.emplace_back(std::move(line), font);
  return paragraphs;
}

enum Kind { kLine, kLines, kShapedLines, kComb };

TEST(TextLayout, HandComputed) {
  // A character is half the font size wide. A box is: width, height, padding, edge, quadding, size.
  const struct {
    const char* name;
    Kind kind;
    const char* text;
    TextBox box;
    size_t cells;
    const char* told;
  } kCases[] = {
      // The baseline is at y = (20 - (0.75 - 0.25) * 10) / 2.
      {"left", kLine, "abcd", {104, 20, 2, 0, 0, 10}, 0, "10 abcd@2 7.5"},
      {"centred", kLine, "abcd", {104, 20, 2, 0, 1, 10}, 0, "10 abcd@42 7.5"},
      {"right", kLine, "abcd", {104, 20, 2, 0, 2, 10}, 0, "10 abcd@82 7.5"},
      {"unknown quadding", kLine, "abcd", {104, 20, 2, 0, 7, 10}, 0, "10 abcd@2 7.5"},
      // The height gives the size (20 - 2) / 1.35, rounded down to hundredths; then the width gives (24 - 4) / 2.
      {"as high as fits", kLine, "abcd", {104, 20, 2, 0, 0, 0}, 0, "13.33 abcd@2 6.668"},
      {"as wide as fits", kLine, "abcd", {24, 20, 2, 0, 0, 0}, 0, "10 abcd@2 7.5"},
      {"border of 3", kLine, "abcd", {104, 20, 3, 3, 0, 0}, 0, "10.37 abcd@3 7.408"},
      // There is room for 14 - 2 points: two characters. A third one is shown in part, and counts as not fitting.
      {"too wide", kLine, "abcd", {14, 20, 2, 0, 2, 10}, 0, "10 abc@2 7.5 -2"},
      {"blanks that do not fit", kLine, "ab  ", {14, 20, 2, 0, 0, 10}, 0, "10 ab @2 7.5"},
      {"too high", kLine, "ab", {104, 6, 2, 0, 0, 10}, 0, "10 ab@2 .5 -2"},
      {"nothing", kLine, "", {104, 20, 2, 0, 0, 10}, 0, "10"},
      {"no room at all", kLine, "abcd", {1, 1, 2, 0, 0, 0}, 0, "1 a@2 .25 -4"},

      // Seven lines of 13.5 fit into 98, so each is 14 high. The first baseline is 14 * (1 - 0.35 / 1.35) below 99.
      {"words", kLines, "aaaa bbbb cccc dddd", {54, 100, 2, 0, 0, 10}, 0, "10 aaaa bbbb@2 88.63 cccc dddd@2 74.63"},
      {"hard ends", kLines, "a\r\n\nb\n", {54, 100, 2, 0, 2, 10}, 0, "10 a@47 88.63 @52 74.63 b@47 60.63"},
      {"long word", kLines, "a bbbbbbbbbbbb", {34, 100, 2, 0, 0, 10}, 0, "10 a@2 88.63 bbbbbb@2 74.63 bbbbbb@2 60.63"},
      {"a point too wide", kLines, "aaaa aaaaa", {53, 100, 2, 0, 0, 10}, 0, "10 aaaa aaaaa@1 88.63"},
      // Two lines of 14 fit into 28. A third would bring the lines too close together.
      {"too many", kLines, "a\nb\nc\ndd", {54, 30, 2, 0, 0, 10}, 0, "10 a@2 18.63 b@2 4.63 -3"},
      // Automatic size: six lines of 12 * 1.35 fit into 98, and 98 / 6 / 1.35 would be more than the maximum, 12.
      {"lower than a line", kLines, "a", {54, 8.4, 2, 0, 0, 10}, 0, "10 a@2 1.7"},
      {"automatic", kLines, "a", {54, 100, 2, 0, 0, 0}, 0, "12 a@2 86.901"},
      // Twelve lines do not fit into 38 points. The size is 38 / 7 / 1.35, because 38 / 8 / 1.35 would be below the
      // minimum, 4. At this size nine lines can be seen.
      {"automatic, least",
       kLines,
       "a\nb\nc\nd\ne\nf\ng\nh\ni\nj\nk\nl",
       {54, 40, 2, 0, 0, 0},
       0,
       "4.02 a@2 34.979 b@2 30.832 c@2 26.685 d@2 22.538 e@2 18.391 f@2 14.245 g@2 10.098 h@2 5.951 i@2 1.804 -3"},

      // Marks reach 11 above the baseline and 3.5 below it; in a box that is too low, both lose the same height.
      {"high marks", kShapedLines, "a", {54, 100, 2, 0, 0, 10}, 0, "10 a@2 88"},
      {"high marks, too many", kShapedLines, "a\nb\nc", {54, 30, 2, 0, 0, 10}, 0, "10 a@2 18 b@2 4 -1"},
      {"high marks, low", kShapedLines, "a", {54, 14, 2, 0, 0, 10}, 0, "10 a@2 3.25"},

      {"comb", kComb, "abc", {100, 20, 2, 0, 0, 10}, 5, "10 a@7.5 7.5 b@27.5 7.5 c@47.5 7.5"},
      {"comb, right", kComb, "abc", {100, 20, 2, 0, 2, 10}, 5, "10 a@47.5 7.5 b@67.5 7.5 c@87.5 7.5"},
      {"comb, centred", kComb, "ab", {100, 20, 2, 0, 1, 10}, 5, "10 a@27.5 7.5 b@47.5 7.5"},
      {"comb, too long", kComb, "abc", {40, 20, 2, 0, 0, 10}, 2, "10 a@7.5 7.5 b@27.5 7.5 -1"},
      {"comb, narrow cells", kComb, "ab", {40, 20, 2, 0, 0, 0}, 10, "8 a@0 8 b@4 8"},
  };
  FakeFont font, shaping(true);
  for (const auto& c : kCases) {
    std::vector<TextParagraph> paragraphs;
    if (c.kind == kLines || c.kind == kShapedLines) {
      paragraphs = ParagraphsOf(c.text, c.kind == kLines ? &font : &shaping);
    } else {
      const std::string_view text = c.text;
      paragraphs.emplace_back(std::u32string(text.begin(), text.end()), &font);
    }
    const TextLayout layout = c.kind == kLine   ? LayOutLine(paragraphs[0], c.box)
                              : c.kind == kComb ? LayOutComb(paragraphs[0], c.box, c.cells)
                                                : LayOutLines(paragraphs, c.box);
    EXPECT_EQ(Told(paragraphs, layout), c.told) << c.name;
  }
}

// "abc1d", where "bc1d" runs from right to left except for the digit: the visual order of the line and of its parts.
TEST(TextLayout, DirectionsAndClusters) {
  FakeFont font;
  const std::vector<TextRun> runs = {{&font, 0, 1, 0}, {&font, 1, 2, 1}, {&font, 3, 1, 2}, {&font, 4, 1, 1}};
  TextParagraph paragraph(U"abc1d", runs, std::vector<uint8_t>(5, 0), false);
  const auto shown = [&](size_t from, size_t to) {
    std::string text;
    for (const TextRun& run : paragraph.VisualRuns(from, to)) {
      for (const ShapedGlyph& glyph : paragraph.GlyphsOf(run)) text += static_cast<char>(glyph.code);
    }
    return text;
  };
  EXPECT_EQ(shown(0, 5), "ad1cb");
  EXPECT_EQ(shown(0, 2), "ab");
  EXPECT_EQ(shown(2, 4), "1c");
  // A cluster of two characters goes to the next line as a whole, and fills one cell.
  const uint8_t inside = TextParagraph::kInsideCluster;
  std::vector<TextParagraph> clusters;
  clusters.emplace_back(U"abcd", std::vector<TextRun>{{&font, 0, 4, 0}}, std::vector<uint8_t>{0, 0, inside, 0}, false);
  EXPECT_EQ(Told(clusters, LayOutLines(clusters, {15, 60, 2, 0, 0, 10})), "10 a@2 48.259 bc@2 33.759 d@2 19.259");
  EXPECT_EQ(Told(clusters, LayOutComb(clusters[0], {60, 20, 2, 0, 0, 10}, 3)), "10 a@7.5 7.5 bc@25 7.5 d@47.5 7.5");
}

TEST(TextLayout, LongTextTakesLinearTime) {
  FakeFont font(true);
  for (const std::string unit : {"a", "a ", " ", "a\n", "\xCC\x81"}) {
    std::string text = "a";
    while (text.size() < 100000) text += unit;
    const CpuTime time;
    std::vector<TextParagraph> paragraphs;
    std::u32string missing;
    // A cluster that is too long is shaped in pieces.
    const size_t longest = unit == "\xCC\x81" ? 64 : text.size() + 1;
    for (std::u32string& line : LinesOfText(text + "b")) {
      paragraphs.push_back(MakeParagraph(std::move(line), &font, {}, nullptr, &missing));
      for (const TextRun& run : paragraphs.back().Runs()) EXPECT_LE(run.count, longest);
    }
    for (const double size : {0.0, 4.0, 1e-3, 1e30}) {
      const TextLayout layout = LayOutLines(paragraphs, {14400, 14400, 2, 0, 0, size});
      EXPECT_LE(layout.lines.size(), 100001U);
    }
    EXPECT_LT(time.Seconds(), 10);
  }
}

TEST(ValueText, LinesAndCharacters) {
  std::u32string left_out;
  EXPECT_EQ(LineOfText("a\r\nb\tc\x01\x7F\xC2\xAD  ", &left_out), U"a b c");
  EXPECT_EQ(left_out, U"\x01\x7F");
  EXPECT_EQ(LinesOfText("a \r\n\rb\u2028c\n\n"), (std::vector<std::u32string>{U"a", U"", U"b", U"c"}));
  EXPECT_EQ(LineOfText("\xC3\xA9\xF0\x9F\x98\x80\xFF\xC3"), U"\u00E9\U0001F600\uFFFD\uFFFD");
}

TEST(ContentWriter, NumbersAndGlyphs) {
  const std::pair<double, const char*> kNumbers[] = {{0, "0 "},          {-0.0001, "0 "},      {0.5, ".5 "},
                                                     {-0.05, "-.05 "},   {12.3456, "12.346 "}, {100, "100 "},
                                                     {1e30, "1000000 "}, {NAN, "0 "},          {2.999999, "3 "}};
  for (const auto& [value, text] : kNumbers) EXPECT_EQ(ContentWriter().Number(value).Text(), text);

  const auto glyph = [](uint32_t code, double advance, double x, double y, uint32_t cluster, bool is_plain) {
    ShapedGlyph made;
    made.code = code;
    made.code_size = code > 255 ? 2 : 1;
    made.width = 500;
    made.advance = advance;
    made.x = x;
    made.y = y;
    made.cluster = cluster;
    made.is_plain = is_plain;
    return made;
  };
  const struct {
    std::vector<ShapedGlyph> glyphs;
    bool right_to_left;
    const char* content;
  } kCases[] = {
      {{glyph('(', 500, 0, 0, 0, true), glyph(233, 500, 0, 0, 1, true)}, false, "(\\(\\351) Tj\n"},
      {{glyph('a', 450, 0, 0, 0, true), glyph('b', 500, 0, 0, 1, true)}, false, "[(a)50(b)] TJ\n"},
      // A glyph that is shown 30 units to the right does not move the pen.
      {{glyph('a', 500, 30, 0, 0, true), glyph('b', 500, 0, 0, 1, true)}, false, "[-30(a)30(b)] TJ\n"},
      {{glyph('a', 500, 0, 100, 0, true), glyph('b', 500, 0, 0, 1, true)}, false, "1 Ts\n(a) Tj\n0 Ts\n(b) Tj\n"},
      {{glyph(0x123, 500, 0, 0, 0, false), glyph('b', 500, 0, 0, 2, true)},
       false,
       "/Span <</ActualText <FEFF0061D83DDE00>>> BDC\n<0123> Tj\nEMC\n(b) Tj\n"},
      {{glyph('x', 500, 0, 0, 2, true), glyph('y', 500, 0, 0, 0, false), glyph('z', 500, 0, 0, 0, false)},
       true,
       "(x) Tj\n/Span <</ActualText <FEFF0061D83DDE00>>> BDC\n(yz) Tj\nEMC\n"},
  };
  for (const auto& c : kCases) {
    ContentWriter out;
    out.BeginText();
    out.SetFont("F 1", 10);
    const size_t start = out.Text().size();
    EXPECT_EQ(out.Text(), "BT\n/F#201 10 Tf\n");
    out.Show({c.glyphs, U"a\U0001F600b", 3, c.right_to_left});
    EXPECT_EQ(out.Text().substr(start), c.content);
  }
}

}  // namespace
}  // namespace zforms
