#include "zforms/pdf/parser/parser.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/cpu_time.h"
#include "tests/support/pdf_text.h"
#include "tests/support/test_document.h"
#include "tests/support/words.h"
#include "zforms/pdf/crypt/encryption.h"
#include "zforms/pdf/dictionary_node.h"
#include "zforms/pdf/numeric_node.h"
#include "zforms/pdf/reference_node.h"
#include "zforms/pdf/stream_node.h"

namespace zforms {
namespace {

using namespace std::string_literals;

PdfText Catalog(std::string_view line_end = "\n") {
  return std::move(PdfText(line_end).Header().Object(1, "<</Type/Catalog>>"));
}

// A file whose object 4 is this text, including its header.
Chaine WithObjectText(std::string_view text) {
  return Catalog().Object(6, "3").At(4).Raw(text).Raw("\n").Xref().Trailer("/Root 1 0 R").Bytes();
}

TEST(ParserTest, FrameChecksFailWithTheirReason) {
  const std::string good = Catalog().Xref().Trailer("/Root 1 0 R").Bytes().ToString();
  const std::string at_xref = std::to_string(good.find("xref"));
  const std::string head = "%PDF-1.4\n%c\n1 0 obj <<>> endobj\n";
  const struct {
    std::string file, reason;
  } cases[] = {
      {good, ""},
      {good + "junk after the end\n", ""},
      {"", "not a PDF file: it does not begin with \"%PDF-\""},
      {" " + good, "not a PDF file: it does not begin with \"%PDF-\""},
      {"%PDF-1.4 startxref 0 %%EOF", "the header line does not end"},
      {Replaced(good, "%%EOF", "%%E0F"), "the file is cut short: \"%%EOF\" is missing"},
      {"%PDF-1.4\n%%EOF\n", "the file ends after its header"},
      {"%PDF-1.4\r\n\r\nstartxref 0 %%EOF\n", "the file ends after its header"},
      {head + "%%EOF", "\"startxref\" is missing"},
      {head + "%%EOF\nstartxref\n12\n", "\"startxref\" is missing"},
      {head + "startxref\n9999\n%%EOF", "the cross-reference offset is past the end of the file"},
      {head + "startxref\n0\n%%EOF", "no cross-reference section at the stated offset"},
      {head + "startxref\n12\n%%EOF", "the object at the cross-reference offset is not a cross-reference stream"},
      {Replaced(good, "trailer", "trailor"), "the cross-reference section has no trailer"},
      {Replaced(good, "<</Size 2 /Root 1 0 R>>", "[1 2]"), "the trailer is not a dictionary"},
      {Replaced(good, "<</Size 2 /Root 1 0 R>>", ""), "the trailer is not a dictionary"},
      {Replaced(good, "/Root 1", "/Encrypt 9 0 R/Root 1"),
       "the encryption dictionary that the trailer refers to is missing"},
      {Replaced(good, "startxref\n" + at_xref, "startxref " + at_xref + "\t\f\r\n"), ""},
  };
  ZPDFParser parser;
  for (const auto& [file, reason] : cases) {
    EXPECT_EQ(parser.ReadFromRaw(file, "pw"), reason.empty()) << file;
    EXPECT_EQ(parser.Diagnostics().Failure(), reason) << file;
    EXPECT_EQ(parser.UserPassword(), "pw");
    EXPECT_EQ(parser.TrailerDico() != nullptr, reason.empty());
    EXPECT_EQ(ValueOf(parser, 1), reason.empty() ? "<</Type/Catalog>>" : "none") << file;
    EXPECT_EQ(parser.XRefOffset(), reason.empty() ? good.find("xref") : 0);
  }
  EXPECT_FALSE(parser.Read("/no/such/file.pdf", ""));
  EXPECT_FALSE(parser.Diagnostics().Failure().IsEmpty());
  EXPECT_EQ(parser.Root(), nullptr);
}

TEST(ParserTest, AccessorsOfTheFrame) {
  ZPDFParser parser;
  for (const char* line_end : {"\n", "\r", "\r\n"}) {
    PdfText text(line_end);
    text.Header("1.3")
        .Object(1, "<</AcroForm 2 0 R/ViewerPreferences<</HideMenubar true>>>>")
        .Object(2, "<</Fields[]>>");
    text.Xref().Trailer("/Root 1 0 R/ID[(first)<41>]");
    ASSERT_TRUE(parser.ReadFromRaw(text.Bytes(), ""));
    EXPECT_EQ(parser.PDFVersion(), "%PDF-1.3");
    EXPECT_EQ(TextOf(parser.AcroForm()), "<</Fields[]>>");
    EXPECT_EQ(TextOf(parser.ViewerPreferences()), "<</HideMenubar true>>");
    EXPECT_EQ(parser.IDOriginal() + "+" + parser.IDModified(), "first+A");
    EXPECT_FALSE(parser.IsEncrypted());
    EXPECT_TRUE(parser.CanBeDecrypted());
  }
  ASSERT_TRUE(parser.ReadFromRaw(Catalog().Xref().Trailer("/Root 9 0 R").Bytes(), ""));
  EXPECT_EQ(parser.Root(), nullptr);
  EXPECT_EQ(parser.AcroForm(), nullptr);
  EXPECT_TRUE(parser.IDOriginal().IsEmpty());
}

// Two sections; the first one in the file is used only when the file is linearized.
TEST(ParserTest, LinearizedOnlyWhereTheFirstObjectSaysSo) {
  const struct {
    const char *first, *before_xref;
    int excess;
    bool linearized;
  } cases[] = {
      {"<</Linearized 1/L LLLLLL>>", "", 0, true},
      {"<</L LLLLLL /Linearized 1 % (\n/H[(>>) 1]>>", "", 0, true},
      {"<</Linearized 1/L LLLLLL>>", "startxref\n0\n", 0, true},
      {"<</Linearized 1/L LLLLLL>>", "", 1, false},
      {"<</Linearized 0/L LLLLLL>>", "", 0, false},
      {"<</L LLLLLL>>", "", 0, false},
      {"[/Linearized 1/L LLLLLL]", "", 0, false},
      {"<</Linearized 1/L LLLLLL", "", 0, true},
  };
  for (const auto& c : cases) {
    for (const bool second_line : {true, false}) {
      PdfText text;
      second_line ? text.Header() : text.Line("%PDF-1.4");
      text.Object(9, c.first).Raw(c.before_xref).Object(1, "<</Type/Catalog>>").Xref().Trailer("/Root 1 0 R/Front 1");
      text.Object(9, "(new)").Xref().Trailer("/Root 1 0 R");
      const std::string digits = std::to_string(1000000 + text.Size() + static_cast<size_t>(c.excess));
      ZPDFParser parser;
      ASSERT_TRUE(parser.ReadFromRaw(Replaced(text.Bytes().ToString(), "LLLLLL", digits.substr(1)), "")) << c.first;
      EXPECT_EQ(parser.IsLinearized(), c.linearized && second_line) << c.first;
      EXPECT_EQ(parser.TrailerDico()->Exist("/Front"), parser.IsLinearized()) << c.first;
      const std::string_view file = parser.RawData();
      EXPECT_EQ(parser.XRefOffset(), (parser.IsLinearized() ? file.find("\nxref") : file.rfind("\nxref")) + 1);
      // Object 9 was read to check for linearization; afterwards it must be the version of the section in use.
      EXPECT_TRUE(parser.IsLinearized() || ValueOf(parser, 9) == "(new)") << ValueOf(parser, 9);
    }
  }
}

TEST(ParserTest, TableVariants) {
  constexpr const char* kTrailer = "trailer\n<</Size 3/Root 1 0 R>>\n";
  constexpr const char* kFree = "0000000000 65535 f \n";
  const struct {
    std::string before, table, trailer;
    const char* objects;  // 1, 2, 5: found or not
    bool warns;
  } cases[] = {
      {"", std::string("0 3\n") + kFree + "@1 00000 n \n@2 00000 n \n", kTrailer, "12-", false},
      {"", "0 1\r0000000000 65535 f\r1 2\r@1 00000 n\r@2 00000 n\r", kTrailer, "12-", false},
      {"", "1 2\r\n@1 00000 n\r\n@2 00000 n\r\n", kTrailer, "12-", false},
      {"", "1  2  \n  @1 \t00000   n\n\n\n@2\t0 n\n5 1\n@5 00000 n\n\n", kTrailer, "125", false},
      {"\r\n \t", "1 2\n@1 00000 n \n@2 00000 n \n", kTrailer, "12-", false},
      {"", "1 2\n@1 00000 n \n@2 00000 n \n", "trailer<</Size 3/Root 1 0 R>>", "12-", false},
      {"", "1 2\n@1 00000 n \n@2 00000 n \n", " trailer <</Size 3/Root 1 0 R>>", "12-", false},
      {"", "1 2\n@1 00000 n \n@2 00000 n \n", "trailer % (\n%>>\n<</Size 3/Root 1 0 R>>", "12-", false},
      {"", "1 2 @1 00000 n \n", kTrailer, "---", true},
      {"", "1 9\n@1 00000 n \n@2 00000 n \n", kTrailer, "12-", true},
      {"", "1 9\n@1 00000 n \n5 1\n@5 00000 n \n", kTrailer, "1-5", true},
      {"", "1 1\n@1 00000 n \n@2 00000 n \n5 1\n@5 00000 n \n", kTrailer, "1-5", true},
      {"", "1 2\nrubbish\n@2 00000 n \n", kTrailer, "-2-", true},
      {"", "1 2\n@1 00000 n \n@2 00000 n x\n", kTrailer, "1--", true},
      {"", "1 2\n@1 00000 N \n@2 00000 nn\n", kTrailer, "---", true},
      {"", "1 2\n@1 00000 n \n-5 00000 n \n5 1\n@5 00000 n \n", kTrailer, "1-5", true},
      {"", "4294967290 9\n@1 0 n\n@1 0 n\n@1 0 n\n@1 0 n\n@1 0 n\n@1 0 n\n@1 0 n\n@1 0 n\n@1 0 n\n1 1\n@1 00000 n\n",
       kTrailer, "1--", true},
      {"", "1\0 2\n@1\0 00000\0n \n@2 00000 n\n"s, kTrailer, "12-", false},
      {"", "1 2\n@1 0000*0 n \n@2 00000 n \n", kTrailer, "-2-", true},
      {"", "1 2\n@1 00000 n \n@2 00000 n \n", "trailer<</Size 3/Root 1 0 R/Size 3>>", "12-", true},
      {"", "1 2\n@1 00000 n \n@2 00000 n \n", "trailer<</Size 3/A[(/Root 9 0 R)/Root 1 0 R>>", "12-", true},
      {"", "1 1\n99999999999 00000 n \n2 1\n@2 00000 n \n", kTrailer, "-2-", false},
      {"", "1 1\n@1 00000 n \n", "trailer<</Root 1 0 R/A(startxref\n%%EOF)/B 1>>\n", "1--", false},
      {"", "", kTrailer, "---", false},
  };
  for (const auto& c : cases) {
    PdfText text = Catalog();
    text.Object(2, "(two)").Object(5, "(five)").Raw(c.before);
    const size_t start = text.Size() - c.before.size();
    text.Xref(c.table).Raw(c.trailer).Line("startxref").Line(std::to_string(start)).Line("%%EOF");
    ZPDFParser parser;
    ASSERT_TRUE(parser.ReadFromRaw(text.Bytes(), "")) << c.table << parser.Diagnostics().Failure().View();
    EXPECT_EQ(!WarningsOf(parser).empty(), c.warns) << c.table << WarningsOf(parser);
    std::string found;
    for (const uint32_t number : {1U, 2U, 5U}) {
      found += parser.GetObject({number, 0}) == nullptr ? '-' : static_cast<char>('0' + number);
    }
    EXPECT_EQ(found, c.objects) << c.table;
  }
}

TEST(ParserTest, ChainOfSections) {
  PdfText base = Catalog();
  const size_t old_xref = base.Object(2, "(old)").Size();
  base.Xref().Trailer("/Root 1 0 R/Old 1").Object(3, "(new)");
  const size_t new_xref = base.Size();
  const struct {
    std::string prev;
    bool older, warns;
  } cases[] = {
      {"/Prev " + std::to_string(old_xref), true, false},
      {"", false, false},
      {"/Prev 0", false, false},
      {"/Prev 99999", false, true},
      {"/Prev " + std::to_string(new_xref), false, true},
      {"/Prev 20", false, true},
      {"/Prev -1", false, true},
      {"/Prev (text)", false, true},
      {"/Prev 3 0 R", false, true},
      {"/Prev 4 0 R", false, true},
  };
  for (const auto& c : cases) {
    PdfText text = base;
    text.Xref("1 1\n@1 00000 n \n3 1\n@3 00000 n \n1 1\n@1 00000 n \n")
        .Line("trailer<</Root 1 0 R" + c.prev + ">>")
        .End();
    ZPDFParser parser;
    ASSERT_TRUE(parser.ReadFromRaw(text.Bytes(), "")) << c.prev;
    EXPECT_EQ(parser.XRefOffset(), new_xref);
    EXPECT_FALSE(parser.TrailerDico()->Exist("/Old"));
    EXPECT_EQ(ValueOf(parser, 2), c.older ? "(old)" : "none") << c.prev;
    EXPECT_EQ(ValueOf(parser, 3), "(new)") << c.prev;
    EXPECT_EQ(!WarningsOf(parser).empty(), c.warns) << c.prev << WarningsOf(parser);
    EXPECT_EQ(parser.SectionCount(), c.older ? 2 : 1);
  }
  // The older section leads back to the newer one.
  PdfText loop = Catalog();
  loop.Object(2, "(old)").Xref("1 2\n@1 00000 n \n@2 00000 n \n").Line("trailer<</Prev NNNN>>").End();
  loop.Object(3, "(new)").Xref().Trailer("/Root 1 0 R");
  const std::string newest = std::to_string(10000 + loop.XrefOffset()).substr(1);
  ZPDFParser parser;
  ASSERT_TRUE(parser.ReadFromRaw(Replaced(loop.Bytes().ToString(), "NNNN", newest), ""));
  EXPECT_EQ(ValueOf(parser, 2) + ValueOf(parser, 3), "(old)(new)");
  EXPECT_EQ(parser.SectionCount(), 2U);
  EXPECT_NE(WarningsOf(parser).find("forms a loop"), std::string::npos);
}

TEST(ParserTest, NewestRecordWinsWhateverItsGeneration) {
  PdfText text = Catalog();
  text.Object(4, "(a)").Object(5, "(b)", 7).Object(6, "(c)").Object(7, "(d)").Xref().Trailer("/Root 1 0 R");
  text.Object(4, "(a1)", 1).Object(5, "(b1)").Free(6).Free(7).Xref().Trailer("/Root 1 0 R");
  text.Object(7, "(d2)", 1).Xref().Trailer("/Root 1 0 R");
  ZPDFParser parser;
  ASSERT_TRUE(parser.ReadFromRaw(text.Bytes(), ""));
  const struct {
    uint32_t number, generation;
    const char* value;
  } cases[] = {{4, 0, "none"}, {4, 1, "(a1)"}, {5, 7, "none"}, {5, 0, "(b1)"}, {6, 0, "none"},
               {6, 1, "none"}, {7, 0, "none"}, {7, 1, "(d2)"}, {8, 0, "none"}, {0, 65535, "none"}};
  for (const auto& c : cases) {
    EXPECT_EQ(ValueOf(parser, c.number, c.generation), c.value) << c.number << " " << c.generation;
    EXPECT_EQ(ValueOf(parser, c.number, c.generation), c.value) << c.number << " " << c.generation;
  }
  EXPECT_EQ(WarningsOf(parser), "");
  EXPECT_EQ(parser.GetObject({4, 1}), parser.GetObject({4, 1}));
  // Object 0 is the head of the free list, and generations have at most 16 bits.
  PdfText odd = Catalog();
  odd.Object(0, "(zero)").Object(4, "(high)", 65536).Object(5, "(last)", 65535);
  odd.Xref("0 1\n@0 0 n\n4 2\n@4 65536 n\n@5 65535 n\n").Trailer("/Root 1 0 R");
  for (const bool recover : {false, true}) {
    parser.SetRecovery(recover);
    ASSERT_TRUE(parser.ReadFromRaw(recover ? odd.Truncate(5).Bytes() : odd.Bytes(), ""));
    EXPECT_EQ(parser.IsRecovered(), recover);
    EXPECT_EQ(ValueOf(parser, 0) + ValueOf(parser, 4, 65536) + ValueOf(parser, 5, 65535), "nonenone(last)");
  }
  PdfText stream = Catalog();
  ASSERT_TRUE(parser.ReadFromRaw(stream.Object(5, "(last)", 65535).XrefStream(6, "/Root 1 0 R").Bytes(), ""));
  EXPECT_EQ(ValueOf(parser, 5, 65535), "(last)");
}

TEST(ParserTest, ObjectTexts) {
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

// The value that is read, and the warnings for each guess. An object is read the same at any place of the file.
TEST(ParserTest, SoundAndDamagedObjects) {
  const std::string deep(600, '[');
  const struct {
    std::string text, value;
    std::vector<std::string> warnings;
  } cases[] = {
      {R"(<</V(C:\\(old)\\x)/T(n)>>)", R"(<</V(C:\\\(old\)\\x)/T(n)>>)", {}},
      {R"([(\\)(a\\\)b)(\()])", R"([(\\)(a\\\)b)(\()])", {}},
      {"[/F#231 /A#23B #2x]", "[/F#231/A#23B null ]", {"\"#2x\" is not a word of PDF"}},
      {"[/A#2 /B#GG/C##41]", "[/A#232/B#23GG/C#23A ]", {"/A#2\" holds", "/B#GG\" holds", "/C##41\" holds"}},
      {"<</A\0 1\0/B\0[2\0 3]\0/C<4\0001>>>\0"s, "<</A 1/B[2 3 ]/C<41>>>", {}},
      {"[1 % ]\n2 %(\n0 %)\nR[+1 -.5 5. 4.25]]", "[1 2 0 R[+1 -.5 5. 4.25 ]]", {}},
      {"[1 ) 2 ]", "[1 2 ]", {"\")\" does not belong here"}},
      {"[1 >> 2 > { 3]", "[1 2 3 ]", {"\">>\" does not", "\">\" does not", "\"{\" does not"}},
      {"<</A[1 2 /B(x)/C 5>>", "<</A[1 2/B(x)/C 5 ]>>", {"an array is not closed"}},
      {"[<</A 1]", "[<</A 1>>]", {"a dictionary is not closed"}},
      {"<</A 1", "<</A 1>>", {"a dictionary is not closed"}},
      {"<</A /B 1/C>>", "<</A/B/C null>>", {"a value without a key", "\"/C\" has no value"}},
      {"<</A ) 1 2/B]3>>", "<</A 1/B 3>>", {"\")\" does not", "a value without a key", "\"]\" does not"}},
      {"<</A 1/B 2/A 3>>", "<</A 1/B 2/A 3>>", {"\"/A\" is in its dictionary more than once"}},
      {"<41G2>", "<4100>", {"a hexadecimal string has a character that is no digit"}},
      {"[<41 4 /B<42>]", "[<4140>/B<42>]", {"a hexadecimal string is not closed"}},
      {"[<41", "[<41>]", {"a hexadecimal string is not closed", "an array is not closed"}},
      {"[1 2 (a(b) ", "[1 2(a\\(b\\))]", {"a string is not closed", "an array is not closed"}},
      {"[1 R trve 1.2.3 --5]", "[1 null trve 1.2.3 --5 ]", {"reference lacks", "\"trve\"", "\"1.2.3\"", "\"--5\""}},
      {"5 6", "5", {"\"endobj\" is missing"}},
      {") ] 7", "7", {"\")\" does not", "\"]\" does not"}},
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

TEST(ParserTest, Streams) {
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

TEST(ParserTest, ReferencesThatLeadNowhereEnd) {
  PdfText text = Catalog();
  text.Object(2, "3 0 R")
      .Object(3, "4 0 R")
      .Object(4, "(end)")
      .Object(5, "6 0 R")
      .Object(6, "5 0 R")
      .Object(7, "7 0 R");
  text.Object(8, "<</Kids[8 0 R 9 0 R]/Parent 9 0 R>>").Object(9, "<</Kids[8 0 R]/Missing 77 0 R/Wrong 4 3 R>>");
  text.Stream(10, "<</Length 11 0 R>>", "abc").Stream(11, "<</Length 10 0 R>>", "defg");
  text.Xref().Trailer("/Root 1 0 R/All[2 0 R 5 0 R 7 0 R 8 0 R 10 0 R 11 0 R]/Two 2 0 R/Five 5 0 R/Seven 7 0 R");
  ZPDFParser parser;
  ASSERT_TRUE(parser.ReadFromRaw(text.Bytes(), ""));
  ZPDFNodeDictionary& trailer = *parser.TrailerDico();
  EXPECT_EQ(trailer.GetStringValue("/Two"), "end");
  EXPECT_EQ(TextOf(trailer.GetTarget("/Five")) + TextOf(trailer.GetTarget("/Seven")), "nullnull");
  EXPECT_EQ(trailer.GetStringValue("/Five"), "");
  ZPDFObjectMap used;
  parser.GetUsedObjects(used);
  EXPECT_EQ(used.size(), 11U);
  EXPECT_EQ(used.begin()->second, parser.GetObject({1, 0}));
}

TEST(ParserTest, LongChainsDoNotRecurse) {
  constexpr uint32_t kCount = 100000;
  PdfText next = Catalog();
  for (uint32_t i = 2; i <= kCount; i++) next.Object(i, "<</Next " + std::to_string(i % kCount + 1) + " 0 R>>");
  next.Xref().Trailer("/Root 2 0 R");
  // The length of each stream is in the next stream.
  PdfText lengths = Catalog();
  for (uint32_t i = 2; i <= kCount; i++) lengths.Stream(i, "<</Length " + std::to_string(i + 1) + " 0 R>>", "x");
  lengths.Object(kCount + 1, "1").Xref().Trailer("/Root 2 0 R");
  PdfText references = Catalog();
  for (uint32_t i = 2; i <= kCount; i++) references.Object(i, std::to_string(i + 1) + " 0 R");
  references.Xref().Trailer("/Root 2 0 R");
  const std::pair<const PdfText*, size_t> cases[] = {{&next, kCount}, {&references, kCount - 1}, {&lengths, 1}};
  for (const auto& [text, count] : cases) {
    ZPDFParser parser;
    ASSERT_TRUE(parser.ReadFromRaw(text->Bytes(), ""));
    ZPDFObjectMap used;
    parser.GetUsedObjects(used);
    EXPECT_EQ(used.size(), count);
    for (const auto& [id, object] : used) ASSERT_EQ(object->GetID(), id);
  }
}

TEST(ParserTest, AddIndirectObjectNumbersAboveAll) {
  const struct {
    PdfText text;
    const char* size;
    uint32_t number;
    uint32_t size_after;
  } cases[] = {
      {std::move(Catalog().Object(57, "1")), "58", 58, 59},
      {std::move(Catalog().Object(57, "1")), "60", 58, 61},
      {std::move(Catalog().Object(57, "1")), "5", 58, 59},
      {std::move(Catalog().Object(57, "1")), "4294967295", 58, 59},
      {std::move(Catalog().Object(57, "1").Free(99)), "100", 100, 101},
      {std::move(Catalog().Object(57, "1", 4)), "57 0 R", 58, 59},
  };
  for (const auto& c : cases) {
    PdfText text = c.text;
    text.Xref().Line("trailer<</Root 1 0 R/Size " + std::string(c.size) + ">>").End();
    ZPDFParser parser;
    ASSERT_TRUE(parser.ReadFromRaw(text.Bytes(), ""));
    ZPDFNodeIndirectObject* added = parser.AddIndirectObject();
    EXPECT_EQ(added->GetID(), ZPDFObjectIdentifier(c.number, 0));
    EXPECT_EQ(parser.TrailerDico()->GetUIntValue("/Size"), c.size_after) << c.size;
    EXPECT_TRUE(added->IsModified() && parser.TrailerDico()->IsModified());
    EXPECT_EQ(parser.GetObject({c.number, 0}), added);
    EXPECT_EQ(ValueOf(parser, c.number), "");
    const std::unique_ptr<ZPDFNodeIndirectReference> reference(added->AllocReference());
    added->SetChild(new ZPDFNodeNumeric(7));
    EXPECT_EQ(reference->GetTarget()->GetIntValue(), 7);
    EXPECT_EQ(parser.AddIndirectObject()->GetID().Number(), c.number + 1);
    EXPECT_EQ(parser.TrailerDico()->GetUIntValue("/Size"), c.size_after + 1);
  }
  ZPDFParser empty;
  EXPECT_EQ(empty.AddIndirectObject()->GetID().Number(), 1000U);
  EXPECT_EQ(empty.AddIndirectObject()->GetID().Number(), 1001U);
  EXPECT_EQ(empty.TrailerDico()->GetUIntValue("/Size"), 1002U);
  // Numbers near the limit still leave room for more.
  ZPDFParser high;
  ASSERT_TRUE(
      high.ReadFromRaw(Catalog().Xref("4294967294 1\n@1 0 n\n1 1\n@1 0 n\n").Trailer("/Root 1 0 R").Bytes(), ""));
  EXPECT_EQ(high.AddIndirectObject()->GetID().Number(), 2U);
  EXPECT_EQ(high.AddIndirectObject()->GetID().Number(), 3U);
  EXPECT_NE(high.Root(), nullptr);
}

TEST(ParserTest, ModifiedObjectsInIdentifierOrder) {
  PdfText text = Catalog();
  for (uint32_t i = 2; i < 30; i++) text.Object(i, "<</A<</B[1(x)]>>>>", i % 3);
  ZPDFParser parser;
  ASSERT_TRUE(parser.ReadFromRaw(text.Xref().Trailer("/Root 1 0 R").Bytes(), ""));
  const auto modified = [&parser] {
    std::string numbers;
    for (const ZPDFNodeIndirectObject* object : parser.ModifiedObjects()) {
      numbers += std::to_string(object->GetID().Number()) + " ";
    }
    return numbers;
  };
  EXPECT_EQ(modified(), "");
  parser.AddIndirectObject();
  for (const uint32_t number : {23U, 4U, 9U, 11U}) {
    auto* dictionary = NodeCast<ZPDFNodeDictionary>(parser.GetObject({number, number % 3})->GetDirectAt(0));
    NodeCast<ZPDFNodeDictionary>(dictionary->GetTarget("/A"))
        ->GetTarget("/B")
        ->GetTargetAt(1)
        ->SetModified(number != 9, false);
  }
  EXPECT_EQ(modified(), "4 11 23 30 ");
  parser.ResetModifiedObjects();
  EXPECT_EQ(modified(), "");
}

TEST(ParserTest, CopiesShareBytesAndOwnTheirNodes) {
  PdfText text = Catalog();
  text.Object(2, "<</A(old)/Next 3 0 R>>").Object(3, "<</B(old)>>").Object(4, "<</C(old)>>");
  text.Xref().Trailer("/Root 1 0 R/First 2 0 R");
  auto original = std::make_unique<ZPDFParser>();
  ASSERT_TRUE(original->ReadFromRaw(text.Bytes(), "pw"));
  const auto set = [](ZPDFParser& parser, uint32_t number, const char* key, const char* value) {
    NodeCast<ZPDFNodeDictionary>(parser.GetObject({number, 0})->GetDirectAt(0))->SetValue(key, value);
  };
  set(*original, 3, "/B", "edited");
  original->AddIndirectObject()->SetChild(new ZPDFNodeNumeric(5));
  ZPDFParser assigned;
  ASSERT_TRUE(assigned.ReadFromRaw(Catalog().Object(8, "8").Xref().Trailer("/Root 1 0 R").Bytes(), ""));
  assigned.GetObject({8, 0});
  ContentOf(*original);
  assigned = *original;
  EXPECT_EQ(TextOf(NodeCast<ZPDFNodeDictionary>(assigned.TrailerDico()->GetTarget("/First"))->GetTarget("/Next")),
            "<</B(edited)>>");
  ZPDFParser copy(assigned);
  EXPECT_TRUE(copy.RawData().SharesBytesWith(original->RawData()));
  EXPECT_EQ(copy.UserPassword(), "pw");
  EXPECT_EQ(ContentOf(copy), ContentOf(*original));
  EXPECT_EQ(copy.ModifiedObjects().size(), 2U);
  EXPECT_EQ(assigned.GetObject({8, 0}), nullptr);
  // Edits, and references resolved before and after, affect only their own document.
  set(*original, 2, "/A", "original");
  set(copy, 3, "/B", "copy");
  original.reset();
  auto* first = NodeCast<ZPDFNodeDictionary>(copy.TrailerDico()->GetTarget("/First"));
  EXPECT_EQ(first, copy.GetObject({2, 0})->GetDirectAt(0));
  EXPECT_EQ(first->GetStringValue("/A"), "old");
  EXPECT_EQ(TextOf(first->GetTarget("/Next")), "<</B(copy)>>");
  EXPECT_EQ(ValueOf(assigned, 3) + ValueOf(assigned, 4) + ValueOf(assigned, 5), "<</B(edited)>><</C(old)>>5");
  EXPECT_EQ(copy.AddIndirectObject()->GetID().Number(), 6U);
  EXPECT_EQ(assigned.GetObject({6, 0}), nullptr);
}

// Files in which reading one object could read far into the others, or search in vain.
TEST(ParserTest, DamagedObjectsCostNoMoreThanAFewTimesTheFile) {
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

TEST(ParserTest, TruncatedAnywhereItStillEnds) {
  PdfText text("\r\n");
  text.Header().Object(1, "<</Type/Catalog/A[(s\\)) <4142> /N#20 1.5 true null 2 0 R]>>");
  text.Stream(2, "<</Length 3 0 R/F/None>>", "abc endstream ).").Object(3, "16");
  text.Object(8, "<</Filter/Standard/V 1/R 2/P -4/O(owner)/U(user)>>").Xref().Trailer("/Root 1 0 R/Encrypt 8 0 R");
  text.Object(2, "[<</K(v)>>]").Free(3).Xref().Trailer("/Root 1 0 R/Encrypt 8 0 R");
  const std::string whole = text.Bytes().ToString();
  size_t opened = 0;
  for (size_t length = 0; length <= whole.size(); length++) {
    for (const bool with_end : {false, true}) {
      ZPDFParser parser;
      const std::string cut =
          whole.substr(0, length) + (with_end ? "\nstartxref\n" + std::to_string(text.XrefOffset()) + "\n%%EOF" : "");
      if (!parser.ReadFromRaw(cut, "")) {
        EXPECT_FALSE(parser.Diagnostics().Failure().IsEmpty());
        continue;
      }
      opened++;
      EXPECT_FALSE(ContentOf(parser).empty());
    }
  }
  EXPECT_GT(opened, 10U);
}

}  // namespace
}  // namespace zforms
