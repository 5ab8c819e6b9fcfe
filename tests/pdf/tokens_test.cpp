#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "zforms/pdf/syntax/element_scan.h"
#include "zforms/pdf/syntax/tokenized_string.h"
#include "zforms/platform/base/diagnostics.h"

namespace zforms {
namespace {

using namespace std::string_view_literals;

std::string SoupOf(std::mt19937& random, std::string_view alphabet, size_t most) {
  std::string text;
  for (size_t length = random() % most; text.size() < length;) text += alphabet[random() % alphabet.size()];
  return text;
}

// Removes white space and comments at both ends, in a simple way that the code under test is compared with.
std::string PlainTrim(std::string text) {
  constexpr std::string_view kWhites = "\t\n\f\r ";
  const auto trim_left = [&] { text.erase(0, text.find_first_not_of(kWhites)); };
  const auto trim_right = [&] { text.erase(text.find_last_not_of(kWhites) + 1); };
  trim_left();
  while (text.starts_with('%')) {
    text.erase(0, text.find_first_of("\r\n", 1));
    trim_left();
  }
  trim_right();
  for (size_t at = text.find_last_of("\n\r%)"); at != std::string::npos && text[at] == '%';) {
    text.erase(at);
    trim_right();
    at = text.find_last_of("\n\r%)");
  }
  return text;
}

// In the tables a bar divides the text into two parts. Without a bar, the second part is empty.
struct Cut {
  explicit Cut(std::string_view text) : front(text.substr(0, text.find('|'))), back(text.substr(front.size())) {
    back.erase(0, 1);
  }
  std::string front, back;
};

TEST(TokensTest, LastToken) {
  for (const std::string_view text : {"<< /A 1 |>>", "|/Name", "12 0 |R", "<</A|/B",         "[1 2|]",     "(a b|)",
                                      "<41|>",       "|<",     "a|<<",    "|alone",          "/A/|/",      "(x)|(",
                                      "[{a|}",       "[|{",    "{|5",     "1 % c\n|2",       "(a%b) |7",   "a)%b|\n",
                                      "a |b\x01\\",  ">|>>",   "|",       "1 %a\r%b\r\n |2", "1 % (x)\n|2"}) {
    const Cut cut(text);
    ZPDFTokenizedString tokens{Chaine(cut.front + cut.back)};
    EXPECT_EQ(tokens.PeekLastToken(), cut.back) << text;
    EXPECT_EQ(tokens.ExtractLastToken(), cut.back) << text;
    EXPECT_EQ(tokens.View(), PlainTrim(cut.front)) << text;
  }
}

TEST(TokensTest, FirstToken) {
  for (const std::string_view text :
       {"<<|/A 1>>", "/Name|/B", "12| 0 R", "[|1]", "]|x", "(|a)", ")|a", "<|41>", ">>|>", ">|", "alone|", "/|", "{a|",
        "obj|% c\r\n<<>>", "|", "a| %x\n %y\r b %z", "stream|\r\n"}) {
    const Cut cut(text);
    ZPDFTokenizedString tokens{Chaine(cut.front + cut.back)};
    EXPECT_EQ(tokens.ExtractFirstToken(), cut.front) << text;
    EXPECT_EQ(tokens.View(), PlainTrim(cut.back)) << text;
  }
}

TEST(TokensTest, TrimComments) {
  const std::pair<std::string_view, std::string_view> kCases[] = {
      {"% head\r\n1 0 obj", "1 0 obj"},
      {"(a%b)", "(a%b)"},
      {"1 % tail", "1"},
      {"%a\n%b\r%c\r\n \t\f5", "5"},
      {"%", ""},
      {"% only", ""},
      {"5 %a\n%b\n%c", "5"},
      {"5 %a%b%c", "5"},
      {"(50% ) % c", "(50% )"},
      {" \t\r\n\f", ""},
      {"5\0"sv, "5\0"sv},
      {"5 % a)", "5 % a)"},
      {"/A%b\n/C", "/A%b\n/C"},
      {"", ""},
  };
  for (const auto& [text, trimmed] : kCases) {
    ZPDFTokenizedString tokens{Chaine(text)};
    tokens.TrimComments();
    EXPECT_EQ(tokens.View(), trimmed) << text;
  }
}

TEST(TokensTest, FirstElementLength) {
  for (const std::string_view text : {"<< /A [1 2] >>|stream",
                                      "(a\\)b)| x",
                                      "(a(b)c)|)",
                                      "(\\\\)|)",
                                      "(never",
                                      "<41 42>|>",
                                      "<41",
                                      "[[1][2]]|[3]",
                                      "<</A<</B(>>)>>>>|>>",
                                      "12 0 R|]",
                                      "12 0 R |>>",
                                      "/Name |endobj",
                                      "5\n|endobj",
                                      "/endobj |endobj",
                                      "|endobj",
                                      "|)",
                                      "|>",
                                      "|]5",
                                      "% ]\n[% ]\r1]|",
                                      "\\)\\(5|)",
                                      "[1 2 |endobj",
                                      "<</A 1",
                                      " \n<<>>|<<>>",
                                      "[>>]|",
                                      "<<]>>|",
                                      "[)]|",
                                      "<</A 1>",
                                      "[(]) <5D> 1]|]",
                                      "/A (x)|",
                                      "",
                                      "%",
                                      "\\"}) {
    const Cut cut(text);
    EXPECT_EQ(ZPDFTokenizedString(cut.front + cut.back).GetFirstElementLength(), cut.front.size()) << text;
  }
  // Only when reading a whole object does the next object end it.
  EXPECT_EQ(FirstElementLength("5 6 0 obj", ScanStop::kEndobj), 9u);
  EXPECT_EQ(FirstElementLength("5 6 0 obj", ScanStop::kEndobjOrObj), 6u);
  EXPECT_EQ(FirstElementLength("5 object obj/", ScanStop::kEndobjOrObj), 9u);
  const std::string deep(100000, '[');
  EXPECT_EQ(ZPDFTokenizedString(deep + std::string(100000, ']') + "]").GetFirstElementLength(), 200000u);
  EXPECT_EQ(ZPDFTokenizedString(deep).GetFirstElementLength(), 100000u);
}

TEST(TokensTest, CommentsInAnElementBecomeBlanks) {
  ZPDFTokenizedString tokens("x<</A%)]\n(%)/B%(\r1>>%z");
  tokens.TakeFirst(1);
  tokens.TrimComments();
  ZPDFTokenizedString element = tokens.TakeFirstElement(ScanStop::kEndobj);
  EXPECT_EQ(element.View(), "<</A   \n(%)/B  \r1>>");
  EXPECT_EQ(tokens.View(), "");
  ZDiagnostics diagnostics;
  element.SetDiagnostics(&diagnostics);
  element.TakeFirst(4);
  element.Warn("odd");
  EXPECT_EQ(ZDiagnostics::Describe(diagnostics.Warnings()[0]), "offset 5: odd");
}

class OpenTokens : public ZPDFTokenizedString {
 public:
  using ZPDFTokenizedString::FindSpecialChar;
  using ZPDFTokenizedString::ReverseFindSpecialChar;
  using ZPDFTokenizedString::ReverseFindSpecialForComment;
  using ZPDFTokenizedString::ZPDFTokenizedString;
};

TEST(TokensTest, PositionsAreCountedInTheView) {
  OpenTokens tokens(SousChaine("((/ab c/ab%d\\", 2, 10));  // "/ab c/ab%d"
  EXPECT_EQ(tokens.Find("/ab"), 0);
  EXPECT_EQ(tokens.Find("/ab", 1), 5);
  EXPECT_EQ(tokens.Find('\\'), -1);
  EXPECT_EQ(tokens.Find("(", 0), -1);
  EXPECT_EQ(tokens.Find('d', 10), -1);
  EXPECT_EQ(tokens.FindOneOf("c%", 0), 4);
  EXPECT_EQ(tokens.FindOneOf("c%", 5), 8);
  EXPECT_EQ(tokens.ReverseFind("/ab"), 5);
  EXPECT_EQ(tokens.ReverseFind("/ab", 4), 0);
  EXPECT_EQ(tokens.ReverseFind('(', -1), -1);
  EXPECT_EQ(tokens.ReverseFindOneOf("c%"), 8);
  EXPECT_EQ(tokens.ReverseFindOneOf("c%", 7), 4);
  EXPECT_EQ(tokens.FindSpecialChar(1), 3);
  EXPECT_EQ(tokens.FindSpecialChar(9), -1);
  EXPECT_EQ(tokens.FindSpecialChar(99), -1);
  EXPECT_EQ(tokens.ReverseFindSpecialChar(-1), 8);
  EXPECT_EQ(tokens.ReverseFindSpecialChar(7), 5);
  EXPECT_EQ(tokens.ReverseFindSpecialChar(99), 8);
  EXPECT_EQ(tokens.ReverseFindSpecialForComment(), 8);
  EXPECT_TRUE(tokens.StartWith("/ab ") && tokens.StartWith('/') && tokens.EndWith("%d") && tokens.EndWith('d'));
  EXPECT_FALSE(tokens.StartWith("((") || tokens.EndWith('\\') || tokens.StartWith("/ab c/ab%d\\"));
  EXPECT_EQ(OpenTokens("abc").ReverseFindSpecialChar(-1), -1);
  EXPECT_EQ(OpenTokens("").ReverseFindSpecialChar(-1), -1);
  EXPECT_EQ(OpenTokens("a").FindSpecialChar(0), -1);
}

TEST(TokensTest, AnySoupIsCutAsAFreshCursorWouldCutIt) {
  std::mt19937 random(99);
  for (int round = 0; round < 4000; round++) {
    const std::string text = SoupOf(random, "  \r\n%%%()<>[]{}/\\ab15\f\0e"sv, 60);
    ZPDFTokenizedString tokens{Chaine(text)};
    ZPDFTokenizedString trimmed = tokens;
    trimmed.TrimComments();
    ASSERT_EQ(trimmed.View(), PlainTrim(text)) << text;
    ASSERT_LE(tokens.GetFirstElementLength(), text.size());
    while (!tokens.IsEmpty()) {
      const std::string before(tokens.View());
      const bool last = random() % 4 != 0;
      const std::string token(last ? tokens.ExtractLastToken() : tokens.ExtractFirstToken());
      ASSERT_FALSE(token.empty()) << before;
      ASSERT_TRUE(last ? before.ends_with(token) : before.starts_with(token)) << before;
      const size_t left = before.size() - token.size();
      ASSERT_EQ(tokens.View(), PlainTrim(before.substr(last ? 0 : token.size(), left))) << before;
    }
  }
}

}  // namespace
}  // namespace zforms
