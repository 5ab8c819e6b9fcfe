// Cross-reference streams, object streams and hybrid files.

#include <gtest/gtest.h>

#include <string>

#include "tests/support/form_text.h"
#include "tests/support/temp_path.h"
#include "zforms/pdf/dictionary_node.h"
#include "zforms/pdf/stream_node.h"

namespace zforms {
namespace {

constexpr const char* kForm = "<</Fields[10 0 R 11 0 R]>>";
constexpr const char* kA = "<</FT/Tx/T(a)/V(1)/TU(a text that is longer than a node holds in itself)>>";
constexpr const char* kB = "<</FT/Tx/T(b)/V(2)>>";

// A form whose catalog is an ordinary object and whose fields are in object stream 5.
PdfText Modern(std::string_view entries = "/Root 1 0 R") {
  PdfText text;
  text.Header("1.5").Object(1, "<</Type/Catalog/Pages<</Type/Pages/Kids[]/Count 0>>/AcroForm 2 0 R>>");
  text.Pack(5, {{2, kForm}, {10, kA}, {11, kB}}).XrefStream(6, entries);
  return text;
}

// The same form in a hybrid file. Readers that support only cross-reference tables see no form.
PdfText Hybrid() {
  PdfText text;
  text.Header().Object(1, "<</Type/Catalog/Pages<</Type/Pages/Kids[]/Count 0>>/AcroForm 2 0 R>>").Object(12, "(seen)");
  text.Pack(5, {{2, kForm}, {10, kA}, {11, kB}}).HiddenXrefStream(6);
  const std::string hidden = std::to_string(text.OffsetOf(6));
  text.Xref().Trailer("/Root 1 0 R/XRefStm " + hidden);
  return text;
}

FormText Classic() { return FormText().Field(10, kA).Field(11, kB).Catalog("/Pages<</Type/Pages/Kids[]/Count 0>>"); }

void ExpectSoundForQpdf(const Chaine& bytes, const std::string& name) {
  if (!HasQpdf()) return;
  const CommandResult checked = RunQpdf("--check", bytes, TempPath(name));
  EXPECT_EQ(checked.status, 0) << checked.output;
}

TEST(ModernTest, TheNewestRecordWinsInEitherKind) {
  PdfText text = Modern("/Root 1 0 R/Old 1");
  text.Object(10, "(plain now)").Pack(7, {{12, "(new)"}}).XrefStream(8, "/Root 1 0 R");
  const size_t second = text.XrefOffset();
  text.Pack(13, {{10, "(packed again)"}, {1, "<</Packed 1>>"}}).Free(11).XrefStream(14, "/Root 1 0 R", 4);
  ZPDFParser parser;
  ASSERT_TRUE(parser.ReadFromRaw(text.Bytes(), ""));
  EXPECT_EQ(parser.SectionCount(), 3U);
  EXPECT_EQ(TextOf(parser.TrailerDico()), "<</Size 15/Root 1 0 R/Prev " + std::to_string(second) + ">>");
  const std::pair<uint32_t, const char*> cases[] = {
      {10, "(packed again)"}, {1, "<</Packed 1>>"}, {11, "none"}, {12, "(new)"}, {2, "<</Fields[10 0 R 11 0 R ]>>"}};
  for (const auto& [number, value] : cases) EXPECT_EQ(ValueOf(parser, number), value) << number;
  EXPECT_EQ(ValueOf(parser, 12, 1), "none");
  EXPECT_EQ(WarningsOf(parser), "");
  EXPECT_TRUE(parser.XRefIsStream());
  EXPECT_FALSE(parser.TrailerDico()->IsModified());
  EXPECT_TRUE(parser.ModifiedObjects().empty());
  ZPDFParser copy(parser);
  EXPECT_EQ(ContentOf(copy), ContentOf(parser));
  // "/Prev" of a table may point to a cross-reference stream, and the reverse.
  PdfText mixed = Modern();
  mixed.Object(10, "(table)").Xref().Trailer("/Root 1 0 R").Object(11, "(stream)").XrefStream(15, "/Root 1 0 R");
  ASSERT_TRUE(parser.ReadFromRaw(mixed.Bytes(), ""));
  EXPECT_EQ(ValueOf(parser, 10) + ValueOf(parser, 11) + ValueOf(parser, 2),
            "(table)(stream)<</Fields[10 0 R 11 0 R ]>>");
}

TEST(ModernTest, HybridFilesShowWhatTheyHide) {
  ZPDFParser parser;
  ASSERT_TRUE(parser.ReadFromRaw(Hybrid().Bytes(), ""));
  EXPECT_FALSE(parser.XRefIsStream());
  EXPECT_EQ(parser.SectionCount(), 1U);
  EXPECT_EQ(InOneLine(ValueOf(parser, 2)) + ValueOf(parser, 11) + ValueOf(parser, 12),
            kForm + std::string(kB) + "(seen)");
  EXPECT_EQ(WarningsOf(parser), "");
  // Objects that the table lists as in use take precedence over the stream.
  PdfText both;
  both.Header().Object(1, "<<>>").Pack(5, {{9, "(packed)"}}).HiddenXrefStream(6).Object(9, "(table)");
  both.Xref().Trailer("/Root 1 0 R/XRefStm " + std::to_string(both.OffsetOf(6)));
  ASSERT_TRUE(parser.ReadFromRaw(both.Bytes(), ""));
  EXPECT_EQ(ValueOf(parser, 9), "(table)");
  for (const char* place : {"0", "99999", "(text)", "7 0 R"}) {
    PdfText lost;
    lost.Header().Object(1, "<<>>").Xref().Trailer("/Root 1 0 R/XRefStm " + std::string(place));
    ASSERT_TRUE(parser.ReadFromRaw(lost.Bytes(), ""));
    EXPECT_EQ(ValueOf(parser, 1), "<<>>");
    EXPECT_NE(WarningsOf(parser).find("hybrid-reference file is not used"), std::string::npos) << WarningsOf(parser);
  }
}

TEST(ModernTest, UpdatesAreSectionsOfTheSameKind) {
  const struct {
    Chaine bytes;
    bool stream;
  } cases[] = {{Modern().Bytes(), true}, {Hybrid().Bytes(), false}, {Classic().Bytes(), false}};
  for (const auto& c : cases) {
    Chaine bytes = c.bytes;
    ZAcroForm form = Loaded(bytes);
    EXPECT_EQ(Saved(form), bytes);
    // Changes each field in a separate update: the second must not restore the first value.
    for (const char* name : {"a", "b"}) {
      form.Fields()[name]->SetValue("new");
      const Chaine updated = Saved(form);
      EXPECT_EQ(updated.Mid(0, bytes.size()), bytes);
      const std::string_view tail = updated.View().substr(bytes.size());
      EXPECT_EQ(tail.find("trailer") == std::string_view::npos, c.stream) << Visible(tail);
      EXPECT_EQ(tail.find("/XRefStm"), std::string_view::npos) << Visible(tail);
      ExpectSoundForQpdf(updated, "modern_update.pdf");
      // A save without further changes gives the same bytes, and the next update finds the real section.
      EXPECT_EQ(Saved(form), updated);
      const ZAcroForm reloaded = Loaded(updated);
      EXPECT_EQ(ValuesOf(reloaded), ValuesOf(form));
      EXPECT_EQ(reloaded.XRefOffset(), form.XRefOffset());
      bytes = updated;
    }
    EXPECT_EQ(ValuesOf(form), "a=new b=new ");
    // A new object must not get the number of a section.
    const uint32_t number = form.Parser()->AddIndirectObject()->GetID().Number();
    ZAcroForm last = Loaded(bytes);
    EXPECT_EQ(last.Parser()->GetObject({number, 0}), nullptr);
    EXPECT_EQ(last.Parser()->SectionCount(), 3U);
    EXPECT_EQ(WarningsOf(last), "");
  }
}

TEST(ModernTest, FullSavesAreClassic) {
  // A full save drops object streams and cross-reference streams, even when objects refer to them.
  PdfText odd;
  odd.Header("1.5").Object(1, "<</Type/Catalog/AcroForm 2 0 R/Odd[5 0 R 6 0 R]>>");
  ZAcroForm leads = Loaded(odd.Pack(5, {{2, "<</Fields[]>>"}}).XrefStream(6, "/Root 1 0 R").Bytes());
  EXPECT_EQ(SavedFull(leads).View().find("stream"), std::string_view::npos);
  for (const Chaine& bytes : {Modern().Bytes(), Hybrid().Bytes()}) {
    ZAcroForm form = Loaded(bytes);
    form.Fields()["b"]->SetValue("new");
    const Chaine full = SavedFull(form);
    for (const char* word : {"/ObjStm", "/XRef", "/Prev", "/W["}) {
      EXPECT_EQ(full.View().find(word), std::string_view::npos) << word;
    }
    ExpectSoundForQpdf(full, "modern_full.pdf");
    EXPECT_EQ(ValuesOf(Loaded(full)), "a=1 b=new ");
    // The next save updates a classic file.
    form.Fields()["a"]->SetValue("3");
    const Chaine updated = Saved(form);
    EXPECT_NE(updated.View().substr(full.size()).find("trailer"), std::string_view::npos);
    EXPECT_EQ(ValuesOf(Loaded(updated)), "a=3 b=new ");
  }
}

// Files whose cross-reference stream, object 6, is odd or damaged. Its records of objects 1 and 10 are correct.
TEST(ModernTest, DamagedSections) {
  const std::string records("\1\0\xF\0\1\0\xF\0\2\0\5\0", 12);
  const struct {
    std::string dictionary, data, failure;
    const char* warning;
  } cases[] = {
      {"/W[1 2 1]/Index[1 1]", records, "", ""},
      {"/W[1 2 1]/Index[1 9]", records, "", "not all entries"},
      {"/W[1 2 1]/Index[1 1 2147483647 9]", records, "", "not all entries"},
      {"/W[1 2 1]/Index[1 1 (x) 9]", records, "", "not all entries"},
      {"/W[1 2 1]/Index[1 1 7]", records, "", ""},
      {"/W[1 2 1]/Index 7", records, "", ""},
      {"/W[0 2 1]/Index[1 1]", records.substr(1), "", ""},
      {"/W[0 2 0]/Index[1 1]", records.substr(1), "", ""},
      {"/W[8 8 8]/Index[1 1]", std::string("\0\0\0\0\0\0\0\1\0\0\0\0\0\0\0\xF\0\0\0\0\0\0\0\0", 24), "", ""},
      {"/W[1 2]", records, "the cross-reference stream has no valid field widths (\"/W\")", ""},
      {"/W[1 0 1]", records, "the cross-reference stream has no valid field widths (\"/W\")", ""},
      {"/W[1 9 1]", records, "the cross-reference stream has no valid field widths (\"/W\")", ""},
      {"/W[1 -1 1]", records, "the cross-reference stream has no valid field widths (\"/W\")", ""},
      {"/W[1 2 1]/Filter/LZWDecode", records,
       "the cross-reference stream cannot be read: unsupported filter /LZWDecode", ""},
      {"/W[1 2 1]/Filter/FlateDecode", records,
       "the cross-reference stream cannot be read: its compressed data is damaged", ""},
      {"/W[1 2 1]/Filter/FlateDecode/Index[1 1]", Deflated(records).substr(0, 14), "", "compressed data is damaged"},
      {"/W[1 2 1]/Filter/FlateDecode", Deflated(std::string(20 << 20, '\1')),
       "the cross-reference stream cannot be read: its decoded data is larger than zforms allows", ""},
      {"/Type/Other/W[1 2 1]", records, "the object at the cross-reference offset is not a cross-reference stream", ""},
  };
  for (const auto& c : cases) {
    PdfText text;
    text.Header("1.5").Object(1, "<</Type/Catalog>>").At(6);
    ASSERT_EQ(text.OffsetOf(1), 15U);
    text.Stream(6, "<</Root 1 0 R" + c.dictionary + (c.dictionary.starts_with("/Type") ? "" : "/Type/XRef") + ">>",
                c.data);
    text.Line("startxref").Line(std::to_string(text.OffsetOf(6))).Line("%%EOF");
    ZPDFParser parser;
    EXPECT_EQ(parser.ReadFromRaw(text.Bytes(), ""), c.failure.empty()) << c.dictionary;
    EXPECT_EQ(parser.Diagnostics().Failure(), c.failure) << c.dictionary;
    const std::string warnings = WarningsOf(parser);
    EXPECT_EQ(warnings.empty(), *c.warning == 0) << c.dictionary << warnings;
    EXPECT_NE(warnings.find(c.warning), std::string::npos) << c.dictionary << warnings;
    const bool lists = c.failure.empty() && c.dictionary.find("/Index 7") == std::string::npos;
    EXPECT_EQ(ValueOf(parser, 1), lists ? "<</Type/Catalog>>" : "none") << c.dictionary;
  }
}

TEST(ModernTest, DamagedObjectStreams) {
  const struct {
    const char *entries, *text;
    const char *ten, *eleven;
    const char* warning;
  } cases[] = {
      {"/N 2/First 11", "10 0 11 2  7 (x)", "7", "(x)", ""},
      {"/N 2/First 11", "11 0 10 2  7 (x)", "(x)", "7", ""},
      {"/N 2/First 11", "10 2 11 0  7 (x)", "(x)", "7", ""},
      {"/N 2/First 11", "10 0 10 2  7 (x)", "7", "none",
       "object 5 0: the object stream lists an object more than once"},
      {"/N 2/First 11", "10 0 11 0  7 (x)", "", "7", "text after the value"},
      {"/N 2/First 11", "10 0 11 9  7    ", "7", "", ""},
      {"/N 2/First 11", "10 0 11 99 7    ", "7", "", ""},
      {"/N 1/First 11", "10 0 11 2  7 (x)", "7", "none", "does not contain this object"},
      {"/N 9/First 11", "10 0 11 2  7 (x)", "7", "(x)", "lists fewer objects than \"/N\" says"},
      {"/N 2/First 99", "10 0 11 2  7 (x)", "", "", ""},
      {"/N 2", "10 0 11 2  7 (x)", "none", "none", "lists fewer objects than \"/N\" says"},
      {"/First 11", "10 0 11 2  7 (x)", "none", "none", "does not contain this object"},
      {"/N 2/First 11", "10 0 x1 2  7 (x)", "7", "none", "lists fewer objects than \"/N\" says"},
      {"/N 2/First 11/Filter/FlateDecode", "10 0 11 2  7 (x)", "none", "none", "compressed data is damaged"},
      {"/N 1/First 5/Extends 7 0 R", "10 0 7", "7", "(extended)", ""},
      {"/N 1/First 5/Extends 5 0 R", "10 0 7", "7", "none", "does not contain this object"},
      {"/N 1/First 5/Extends 10 0 R", "10 0 7", "7", "none", "does not contain this object"},
  };
  for (const auto& c : cases) {
    PdfText text;
    text.Header("1.5")
        .Object(1, "<</Type/Catalog>>")
        .Stream(5, std::string("<</Type/ObjStm") + c.entries + ">>", c.text);
    text.Pack(7, {{11, "(extended)"}}).PlacePacked(10, 5, 0).PlacePacked(11, 5, 1).PlacePacked(12, 10, 0);
    text.XrefStream(6, "/Root 1 0 R");
    ZPDFParser parser;
    ASSERT_TRUE(parser.ReadFromRaw(text.Bytes(), ""));
    EXPECT_EQ(ValueOf(parser, 10), c.ten) << c.entries << c.text;
    EXPECT_EQ(ValueOf(parser, 11), c.eleven) << c.entries << c.text;
    EXPECT_NE(WarningsOf(parser).find(c.warning), std::string::npos) << WarningsOf(parser);
    // An object stream inside an object stream is ignored.
    EXPECT_EQ(ValueOf(parser, 12), "none");
  }
}

TEST(ModernTest, BombsAndLoopsEnd) {
  PdfText text;
  const std::string blanks(12 << 20, ' ');
  text.Header("1.5").Object(1, "<</Type/Catalog>>").Stream(7, "<</Length 8 0 R/N 1/First 4>>", "8 0 3");
  for (uint32_t number : {20U, 21U, 22U}) text.Pack(number, {{number + 10, "7 " + blanks}});
  text.PlacePacked(8, 7, 0).XrefStream(6, "/Root 1 0 R");
  ZPDFParser parser;
  ASSERT_TRUE(parser.ReadFromRaw(text.Bytes(), ""));
  EXPECT_EQ(ValueOf(parser, 30), "none");
  EXPECT_NE(WarningsOf(parser).find("object 20 0: the object stream cannot be read completely: "
                                    "its decoded data is larger"),
            std::string::npos)
      << WarningsOf(parser);
  // The length of stream 7 is stored in stream 7 itself.
  EXPECT_EQ(ValueOf(parser, 8), "3");
}

}  // namespace
}  // namespace zforms
