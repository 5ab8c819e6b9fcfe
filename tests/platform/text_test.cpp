#include "zforms/platform/text/text.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <limits>
#include <random>
#include <string>

#include "zforms/platform/base/diagnostics.h"
#include "zforms/platform/base/number.h"

namespace zforms {
namespace {

using namespace std::string_view_literals;

// UTF-8 by the rule of RFC 3629, independent of the code under test.
Chaine UTF8(char32_t c) {
  const auto part = [c](unsigned lead, int shift, unsigned mask) {
    return static_cast<char>(lead | (c >> shift & mask));
  };
  if (c < 0x80) return std::string{part(0, 0, 0x7F)};
  if (c < 0x800) return std::string{part(0xC0, 6, 0x1F), part(0x80, 0, 0x3F)};
  if (c < 0x10000) return std::string{part(0xE0, 12, 0x0F), part(0x80, 6, 0x3F), part(0x80, 0, 0x3F)};
  return std::string{part(0xF0, 18, 0x07), part(0x80, 12, 0x3F), part(0x80, 6, 0x3F), part(0x80, 0, 0x3F)};
}

bool IsSurrogate(char32_t c) { return c >= 0xD800 && c < 0xE000; }

TEST(TextTest, UTF8BecomesPDFText) {
  const std::pair<std::string_view, std::string_view> kCases[] = {
      {"", ""},
      {"Nom (50% )\\ \t\r\n\x01\x17~", "Nom (50% )\\ \t\r\n\x01\x17~"},
      {"\0zero"sv, "\0zero"sv},
      {"Prénom 12 €", "Pr\xE9nom 12 \xA0"},
      {"•†‡…—–ƒ⁄‹›−‰„“”‘’‚™ﬁﬂŁŒŠŸŽıłœšž",
       "\x80\x81\x82\x83\x84\x85\x86\x87\x88\x89\x8A\x8B\x8C\x8D\x8E\x8F"
       "\x90\x91\x92\x93\x94\x95\x96\x97\x98\x99\x9A\x9B\x9C\x9D\x9E"},
      {"˘ˇˆ˙˝˛˚˜", "\x18\x19\x1A\x1B\x1C\x1D\x1E\x1F"},
      // Not in PDFDocEncoding: Cyrillic, a supplementary character, the characters of its undefined bytes, the no-break
      // space.
      {"Да", "\xFE\xFF\x04\x14\x04\x30"},
      {"aД", "\xFE\xFF\0a\x04\x14"sv},
      {"😀", "\xFE\xFF\xD8\x3D\xDE\x00"sv},
      {"\x7F", "\xFE\xFF\0\x7F"sv},
      {"\x18", "\xFE\xFF\0\x18"sv},
      {"a\u00A0\u00AD\u009F", "\xFE\xFF\0a\0\xA0\0\xAD\0\x9F"sv},
      // Texts that would begin like a byte order mark in PDFDocEncoding.
      {"þÿ", "\xFE\xFF\0\xFE\0\xFF"sv},
      {"ÿþx", "\xFE\xFF\0\xFF\0\xFE\0x"sv},
      {"ï»¿", "\xFE\xFF\0\xEF\0\xBB\0\xBF"sv},
      {"ï»", "\xEF\xBB"},
      {"xþÿ", "x\xFE\xFF"},
      // Invalid UTF-8 is not changed.
      {"Pr\xE9nom Д", "Pr\xE9nom Д"},
      {"\xFE\xFF\x04\x14", "\xFE\xFF\x04\x14"},
      {"Д\xED\xA0\x80", "Д\xED\xA0\x80"},
  };
  for (const auto& [utf8, bytes] : kCases) EXPECT_EQ(UTF8ToPDFText(utf8), bytes) << utf8;
}

TEST(TextTest, PDFTextBecomesUTF8) {
  const std::pair<std::string_view, std::string_view> kCases[] = {
      {"", ""},
      {"Pr\xE9nom \x80 \x1F\xA0", "Prénom • ˜€"},
      {"\x7F\x9F\xAD", "\x7F\u009F\u00AD"},
      {"\xFE\xFF\x04\x14\xD8\x3D\xDE\x00"sv, "Д😀"},
      {"\xFF\xFE\x14\x04\x3D\xD8\x00\xDE"sv, "Д😀"},
      {"\xEF\xBB\xBFД", "Д"},
      {"\xEF\xBB\xBF\xE9", "ï»¿é"},
      // Broken UTF-16: lone and swapped surrogates, half a unit.
      {"\xFE\xFF\xD8\x3D\0a"sv, "\uFFFDa"},
      {"\xFE\xFF\xDE\x00\xD8\x3D"sv, "\uFFFD\uFFFD"},
      {"\xFE\xFF\0a\x04"sv, "a"},
      {"\xFE\xFF", ""},
      {"\xFE", "þ"},
      // Language escape sequences, with letters as bytes and as code units.
      {"\xFE\xFF\0\033frFR\0\033\0a\0\033en\0\033\0b"sv, "ab"},
      {"\xFE\xFF\0\033\0f\0r\0-\0F\0R\0\033\0a"sv, "a"},
      {"\xEF\xBB\xBF\033fr\033a", "a"},
      {"\xFE\xFF\0\033\0f\0r"sv, "\033fr"},
      {"\xFE\xFF\0\033\0 \0\033\0f\0r\0\033\0\033"sv, "\033 \033"},
      {"\033fr\033", "˙fr˙"},
  };
  for (const auto& [bytes, utf8] : kCases) EXPECT_EQ(PDFTextToUTF8(bytes), utf8) << utf8;
}

TEST(TextTest, EveryCharacterComesBack) {
  size_t in_one_byte = 0;
  for (char32_t c = 0; c <= 0x10FFFF; ++c) {
    if (IsSurrogate(c)) continue;
    const Chaine text = UTF8(c);
    const Chaine bytes = UTF8ToPDFText(text);
    in_one_byte += bytes.size() == 1;
    ASSERT_EQ(PDFTextToUTF8(bytes), text) << static_cast<uint32_t>(c);
    ASSERT_EQ(UTF16ToUTF8(UTF8ToUTF16BE(text), ByteOrder::eBigEndian), text) << static_cast<uint32_t>(c);
  }
  // All bytes but three have a character, also the control characters below 0x18.
  EXPECT_EQ(in_one_byte, 256u - 3u);
}

TEST(TextTest, RandomTextComesBackAndRandomBytesGiveValidText) {
  std::mt19937 random(20);
  const char32_t kSome[] = {'a',  '\n', 0x0,  0x18, 0x7F,   0xAD,  0xE9,   0xEF,
                            0xBB, 0xBF, 0xFE, 0xFF, 0x20AC, 0x414, 0x1F600};
  const char kBytes[] = {'a', '\x1B', '\0', '\xFE', '\xFF', '\xEF', '\xBB', '\xBF', '\xD8', '\xDC', '\xE9', '\x9F'};
  for (int round = 0; round < 20000; ++round) {
    Chaine text;
    for (size_t left = random() % 6; left != 0; --left) text += UTF8(kSome[random() % std::size(kSome)]);
    ASSERT_EQ(PDFTextToUTF8(UTF8ToPDFText(text)), text);
    ASSERT_EQ(PDFNameToUTF8(UTF8ToPDFName(text)), text);

    Chaine bytes;
    for (size_t left = random() % 9; left != 0; --left) bytes += kBytes[random() % std::size(kBytes)];
    const Chaine read = PDFTextToUTF8(bytes);
    ASSERT_TRUE(IsValidUTF8(read)) << testing::PrintToString(bytes.View());
    // Writing it again may change the bytes, but not the text, except where new escape sequences form.
    if (read.View().find('\x1B') == std::string_view::npos) {
      ASSERT_EQ(PDFTextToUTF8(UTF8ToPDFText(read)), read);
    }
    if (!IsValidUTF8(bytes)) {
      ASSERT_EQ(UTF8ToPDFText(bytes), bytes);
    }
    ASSERT_TRUE(IsValidUTF8(PDFNameToUTF8("/" + bytes)));
    ASSERT_TRUE(IsValidUTF8(UTF16ToUTF8(UTF8ToUTF16BE(bytes), ByteOrder::eBigEndian)));
  }
}

TEST(TextTest, ValidUTF8) {
  for (const char* text : {"", "abc", "\u0080\u07FF\u0800\uD7FF\uE000\uFFFF\U00010000\U0010FFFF"}) {
    EXPECT_TRUE(IsValidUTF8(text)) << text;
  }
  for (const char* text :
       {"\x80", "a\xC3", "\xC3(", "\xC0\x80", "\xC1\xBF", "\xE0\x9F\xBF", "\xED\xA0\x80", "\xED\xBF\xBF", "\xE2\x82",
        "\xF0\x8F\xBF\xBF", "\xF4\x90\x80\x80", "\xF5\x80\x80\x80", "\xFF", "\xF0\x9F\x98"}) {
    EXPECT_FALSE(IsValidUTF8(text)) << testing::PrintToString(text);
  }
}

TEST(TextTest, NamesAndOtherEncodings) {
  EXPECT_EQ(PDFNameToUTF8("/Oui é"), "/Oui é");
  EXPECT_EQ(PDFNameToUTF8("/Pr\xE9sent \x8D"), "/Présent “");
  EXPECT_EQ(PDFNameToUTF8("/\xFE\xFF\x04\x14"), "/Д");
  EXPECT_EQ(PDFNameToUTF8("\xFE\xFF\x04\x14"), "Д");
  EXPECT_EQ(Windows1252ToUTF8("\x80\x82\x83\x84\x85\x86\x87\x88\x89\x8A\x8B\x8C\x8E"), "€‚ƒ„…†‡ˆ‰Š‹ŒŽ");
  EXPECT_EQ(Windows1252ToUTF8("\x91\x92\x93\x94\x95\x96\x97\x98\x99\x9A\x9B\x9C\x9E\x9F"), "‘’“”•–—˜™š›œžŸ");
  EXPECT_EQ(Windows1252ToUTF8("\xE9 \x81\x18\xA0"), "é \u0081\x18\u00A0");
  EXPECT_EQ(Latin1ToUTF8("\x80\xE9\xFF"), "\u0080éÿ");
  EXPECT_EQ(UTF16ToUTF8("\x14\x04\xFF\xFE"sv, ByteOrder::eLittleEndian), "Д\uFEFF");
  EXPECT_EQ(UTF8ToUTF16BE("a\xFF"), "\0a\xFF\xFD"sv);
}

TEST(NumberTest, ParsesIntegers) {
  const struct {
    const char* text;
    int32_t as_int;
    uint32_t as_uint;
    uint64_t as_uint64;
  } kCases[] = {
      {"", 0, 0, 0},
      {"-", 0, 0, 0},
      {" \r\n\t\f+12.7 ", 12, 12, 12},
      {"007x", 7, 7, 7},
      {"x7", 0, 0, 0},
      {"--5", 0, 0, 0},
      {"- 5", 0, 0, 0},
      {"-4", -4, 4294967292u, 18446744073709551612u},
      {"2147483647", 2147483647, 2147483647u, 2147483647u},
      {"2147483648", 2147483647, 2147483648u, 2147483648u},
      {"-2147483648", INT32_MIN, 2147483648u, 18446744071562067968u},
      {"-2147483649", INT32_MIN, 2147483647u, 18446744071562067967u},
      {"4294967295", INT32_MAX, 4294967295u, 4294967295u},
      {"-4294967296", INT32_MIN, 4294967295u, 18446744069414584320u},
      {"18446744073709551615", INT32_MAX, 4294967295u, UINT64_MAX},
      {"-99999999999999999999999999", INT32_MIN, 4294967295u, UINT64_MAX},
      {"99999999999999999999999999", INT32_MAX, 4294967295u, UINT64_MAX},
  };
  for (const auto& c : kCases) {
    EXPECT_EQ(ParseInt(c.text), c.as_int) << c.text;
    EXPECT_EQ(ParseUInt(c.text), c.as_uint) << c.text;
    EXPECT_EQ(ParseUInt64(c.text), c.as_uint64) << c.text;
  }
}

TEST(NumberTest, ParsesDoubles) {
  const std::string zeros(400, '0');
  const double most = std::numeric_limits<double>::max();
  const std::pair<double, PTableau<std::string>> kCases[] = {
      {0, {"", ".", "+", "-.", "nan", "inf", "x1", "0x10", "." + zeros + "1"}},
      {5, {"5", "5.", "+5", "5-3", "5e5", " \t5\r\n", "5,1", zeros + "5"}},
      {-5, {"-5", "--5", "+-5", "-5.0"}},
      {-0.5, {"-.5", "-0.50", "-.5.5", "-.5e1"}},
      {most, {"1" + zeros}},
      {-most, {"-1" + zeros + ".5"}}};
  for (const auto& [value, texts] : kCases) {
    for (const std::string& text : texts) EXPECT_EQ(ParseDouble(text), value) << text;
  }
}

TEST(NumberTest, FormatsDoubles) {
  for (const char* text : {"0", "5", "-0.5", "0.1", "1000000", "10000000000000000000000", "0.0000001", "595.276"}) {
    EXPECT_EQ(FormatDouble(ParseDouble(text)), text);
  }
  for (const double value : {-0.0, double{NAN}, double{INFINITY}, -double{INFINITY}})
    EXPECT_EQ(FormatDouble(value), "0");
  EXPECT_EQ(FormatDouble(1.0 / 3), "0.3333333333333333");

  std::mt19937_64 random(7);
  for (int round = 0; round < 20000; ++round) {
    // Random bits, then values of the size of page coordinates.
    const double any = std::bit_cast<double>(random());
    const double usual = static_cast<double>(static_cast<int64_t>(random() % 2000000000) - 1000000000) / 1e6;
    for (const double value : {any, usual}) {
      const Chaine text = FormatDouble(value);
      ASSERT_EQ(text.View().find_first_not_of("0123456789.-"), std::string_view::npos) << text.View();
      ASSERT_EQ(ParseDouble(text), std::isfinite(value) ? value : 0) << text.View();
    }
  }
  for (const double value : {5e-324, 2.2250738585072014e-308, 1.7976931348623157e308}) {
    EXPECT_EQ(ParseDouble(FormatDouble(value)), value);
  }
}

TEST(NumberTest, FormatsIntegers) {
  EXPECT_EQ(FormatInt(INT64_MIN), "-9223372036854775808");
  EXPECT_EQ(FormatUInt(UINT64_MAX), "18446744073709551615");
  Chaine out = "x";
  AppendPadded(&out, 42, 10);
  AppendPadded(&out, 123456, 5);
  AppendPadded(&out, 0, 0);
  EXPECT_EQ(out, "x00000000421234560");
}

TEST(DiagnosticsTest, WarningsAreDistinctBoundedAndDescribed) {
  ZDiagnostics diagnostics;
  diagnostics.SetFailure("no \"startxref\"");
  diagnostics.WarnObject(12, 0, "what is wrong", 77);
  diagnostics.WarnAt(0, "what is wrong");
  diagnostics.Warn("what is wrong");
  diagnostics.WarnObject(12, 0, "what is wrong", 77);
  std::string described;
  for (const ZDiagnostics::Warning& warning : diagnostics.Warnings()) {
    described += ZDiagnostics::Describe(warning).ToString() + "\n";
  }
  EXPECT_EQ(described, "object 12 0: what is wrong\noffset 0: what is wrong\nwhat is wrong\n");

  const ZDiagnostics before = diagnostics;
  for (uint32_t number = 1; number <= 5000; ++number) diagnostics.WarnObject(number, 0, "missing");
  diagnostics.WarnObject(1, 0, "missing");
  EXPECT_EQ(diagnostics.Warnings().Size(), ZDiagnostics::kMaxWarnings);
  EXPECT_EQ(diagnostics.DroppedCount(), 5003 - ZDiagnostics::kMaxWarnings);
  EXPECT_EQ(before.Warnings().Size(), 3u);
  EXPECT_EQ(before.Failure(), "no \"startxref\"");

  diagnostics.Clear();
  EXPECT_TRUE(diagnostics.Failure().IsEmpty());
  EXPECT_EQ(diagnostics.Warnings().Size() + diagnostics.DroppedCount(), 0u);
}

TEST(TextTest, EveryLineEndBecomesTheOneAskedFor) {
  const struct {
    const char* text;
    const char* expected;
  } kCases[] = {{"", ""}, {"a", "a"}, {"a\r\nb\rc\nd", "a|b|c|d"}, {"\r\r\n\n", "|||"}, {"é\r\n", "é|"}};
  for (const auto& c : kCases) EXPECT_EQ(WithLineEnds(c.text, "|"), c.expected) << c.text;
}

}  // namespace
}  // namespace zforms
