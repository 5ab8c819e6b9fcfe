// The header and the end of a file, its cross-reference tables and trailers.

#include <gtest/gtest.h>

#include <string>
#include <utility>

#include "tests/support/pdf_text.h"
#include "tests/support/test_document.h"
#include "tests/support/words.h"

namespace zforms {
namespace {

using namespace std::string_literals;

TEST(ParserFrame, FrameChecksFailWithTheirReason) {
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
      {"%PDF-1.4 startxref 0 %%EOF", "no line end follows the header (\"%PDF-\")"},
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

TEST(ParserFrame, AccessorsOfTheFrame) {
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

// Files with two sections, as tables or as streams. The section that is first in the file is used only when the file is
// linearized.
TEST(ParserFrame, LinearizedOnlyWhereTheFirstObjectSaysSo) {
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
    for (const auto& [second_line, streams] :
         {std::pair(true, false), std::pair(true, true), std::pair(false, false)}) {
      PdfText text;
      const auto section = [&text, streams = streams](uint32_t number, const char* trailer) {
        streams ? text.XrefStream(number, trailer) : text.Xref().Trailer(trailer);
        return text.XrefOffset();
      };
      second_line ? text.Header() : text.Line("%PDF-1.4");
      text.Object(9, c.first);
      if (!streams) text.Raw(c.before_xref).Object(1, "<</Type/Catalog>>");
      const size_t first = section(8, "/Root 1 0 R/Front 1");
      text.Object(1, "<</Type/Catalog>>").Object(9, "(new)");
      const size_t last = section(7, "/Root 1 0 R");
      const std::string digits = std::to_string(1000000 + text.Size() + static_cast<size_t>(c.excess));
      ZPDFParser parser;
      ASSERT_TRUE(parser.ReadFromRaw(Replaced(text.Bytes().ToString(), "LLLLLL", digits.substr(1)), "")) << c.first;
      EXPECT_EQ(parser.IsLinearized(), c.linearized && second_line) << c.first;
      EXPECT_EQ(parser.TrailerDico()->Exist("/Front"), parser.IsLinearized()) << c.first;
      EXPECT_EQ(parser.XRefOffset(), parser.IsLinearized() ? first : last);
      // Object 9 was read to check for linearization; afterwards it must be the version of the section in use.
      EXPECT_TRUE(parser.IsLinearized() || ValueOf(parser, 9) == "(new)") << ValueOf(parser, 9);
    }
  }
}

TEST(ParserFrame, TableVariants) {
  constexpr const char* kTrailer = "trailer\n<</Size 3/Root 1 0 R>>\n";
  constexpr const char* kFree = "0000000000 65535 f \n";
  const struct {
    std::string before, table, trailer;
    const char* objects;  // which of the objects 1, 2 and 5 are found
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

TEST(ParserFrame, ChainOfSections) {
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
  // "/Prev" of the older section refers to the newer one.
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

TEST(ParserFrame, NewestRecordWinsWhateverItsGeneration) {
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

TEST(ParserFrame, TruncatedAnywhereItStillEnds) {
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
