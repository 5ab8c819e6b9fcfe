#include "zforms/pdf/syntax/out_stream.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "tests/support/dump.h"
#include "zforms/pdf/string_node.h"

namespace zforms {
namespace {

// Steps of writing: "N" new line, "S" separate, "Tabc" token, "Cx" character, "Rabc" raw, "Babc" string body.
void Play(ZPDFOutStream& out, const std::vector<std::string>& steps) {
  for (const std::string& step : steps) {
    const std::string rest = step.substr(1);
    switch (step[0]) {
      case 'N': out.NewLine(); break;
      case 'S': out.Separate(); break;
      case 'T': out.WriteToken(rest); break;
      case 'C': out.WriteChar(rest[0]); break;
      case 'R': out.WriteRaw(rest); break;
      case 'B': out.WriteStringBody(rest); break;
      default: FAIL() << step;
    }
  }
}

std::string X(size_t count) { return std::string(count, 'x'); }

TEST(OutStreamTest, Layout) {
  const struct {
    std::string start;
    std::vector<std::string> steps;
    std::string result;
    size_t column;
  } kCases[] = {
      {"", {"N", "S"}, "", 0},
      {"ab  ", {"N"}, "ab\n", 0},
      {"ab\t \t", {"N", "N"}, "ab\n", 0},
      {"ab\r", {"N", "S"}, "ab\r", 0},
      {"  ", {"N"}, "\n", 0},
      {"a\r\nbc", {}, "a\r\nbc", 2},
      {"a\rbc", {"S"}, "a\rbc ", 3},
      {"abc", {"S", "S"}, "abc ", 4},
      {"", {"T[", "S", "T/A", "S", "T12", "S", "C]"}, "[/A 12 ]", 8},
      {"", {"T12", "S", "T/A", "S", "T<<", "S", "T(", "S", "C[", "S", "T%", "S", "C{"}, "12/A<<([%{", 10},
      {"", {"T1", "S", "T>>", "S", "T)", "S", "C}"}, "1 >>)}", 6},
      {"ab \t", {"C/"}, "ab/", 3},
      {" \t", {"T<<"}, "<<", 2},
      {"\f", {"S", "Tx"}, "\f x", 3},
      // A token or character ends at column 254 at most; a blank is written up to column 253.
      {X(250), {"Tabcd"}, X(250) + "abcd", 254},
      {X(250), {"Tabcde"}, X(250) + "\nabcde", 5},
      {X(253), {"C!"}, X(253) + "!", 254},
      {X(254), {"C!"}, X(254) + "\n!", 1},
      {X(253), {"S"}, X(253) + " ", 254},
      {X(254), {"S"}, X(254) + "\n", 0},
      {X(252) + "  ", {"T/A"}, X(252) + "/A", 254},
      {X(252) + "  ", {"TA"}, X(252) + "\nA", 1},
      {"", {"T" + X(300), "Ta"}, X(300) + "\na", 1},
      // Raw bytes do not change lines.
      {X(200), {"R" + X(300) + "\nb", "Ta"}, X(500) + "\nba", 1},
      {"", {"C(", "Babc", "C)"}, "(abc)", 5},
      {"", {"C(", "B" + X(252), "C)"}, "(" + X(252) + ")", 254},
      {"", {"C(", "B" + X(253), "C)"}, "(\\\r" + X(253) + ")", 254},
      {"", {"C(", "B" + X(600), "C)"}, "(\\\r" + X(254) + "\\\r" + X(254) + "\\\r" + X(92) + ")", 93},
      {"ab", {"B" + X(252)}, "ab\n" + X(252), 252},
      {"ab\n", {"B" + X(255)}, "ab\n" + X(254) + "\\\rx", 1},
  };
  for (const auto& [start, steps, result, column] : kCases) {
    Chaine text(start);
    ZPDFOutStream out(&text);
    Play(out, steps);
    EXPECT_EQ(text, result);
    EXPECT_EQ(out.Column(), column) << result;
  }
}

TEST(OutStreamTest, ASecondStreamContinuesTheLine) {
  Chaine text;
  Chaine pieces;
  ZPDFOutStream whole(&text);
  std::mt19937 random(5);
  for (int i = 0; i < 500; i++) {
    const std::vector<std::string> steps = {random() % 9 == 0 ? "N" : "S", "T" + X(1 + random() % 40)};
    Play(whole, steps);
    ZPDFOutStream part(&pieces);
    Play(part, steps);
    ASSERT_EQ(part.Column(), whole.Column());
  }
  EXPECT_EQ(text, pieces);
}

// The stream removes blanks at the end of its target. A copy that shares the bytes of the target keeps them.
TEST(OutStreamTest, CopiesOfTheTargetStayAsTheyAre) {
  for (const bool one_run : {false, true}) {
    Chaine text(X(20) + "  ");
    text.Reserve(5000);
    const Chaine copy = text;
    {
      ZPDFOutStream out(&text);
      const std::unique_ptr<ZPDFOutStream::Run> run(one_run ? new ZPDFOutStream::Run(out) : nullptr);
      Play(out, {"T/A", "S", "T" + X(3000), "N", "Tb"});
    }
    EXPECT_EQ(copy, X(20) + "  ");
    EXPECT_EQ(text, X(20) + "/A\n" + X(3000) + "\nb");
  }
}

// The length of the longest line, without the backslash that continues a string on the next line.
size_t LongestLine(std::string_view text) {
  size_t longest = 0;
  while (!text.empty()) {
    const size_t end = std::min(text.find_first_of("\r\n"), text.size());
    longest = std::max(longest, end - (text.substr(0, end + 1).ends_with("\\\r") ? 1 : 0));
    text.remove_prefix(std::min(end + 1, text.size()));
  }
  return longest;
}

// Runs of backslashes of every length at every distance from the line break, for every start column.
TEST(OutStreamTest, NoEscapeIsCut) {
  for (const std::string_view special : {"\\", "(", "\r", "\n", "\\(", "\\\\)"}) {
    for (size_t before = 246; before < 258; before++) {
      for (size_t run = 1; run < 5; run++) {
        std::string value = X(before);
        for (size_t i = 0; i < run; i++) value += special;
        for (const size_t after : {0u, 1u, 249u, 250u, 251u, 252u, 253u, 254u, 255u, 300u}) {
          ZPDFNodeArray array;
          array.AppendValue(static_cast<int32_t>(before));
          array.AppendValue(Chaine(value + std::string(after, 'y')));
          const std::string text = Written(array);
          ASSERT_LE(LongestLine(text), 254u) << text;
          // Only the escaped carriage return may break a line inside the string.
          ASSERT_EQ(text.substr(0, text.rfind(')')).find('\n', text.find('(')), std::string::npos) << text;
          ASSERT_EQ(Dump(Parse(text).get()), Dump(&array)) << text;
        }
      }
    }
  }
}

TEST(OutStreamTest, WhereLongStringsBreak) {
  // The longest value that is written without a break, and the shortest with a break before the closing parenthesis.
  EXPECT_EQ(Written(ZPDFNodeLiteralString(Chaine(252, 'x'))), "(" + X(252) + ")");
  EXPECT_EQ(Written(ZPDFNodeLiteralString(Chaine(254, 'x'))), "(\\\r" + X(254) + "\\\r)");
  EXPECT_EQ(Written(ZPDFNodeLiteralString(X(252) + "\\")), "(\\\r" + X(252) + "\\\\\\\r)");
  EXPECT_EQ(Written(ZPDFNodeLiteralString(X(253) + "\\")), "(\\\r" + X(253) + "\\\r\\\\)");
}

}  // namespace
}  // namespace zforms
