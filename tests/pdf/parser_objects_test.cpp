// Reading the objects of a file, with and without damage.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/support/cpu_time.h"
#include "tests/support/pdf_text.h"
#include "tests/support/test_document.h"

namespace zforms {
namespace {

using namespace std::string_literals;

// A file whose object 4 is this text, including its header.
Chaine WithObjectText(std::string_view text) {
  return Catalog().Object(6, "3").At(4).Raw(text).Raw("\n").Xref().Trailer("/Root 1 0 R").Bytes();
}

TEST(ParserObjects, ObjectTexts) {
  const struct {
    const char *text, *value;
    bool warns;
  } cases[] = {
      {"4 0 obj\n7\nendobj", "7", false},
      {" \r\n%c\n4 % 9 9\n0 obj 7 endobj", "7", false},
      {"4 0 obj[7]endobj", "[7 ]", false},
      {"004 00 obj/N endobj", "/N", false},
      {"4 0 obj endobj", "", true},
      {"5 0 obj 7 endobj", "none", true},
      {"4 1 obj 7 endobj", "none", true},
      {"4 0 R 7 endobj", "none", true},
      {"4 z0 obj 7 endobj", "none", true},
      {"(4 0 obj) endobj", "none", true},
      {"obj 4 0 obj 7 endobj", "none", true},
      {"4 0 obj 7\n8 0 obj (next) endobj", "7", true},
      {"4 0 obj <</A 1>>\n8 0 obj (next) endobj", "<</A 1>>", true},
      {"4 0 obj <</A(endobj 9 0 obj)/B[(])] >>\nendobj", "<</A(endobj 9 0 obj)/B[(])]>>", false},
      {"4 0 obj << /A 4 0 R >> endobj", "<</A 4 0 R>>", false},
      {"4 0 obj 4 0 R endobj", "4 0 R", false},
  };
  for (const auto& c : cases) {
    ZPDFParser parser;
    ASSERT_TRUE(parser.ReadFromRaw(WithObjectText(c.text), ""));
    EXPECT_EQ(WarningsOf(parser), "") << c.text;
    EXPECT_EQ(ValueOf(parser, 4), c.value) << c.text;
    EXPECT_EQ(!WarningsOf(parser).empty(), c.warns) << c.text << WarningsOf(parser);
    EXPECT_TRUE(WarningsOf(parser).starts_with(c.warns ? "object 4 0: " : "")) << WarningsOf(parser);
    EXPECT_EQ(ValueOf(parser, 1), "<</Type/Catalog>>");
  }
}

// The value that is read, and a warning for each repair. The place of the object in the file makes no difference.
TEST(ParserObjects, SoundAndDamagedObjects) {
  const std::string deep(600, '[');
  // A hexadecimal string may have any length.
  const auto hexadecimal = [](size_t bytes, std::string_view byte) {
    std::string digits;
    while (bytes-- > 0) digits += byte;
    return "<" + digits;
  };
  const struct {
    std::string text, value;
    std::vector<std::string> warnings;
  } cases[] = {
      {R"(<</V(C:\\(old)\\x)/T(n)>>)", R"(<</V(C:\\\(old\)\\x)/T(n)>>)", {}},
      {R"([(\\)(a\\\)b)(\()])", R"([(\\)(a\\\)b)(\()])", {}},
      {"[/F#231 /A#23B #2x]", "[/F#231/A#23B null ]", {"\"#2x\" is not a PDF keyword"}},
      {"[/A#2 /B#GG/C##41]", "[/A#232/B#23GG/C#23A ]", {"/A#2\" has", "/B#GG\" has", "/C##41\" has"}},
      {"<</A\0 1\0/B\0[2\0 3]\0/C<4\0001>>>\0"s, "<</A 1/B[2 3 ]/C<41>>>", {}},
      {"[1 % ]\n2 %(\n0 %)\nR[+1 -.5 5. 4.25]]", "[1 2 0 R[+1 -.5 5. 4.25 ]]", {}},
      {"% remark\n 7 % (\n", "7", {}},
      {"[1 ) 2 ]", "[1 2 ]", {"\")\" is unexpected here"}},
      {"[1 >> 2 > { 3]", "[1 2 3 ]", {"\">>\" is unexpected", "\">\" is unexpected", "\"{\" is unexpected"}},
      {"<</A[1 2 /B(x)/C 5>>", "<</A[1 2/B(x)/C 5 ]>>", {"an array is not closed"}},
      {"[<</A 1]", "[<</A 1>>]", {"a dictionary is not closed"}},
      {"<</A 1", "<</A 1>>", {"a dictionary is not closed"}},
      {"<</A /B 1/C>>", "<</A/B/C null>>", {"a value without a key", "\"/C\" has no value"}},
      {"<</A ) 1 2/B]3>>", "<</A 1/B 3>>", {"\")\" is unexpected", "a value without a key", "\"]\" is unexpected"}},
      {"<</A 1/B 2/A 3>>", "<</A 1/B 2/A 3>>", {"\"/A\" occurs more than once in its dictionary"}},
      {hexadecimal(127, "4a") + "5 >", hexadecimal(127, "4A") + "50>", {}},
      {hexadecimal(128, "4a") + ">", hexadecimal(128, "4A") + ">", {}},
      {hexadecimal(128, "4a") + "5>", hexadecimal(128, "4A") + "50>", {}},
      {"<41G2>", "<4100>", {"a hexadecimal string has a character that is not a hexadecimal digit"}},
      {"[<41 4 /B<42>]", "[<4140>/B<42>]", {"a hexadecimal string is not closed"}},
      {"[<41", "[<41>]", {"a hexadecimal string is not closed", "an array is not closed"}},
      {"[1 2 (a(b) ", "[1 2(a\\(b\\))]", {"a string is not closed", "an array is not closed"}},
      {"[1 R trve 1.2.3 --5]", "[1 null trve 1.2.3 --5 ]", {"reference lacks", "\"trve\"", "\"1.2.3\"", "\"--5\""}},
      {"5 6", "5", {"\"endobj\" is missing"}},
      {") ] 7", "7", {"\")\" is unexpected", "\"]\" is unexpected"}},
      {deep + std::string(600, ']'), std::string(501, '[') + std::string(501, ']'), {"nested too deep"}},
  };
  for (const auto& c : cases) {
    ZPDFParser parser;
    ASSERT_TRUE(parser.ReadFromRaw(WithObjectText("4 0 obj " + c.text + " endobj"), ""));
    EXPECT_EQ(ValueOf(parser, 4), c.value) << c.text;
    const auto& warnings = parser.Diagnostics().Warnings();
    ASSERT_EQ(warnings.Size(), c.warnings.size()) << c.text << "\n" << WarningsOf(parser);
    for (size_t i = 0; i < c.warnings.size(); i++) {
      EXPECT_NE(warnings[i].text.View().find(c.warnings[i]), std::string_view::npos) << c.text << WarningsOf(parser);
      EXPECT_EQ(warnings[i].object_number, 4U);
    }
    PdfText packed = Catalog();
    packed.Pack(5, {{4, c.text}}).XrefStream(6, "/Root 1 0 R");
    ZPDFParser reader;
    ASSERT_TRUE(reader.ReadFromRaw(packed.Bytes(), ""));
    EXPECT_EQ(ValueOf(reader, 4), c.value) << c.text;
    EXPECT_EQ(WarningsOf(reader).empty(), c.warnings.empty()) << c.text << WarningsOf(reader);
  }
  // An object with any number of faults gives a bounded number of warnings and takes linear time.
  std::string many;
  for (int i = 0; i < 200000; i++) many += "<x(";
  ZPDFParser parser;
  ASSERT_TRUE(parser.ReadFromRaw(WithObjectText("4 0 obj [" + many + "]"), ""));
  EXPECT_NE(parser.GetObject({4, 0}), nullptr);
  EXPECT_LE(parser.Diagnostics().Warnings().Size(), 21U);
}

TEST(ParserObjects, Streams) {
  const struct {
    std::string text, data;
    bool warns;
  } cases[] = {
      {"<</Length 3>>stream\nabc\nendstream", "abc", false},
      {"<</Length 3>>\r\nstream\r\nabc\r\nendstream", "abc", false},
      {"<</Length 3>>stream\rabc\rendstream", "abc", true},
      {"<</Length 3>> % c\nstream  \nabc\nendstream", "abc", true},
      {"<</Length 3>>stream \t\r\nabcendstream", "abc", true},
      {"<</Length 4>>stream\n\nabc\nendstream", "\nabc", false},
      {"<</Length 0>>stream\nendstream", "", false},
      {"<</Length 0>>stream\r\n\r\nendstream", "", false},
      {"<</Length 16>>stream\na endstream\n b\r\nendstream", "a endstream\n b\r\n", false},
      {"<</Length 14>>stream\na endstream\n b\r\nendstream", "a endstream\n b", false},
      {"<</Length 1>>stream\nabc\nendstream", "abc", true},
      {"<</Length 3>>stream\nabc\nendstream2", "abc", true},
      {"<<>>stream\nendstream", "", true},
      {"<</Length 999>>stream\nabc\r\nendstream", "abc", true},
      {"<</Length -5>>stream\nabc\nendstream", "abc", true},
      {"<</Length(x)>>stream\nabc\nendstream", "abc", true},
      {"<<>>stream\nabc\nendstream", "abc", true},
      {"<</Length 9>>stream\nabc\n", "abc\n ", true},
      {"<</Length 6 0 R>>stream\nabc\nendstream", "abc", false},
      {"<</Length 7 0 R>>stream\nabc\nendstream", "abc", true},
      {"<</Length 4 0 R>>stream\nabc\nendstream", "abc", true},
  };
  for (const auto& c : cases) {
    ZPDFParser parser;
    ASSERT_TRUE(parser.ReadFromRaw(WithObjectText("4 0 obj " + c.text + " endobj"), ""));
    ZPDFNodeIndirectObject* object = parser.GetObject({4, 0});
    ASSERT_NE(object, nullptr) << c.text;
    const auto* stream = NodeCast<ZPDFNodeStream>(object->GetDirectAt(0));
    ASSERT_NE(stream, nullptr) << c.text;
    EXPECT_EQ(stream->Data(), c.data) << c.text;
    EXPECT_EQ(stream->Dico()->GetUIntValue("/Length"), c.data.size()) << c.text;
    EXPECT_EQ(!WarningsOf(parser).empty(), c.warns) << c.text << WarningsOf(parser);
    EXPECT_FALSE(object->IsModified()) << c.text;
  }
}

// Files in which reading one object could read or search far into the others.
TEST(ParserObjects, DamagedObjectsCostNoMoreThanAFewTimesTheFile) {
  constexpr uint32_t kCount = 50000;
  const struct {
    const char *object, *end;
  } cases[] = {
      {" 0 obj <</A 1>>\n", ""},
      {" 0 obj (unclosed\n", ""},
      {" 0 obj (\n", ") endobj) endobj"},
      {" 0 obj <</A <<\n", ""},
      {" 0 obj %", ""},
      {" 0 obj <</Length 9>>stream\nabc\nendobj\n", ""},
      {" 0 obj <</Length 99>>stream\n", "endstream endobj"},
      {nullptr, "\n"},    // all records point to the same blanks
      {nullptr, "%%\n"},  // all records point to the same comment
  };
  for (const auto& c : cases) {
    PdfText text = Catalog();
    for (uint32_t i = 2; i <= kCount; i++) {
      text.At(i);
      if (c.object != nullptr) text.Raw(std::to_string(i) + c.object);
    }
    if (c.object == nullptr) text.Raw(std::string(1000000, c.end[0]));
    const Chaine bytes = text.Raw(c.end).Raw("\n").Xref().Trailer("/Root 1 0 R").Bytes();
    const CpuTime time;
    ZPDFParser parser;
    ASSERT_TRUE(parser.ReadFromRaw(bytes, ""));
    for (uint32_t i = 2; i <= kCount; i++) ASSERT_EQ(parser.GetObject({i, 0}) == nullptr, c.object == nullptr);
    EXPECT_LT(time.Seconds(), 10) << c.object << c.end;
  }
}

}  // namespace
}  // namespace zforms
