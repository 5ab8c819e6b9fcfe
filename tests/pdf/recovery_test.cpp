// Damaged files, read when recovery is asked for.

#include <gtest/gtest.h>

#include <string>

#include "tests/support/form_text.h"
#include "tests/support/words.h"
#include "zforms/pdf/crypt/encryption.h"
#include "zforms/pdf/dictionary_node.h"
#include "zforms/pdf/parser/file_scan.h"

namespace zforms {
namespace {

constexpr const char* kForm = "<</Fields[10 0 R 11 0 R]>>";
constexpr const char* kCatalog = "<</Type/Catalog/AcroForm 2 0 R>>";

// A file with tables and an update: field "a" has two versions.
std::string Classic() {
  PdfText text;
  text.Header().Object(1, kCatalog).Object(2, kForm).Object(10, "<</FT/Tx/T(a)/V(old)>>");
  text.Object(11, "<</FT/Tx/T(b)/V(2)>>").Xref().Trailer("/Root 1 0 R/ID[(i)(i)]");
  text.Object(10, "<</FT/Tx/T(a)/V(1)>>").Xref().Trailer("/Root 1 0 R/ID[(i)(i)]");
  return text.Bytes().ToString();
}

// The same form with cross-reference streams. The catalog is in an object stream; field "b" is first a plain object and
// then in two object streams.
std::string Modern() {
  PdfText text;
  text.Header("1.5").Object(11, "<</FT/Tx/T(b)/V(plain)>>").Object(10, "<</FT/Tx/T(a)/V(old)>>");
  text.Pack(5, {{1, kCatalog}, {2, kForm}, {11, "<</FT/Tx/T(b)/V(old)>>"}}).XrefStream(6, "/Root 1 0 R");
  text.Object(10, "<</FT/Tx/T(a)/V(1)>>").Pack(7, {{11, "<</FT/Tx/T(b)/V(2)>>"}}).XrefStream(8, "/Root 1 0 R");
  return text.Bytes().ToString();
}

constexpr const char* kOldFields =
    "10 0 obj\n<</FT/Tx/T(a)/V(old)>>\nendobj\n11 0 obj\n<</FT/Tx/T(b)/V(old)>>\nendobj\n";

// After the versions of the fields that the section lists, the file has older ones.
std::string OldOnesLast() {
  PdfText text;
  text.Header().Object(1, kCatalog).Object(2, kForm).Object(10, "<</FT/Tx/T(a)/V(1)>>");
  text.Object(11, "<</FT/Tx/T(b)/V(2)>>").Raw(kOldFields).Xref().Trailer("/Root 1 0 R");
  return text.Bytes().ToString();
}

// The same with field "b" in an object stream. Older versions of the fields follow, in other object streams and then as
// plain objects.
std::string OldOnesLastModern() {
  PdfText text;
  text.Header("1.5").Object(10, "<</FT/Tx/T(a)/V(1)>>");
  text.Pack(5, {{1, kCatalog}, {2, kForm}, {11, "<</FT/Tx/T(b)/V(2)>>"}});
  text.Stream(7, "<</Type/ObjStm/N 1/First 5>>", "10 0 <</FT/Tx/T(a)/V(older)>>");
  text.Stream(8, "<</Type/ObjStm/N 1/First 5>>", "11 0 <</FT/Tx/T(b)/V(older)>>");
  return text.Raw(kOldFields).XrefStream(6, "/Root 1 0 R").Bytes().ToString();
}

// The newest section is before the section that its "/Prev" refers to, as in a linearized file.
std::string NewestSectionFirst() {
  constexpr const char* kPlace = "0000009999";
  PdfText text;
  text.Header().Object(1, kCatalog).Object(2, kForm).Object(10, "<</FT/Tx/T(a)/V(1)>>");
  text.Object(11, "<</FT/Tx/T(b)/V(2)>>")
      .Xref()
      .Line(std::string("trailer<</Size 12/Root 1 0 R/Prev ") + kPlace + ">>");
  std::string bytes = text.Bytes().ToString();
  const size_t newest = bytes.rfind("xref");
  const size_t old = bytes.size();
  bytes += kOldFields;
  const size_t section = bytes.size();
  std::string digits = std::to_string(old);
  bytes += "xref\n10 1\n" + std::string(10 - digits.size(), '0') + digits + " 00000 n \ntrailer<</Size 12>>\n";
  digits = std::to_string(section);
  bytes = Replaced(bytes, kPlace, std::string(10 - digits.size(), '0') + digits);
  return bytes + "startxref\n" + std::to_string(newest) + "\n%%EOF\n";
}

// The text with the last `what` before `before` replaced.
std::string Spoilt(std::string text, std::string_view before, std::string_view what, std::string_view by) {
  return text.replace(text.rfind(what, text.find(before)), what.size(), by);
}

// The text up to the last `what`.
std::string CutAt(const std::string& text, std::string_view what) { return text.substr(0, text.rfind(what)); }

bool Load(ZAcroForm& form, const Chaine& bytes, bool recover) {
  ZInetChaineIStream in(bytes);
  form.SetRecovery(recover);
  return form.Load(in, "");
}

TEST(RecoveryTest, DamagedFilesAreReadOnlyWhenAsked) {
  const std::string classic = Classic(), modern = Modern();
  const std::string old_last = OldOnesLast(), old_last_modern = OldOnesLastModern(), first = NewestSectionFirst();
  const struct {
    const char* what;
    std::string bytes;
    const char* said;
  } cases[] = {
      {"sound", classic, ""},
      {"sound and modern", modern, ""},
      {"no end", Replaced(classic, "%%EOF", ""),
       "(the file is cut short: \"%%EOF\" is missing): its cross-reference table was"},
      {"no startxref", Replaced(classic, "startxref", ""), "(\"startxref\" is missing)"},
      {"startxref to nowhere", Replaced(classic, "startxref\n", "startxref\n9"), "rebuilt from 4 objects"},
      {"cut off in the last table", Replaced(classic, "%%EOF", "").substr(0, classic.rfind("trailer") - 9),
       "rebuilt from 4 objects"},
      {"no trailers", Replaced(classic, "trailer", "tra"), "rebuilt from 4 objects"},
      {"bytes before the header", "\r\n junk " + classic, "; 8 bytes before the header are left out"},
      {"bytes taken away before the objects", Replaced(classic, "%\xE2\xE3\xCF\xD3\n", ""), "rebuilt"},
      {"other line ends", Replaced(classic, "\n", "\r\n"), "rebuilt from 4 objects"},
      {"a wrong catalog", Replaced(classic, "/Root 1 0 R", "/Root 9 0 R"), "refers to no document catalog"},
      {"no catalog named", Replaced(classic, "/Root 1 0 R", "/Rood 1 0 R"), "refers to no document catalog"},
      {"an object elsewhere", Replaced(classic, "\n11 0 obj", "\nmore\n11 0 obj"), "rebuilt"},
      {"headers behind one another", Replaced(classic, "\nendobj\n", " endobj"), "rebuilt from 4 objects"},
      {"modern without sections", Replaced(modern, "/XRef", "/XXXX"), "rebuilt from"},
      {"modern and cut", Replaced(modern, "%%EOF", "").substr(0, modern.rfind("startxref") - 5), "rebuilt from"},
      {"modern with damaged sections", Replaced(modern, "/W[", "/X["), "has no valid field widths"},
      {"an entry without its type", Spoilt(classic, "trailer", " n", "xx"),
       "the entry in the cross-reference table cannot be read): its cross-reference table was rebuilt from 4 objects"},
      {"a subsection said to be short", Spoilt(classic, "trailer", "10 2", "10 1"), "is not a subsection header): its"},
      {"a broken subsection header", Spoilt(classic, "trailer", "10 2", "1x 2"), "is not a subsection header): its"},
      {"the end lost", CutAt(classic, "startxref"), "(1 object follows its last cross-reference section"},
      {"the last %%EOF lost", CutAt(classic, "%%EOF"), "(1 object follows"},
      {"the last startxref lost", CutAt(classic, "startxref") + "%%EOF\n", "no number follows \"startxref\""},
      {"the last section lost", CutAt(classic, "xref\n10 1"), "(1 object follows"},
      {"modern and the end lost", CutAt(modern, "startxref"), "(3 objects follow"},
      {"modern and the last section lost", CutAt(modern, "8 0 obj"), "(2 objects follow"},
      {"a spoilt header", Replaced(classic, "%PDF-", "%PDF."), "it has no header and is read as PDF 1.4"},
      {"no header", classic.substr(9), "it has no header and is read as PDF 1.4"},
      {"a header inside alone", Replaced(classic, "%PDF-", "%PXF-") + "12 0 obj<<>>stream\n%PDF-1.7\nendstream endobj",
       "it has no header and is read as PDF 1.4"},
      {"old ones last", old_last, ""},
      {"old ones last and modern", old_last_modern, ""},
      {"the newest section first", first, ""},
      {"old ones last, startxref to nowhere", Replaced(old_last, "startxref\n", "startxref\n9"), "rebuilt from 4"},
      {"old ones last, modern, no startxref", Replaced(old_last_modern, "startxref", ""), "\"startxref\" is missing"},
      {"the newest section first, startxref to nowhere", Replaced(first, "startxref\n", "startxref\n9"),
       "rebuilt from 4"},
      {"old ones last, bytes before the header", "junk " + old_last, "; 5 bytes before the header are left out"},
      {"an older section lost", Replaced(modern, "/Index[1 2 5 2 10 2 ]", "/Index[1 2 5 2 10 2  "), "rebuilt"},
  };
  for (const auto& c : cases) {
    ZAcroForm strict, form;
    const bool read = Load(strict, c.bytes, false) && ValuesOf(strict) == "a=1 b=2 ";
    EXPECT_EQ(read, *c.said == 0) << c.what;
    ASSERT_TRUE(Load(form, c.bytes, true)) << c.what << form.Diagnostics().Failure().View();
    EXPECT_EQ(ValuesOf(form), "a=1 b=2 ") << c.what;
    EXPECT_EQ(WarningsOf(form).empty(), *c.said == 0) << c.what << WarningsOf(form);
    EXPECT_NE(WarningsOf(form).find(c.said), std::string::npos) << c.what << WarningsOf(form);
    EXPECT_EQ(form.SavesAnew(), *c.said != 0) << c.what;
    // The saved file has no faults.
    form.Fields()["a"]->SetValue("new");
    const Chaine saved = Saved(form);
    EXPECT_FALSE(form.SavesAnew());
    ASSERT_TRUE(Load(strict, saved, false)) << c.what;
    EXPECT_EQ(ValuesOf(strict), "a=new b=2 ") << c.what;
    EXPECT_EQ(WarningsOf(strict), "") << c.what;
  }
}

struct Odd {
  const char* what;
  std::string bytes;
  const char* values;  // read without recovery
  const char* recovered;
  const char* said;
};

// An object that the scan does not find is kept if a table refers to it, even a damaged table.
TEST(RecoveryTest, OddTablesAreKeptWhereTheyLeadToMore) {
  PdfText behind, packed;
  behind.Header().Object(1, kCatalog).Object(2, kForm).Raw("x ").Object(10, "<</FT/Tx/T(a)/V(1)>>");
  behind.Object(11, "<</FT/Tx/T(b)/V(2)>>").Xref().Trailer("/Root 1 0 R");
  packed.Header("1.5").Raw("x ").Pack(5, {{1, kCatalog}, {2, kForm}});
  packed.Object(10, "<</FT/Tx/T(a)/V(1)>>").Object(11, "<</FT/Tx/T(b)/V(2)>>").XrefStream(6, "/Root 1 0 R");
  const Odd cases[] = {
      {"a header behind a word", Spoilt(behind.Bytes().ToString(), "trailer", " n", "  "), "a=1 ", "a=1 b=2 ",
       "rebuilt from 4 objects"},
      {"an object stream behind a word", Replaced(packed.Bytes().ToString(), "10 2 ]", "10 9 ]"), "a=1 b=2 ",
       "a=1 b=2 ", "not all entries of the cross-reference stream"},
  };
  for (const Odd& c : cases) {
    ZAcroForm strict, form;
    ASSERT_TRUE(Load(strict, c.bytes, false) && Load(form, c.bytes, true)) << c.what;
    EXPECT_EQ(ValuesOf(strict), c.values) << c.what;
    EXPECT_EQ(ValuesOf(form), c.recovered) << c.what;
    EXPECT_NE(WarningsOf(form).find(c.said), std::string::npos) << c.what << WarningsOf(form);
  }
}

TEST(RecoveryTest, TheNewestWholeVersionWins) {
  const std::string two = Classic() + "11 0 obj<</FT/Tx/T(b)/V(3)>>endobj\n10 0 obj<</FT/Tx/T(a)/V(";
  PdfText packed;  // the end of its data is damaged
  const std::string data = Deflated("10 0 11 21 <</FT/Tx/T(a)/V(x)>> <</FT/Tx/T(b)/V(2)>>");
  packed.Header("1.5").Object(1, kCatalog).Object(2, kForm).Object(10, "<</FT/Tx/T(a)/V(1)>>");
  packed.Stream(5, "<</Type/ObjStm/N 2/First 11/Filter/FlateDecode>>", data.substr(0, data.size() - 1) + "?");
  packed.Line("trailer<</Root 1 0 R>>");
  const std::pair<std::string, std::string> cases[] = {
      {CutAt(Classic(), "endobj"), "a=old b=2 "},
      {two, "a=1 b=3 "},
      {CutAt(two, "10 0"), "a=1 b=3 "},
      {CutAt(two, "endobj"), "a=1 b=2 "},
      {OldOnesLast() + "12 0 obj<<>>endobj\n", "a=1 b=2 "},
      {packed.Bytes().ToString(), "a=1 b=2 "},
      {CutAt(Modern(), "startxref") + "2 0 obj<</Fields[", "a=1 b=2 "},
  };
  for (const auto& [bytes, values] : cases) {
    ZAcroForm form;
    ASSERT_TRUE(Load(form, bytes, true)) << bytes;
    EXPECT_EQ(ValuesOf(form), values) << bytes;
  }
}

TEST(RecoveryTest, ObjectsBehindTheEndAreCounted) {
  const std::pair<std::string, size_t> cases[] = {
      {Classic(), 0},
      {Modern(), 0},
      {CutAt(Classic(), "startxref"), 1},
      {CutAt(Modern(), "startxref"), 3},
      {Replaced(CutAt(Classic(), "startxref"), "(1)>>\nendobj", "(1)>>"), 1},
      {CutAt(Classic(), "endobj"), 0},
      {Classic() + "12 0 obj<<>>endobj 0 0 obj<<>>endobj 13 0 obj<<>>", 1},
  };
  for (const auto& [bytes, count] : cases) {
    ZPDFParser parser;
    ASSERT_TRUE(parser.ReadFromRaw(bytes, ""));
    EXPECT_EQ(parser.UnlistedAtEnd(), count) << bytes;
    EXPECT_FALSE(parser.IsRecovered());
    parser.SetRecovery(true);
    ASSERT_TRUE(parser.ReadFromRaw(bytes, ""));
    EXPECT_EQ(parser.IsRecovered(), count > 0) << bytes;
    EXPECT_EQ(parser.UnlistedAtEnd(), 0U) << bytes;
  }
}

TEST(RecoveryTest, RecordsThatLeadAstrayAreMended) {
  // The table has wrong offsets for objects 10 and 12; 13 is missing, 11 is free.
  PdfText text;
  text.Header()
      .Object(1, "<<>>")
      .Object(10, "(old)")
      .Object(10, "(ten)")
      .Object(11, "(freed)")
      .Object(12, "(twelve)", 3);
  text.Xref("1 1\n@1 00000 n\n10 4\n@1 00000 n\n0000000000 00001 f\n0000000099 00003 n\n@1 00000 n\n");
  text.Trailer("/Root 1 0 R");
  for (const bool recover : {false, true}) {
    ZPDFParser parser;
    parser.SetRecovery(recover);
    ASSERT_TRUE(parser.ReadFromRaw(text.Bytes(), ""));
    EXPECT_EQ(parser.IsRecovered(), recover);
    EXPECT_EQ(ValueOf(parser, 10), recover ? "(ten)" : "none");
    EXPECT_EQ(ValueOf(parser, 12, 3), recover ? "(twelve)" : "none");
    EXPECT_EQ(ValueOf(parser, 11) + ValueOf(parser, 13), "nonenone");
    EXPECT_EQ(WarningsOf(parser).starts_with("the file is damaged: 2 objects were not where"), recover);
    EXPECT_EQ(ZPDFParser(parser).IsRecovered(), recover);
  }
}

TEST(RecoveryTest, EncryptedFilesKeepTheirKey) {
  const std::unique_ptr<ZPDFEncryption> handler(ZPDFEncryption::CreateStandard("i", "pw", ""));
  const std::unique_ptr<ZPDFEncrypter> encrypter(handler->AllocEncrypter({5, 0}));
  const std::string packed = Deflated("1 0 " + std::string("<</Secret(text)>>"));
  PdfText text;
  text.Header("1.5").Object(7, InOneLine(TextOf(handler->Dictionary())));
  text.Stream(5, "<</Type/ObjStm/N 1/First 4/Filter/FlateDecode>>", encrypter->Encrypt(packed).ToString());
  text.PlacePacked(1, 5, 0).XrefStream(6, "/Root 1 0 R/Encrypt 7 0 R/ID[(i)(i)]");
  const std::string bytes = Replaced(text.Bytes().ToString(), "startxref\n", "startxref\n9");
  ZPDFParser parser;
  parser.SetRecovery(true);
  ASSERT_TRUE(parser.ReadFromRaw(bytes, "pw")) << parser.Diagnostics().Failure().View();
  EXPECT_EQ(TextOf(parser.Root()), "<</Secret(text)>>");
  // Without the trailers the key is lost, and encrypted data must not be read as plain data.
  ASSERT_TRUE(parser.ReadFromRaw(Replaced(bytes, "/XRef", "/Xxxx"), "pw"));
  EXPECT_TRUE(parser.IsEncrypted());
  EXPECT_FALSE(parser.CanBeDecrypted());
  // When the header of the file is damaged too, the key is still found.
  ASSERT_TRUE(parser.ReadFromRaw(Replaced(bytes, "%PDF-", "%PXF-"), "pw"));
  EXPECT_EQ(TextOf(parser.Root()), "<</Secret(text)>>");
  // With a wrong password the file is read, but cannot be decrypted.
  ASSERT_TRUE(parser.ReadFromRaw(bytes, "no"));
  EXPECT_FALSE(parser.CanBeDecrypted());
}

TEST(RecoveryTest, WhatCannotBeRecoveredSaysSo) {
  const std::pair<std::string, std::string> cases[] = {
      {"", "not a PDF file: it does not begin with \"%PDF-\""},
      {"no file", "not a PDF file: it does not begin with \"%PDF-\""},
      {"1 0 obj<</Type/Page>>endobj",
       "not a PDF file: it does not begin with \"%PDF-\"; a scan of the file finds no document catalog"},
      {"%PDF-1.4\n%c\n", "the file is cut short: \"%%EOF\" is missing; a scan of the file finds no document catalog"},
      {"%PDF-1.4\n%c\n1 0 obj<</Type/Page>>endobj\ntrailer<</Root 1 1 R>>%%EOF",
       "\"startxref\" is missing; a scan of the file finds no document catalog"},
      {"%PDF-1.4\n%c\n1 0 obj<</Type/Catalog>>endobj\ntrailer<</Root 1 0 R/Encrypt 7 0 R>>",
       "the encryption dictionary that the trailer refers to is missing"},
  };
  for (const auto& [bytes, failure] : cases) {
    ZPDFParser parser;
    parser.SetRecovery(true);
    EXPECT_FALSE(parser.ReadFromRaw(bytes, "")) << bytes;
    EXPECT_EQ(parser.Diagnostics().Failure(), failure);
    EXPECT_EQ(parser.TrailerDico(), nullptr);
  }
}

// Three pages, two of them below an intermediate node.
std::string Paged(const std::string& kids = "3 0 R 4 0 R") {
  PdfText text;
  text.Header().Object(1, "<</Type/Catalog/Pages 2 0 R/Outlines 9 0 R>>");
  text.Object(2, "<</Type/Pages/Kids[" + kids + "]/Count 3>>").Object(3, "<</Type/Page/Parent 2 0 R/N(a)>>");
  text.Object(4, "<</Type/Pages/Parent 2 0 R/Kids[5 0 R 6 0 R]/Count 2>>")
      .Object(5, "<</Type/Page/Parent 4 0 R/N(b)>>");
  text.Object(6, "<</Type/Page/Parent 4 0 R/N(c)>>").Object(9, "<</Type/Outlines>>");
  return text.Xref().Trailer("/Root 1 0 R/ID[(i)(i)]").Bytes().ToString();
}

std::string PagesBelow(const ZPDFNodeDictionary& node) {
  const auto* kids = NodeCast<ZPDFNodeArray>(node.GetTarget("/Kids"));
  std::string pages = kids == nullptr ? node.GetStringValue("/N").ToString() : "";
  for (size_t i = 0; kids != nullptr && i < kids->Size(); i++) {
    const auto* kid = NodeCast<ZPDFNodeDictionary>(kids->GetTargetAt(i));
    pages += kid == nullptr ? "?" : PagesBelow(*kid);
  }
  return pages;
}

// Losses are reported. Recovery repairs the page tree, and the saved file then has no faults.
TEST(RecoveryTest, DamageThatWouldBecomePermanent) {
  const std::string sound = Paged(), formed = Replaced(sound, "/Outlines 9", "/AcroForm 9");
  const struct {
    const char* what;
    std::string bytes;
    const char* said;
    bool loses;
    bool stays;  // recovery cannot repair it
  } cases[] = {
      {"sound", sound, "", false, false},
      {"a loop", Replaced(sound, "[3 0 R 4", "[3 0 R 2"),
       "object 2 0: the page tree contains this page or node more than once", true, false},
      {"a page twice", Replaced(sound, "[5 0 R 6", "[5 0 R 5"), "object 5 0: the page tree contains this page or node",
       true, false},
      {"a wrong kid", Replaced(sound, "[3 0 R 4", "[9 0 R 4"), "object 2 0: element 1 of its", true, false},
      {"a kid elsewhere", Replaced(sound, "[5 0 R 6", "[7 0 R 6"),
       "refers to cannot be read: 7 0\nobject 4 0: element 1", true, false},
      {"no kids", Replaced(sound, "/Kids[3", "/Kidz[3"), "object 2 0: the page tree (\"/Pages\") cannot be", true,
       false},
      {"no tree", Replaced(sound, "/Pages 2", "/Pages 8"), "object 8 0: the page tree (\"/Pages\")", true, false},
      {"no tree is named", Replaced(sound, "/Pages 2", "/Pagez 2"), "the page tree (\"/Pages\")", true, false},
      {"too few pages", Replaced(sound, "/Count 3", "/Count 4"), "states 4 pages; 3 pages are found", true, false},
      {"neither kids nor parents", Replaced(Replaced(sound, "/Parent 4", "/Parens 4"), "/Kids[5", "/Kidz[5"),
       "object 2 0: element 2", true, false},
      {"said to be free", Spoilt(sound, "\n9 1\n", " n ", " f "), "cannot be read: 6 0", true, false},
      {"said to be of a later generation", Replaced(sound, "6 0 R", "6 1 R"), "cannot be read: 6 1", true, false},
      {"too many pages", Replaced(sound, "/Count 3", "/Count 0"), "states 0 pages; 3 pages are found", true, false},
      {"a wrong inner count", Replaced(sound, "/Count 2", "/Count 1"), "object 4 0: \"/Count\"", false, false},
      {"an inner node for the tree", Replaced(sound, "/Pages 2 0 R/O", "/Pages 4 0 R/O"), "refers to an inner node",
       true, false},
      {"a damaged type", Replaced(sound, "/Page/Parent 2", "/Pagf/Parent 2"), "object 3 0: \"/Type\" of this page",
       false, false},
      {"no type", Replaced(sound, "<</Type/Page/Parent 2", "<</Typf/Page/Parent 2"), "object 3 0: \"/Type\"", false,
       false},
      {"a damaged type of a node", Replaced(sound, "/Pages/Parent", "/Pagez/Parent"), "object 4 0: \"/Type\" of this",
       false, false},
      {"kids of a node", Replaced(sound, "/Kids[5", "/Kidz[5"), "object 2 0: element 2", true, false},
      {"a kid that is an annotation",
       Replaced(Replaced(sound, "[3 0 R 4", "[9 0 R 4"), "/Type/Outlines", "/Contents(abc)"),
       "object 2 0: element 1 of its", true, false},
      {"a kid that is a field", Replaced(Replaced(sound, "[3 0 R 4", "[9 0 R 4"), "/Type/Outlines", "/T(x)/Kids[]  "),
       "object 2 0: element 1 of its", true, false},
      {"a generation in the table", Spoilt(sound, "\n9 1\n", "00000 n", "00001 n"), "object 6 1: the header", false,
       false},
      {"a generation in a header", Replaced(sound, "\n6 0 obj", "\n6 1 obj"), "object 6 0: the header", true, false},
      {"no outlines", Replaced(sound, "/Outlines 9", "/Outlines 8"), "1 object that the document refers to", false,
       false},
      {"outlines of another generation", Replaced(sound, "/Outlines 9 0", "/Outlines 6 7"), "read: 6 7", false, false},
      {"no form", Replaced(sound, "/Outlines 9", "/AcroForm 8"), "the form (\"/AcroForm\") cannot be read", true, true},
      {"no fields", Replaced(formed, "/Type/Outlines", "/Fields 8 0 R "), "list of fields (\"/Fields\") cannot", true,
       true},
      {"a wrong field", Replaced(formed, "/Type/Outlines", "/Fields[7 0 R]"), "element 1 of the form's", true, true},
      {"no catalog", Replaced(sound, "/Root 1", "/Root 8"), "refers to no document catalog", true, false},
  };
  for (const auto& c : cases) {
    ZAcroForm strict, form;
    ASSERT_TRUE(Load(strict, c.bytes, false)) << c.what;
    EXPECT_EQ(strict.WouldLose(), c.loses) << c.what;
    EXPECT_NE(WarningsOf(strict).find(c.said), std::string::npos) << c.what << WarningsOf(strict);
    EXPECT_EQ(strict.Diagnostics().IsDamaged(), *c.said != 0) << c.what;
    ASSERT_TRUE(Load(form, c.bytes, true)) << c.what;
    EXPECT_EQ(form.WouldLose(), c.stays) << c.what << WarningsOf(form);
    EXPECT_FALSE(form.Diagnostics().IsDamaged()) << c.what;
    ASSERT_TRUE(Load(strict, SavedFull(form), false)) << c.what;
    const ZPDFNode* const pages = strict.Parser()->Root()->GetTarget("/Pages");
    EXPECT_EQ(PagesBelow(*NodeCast<ZPDFNodeDictionary>(pages)), "abc") << c.what;
    EXPECT_EQ(strict.WouldLose(), c.stays) << c.what << WarningsOf(strict);
    EXPECT_EQ(WarningsOf(strict) == "", !c.stays) << c.what << WarningsOf(strict);
  }
}

TEST(RecoveryTest, AKidThatMayHaveBeenAPageIsALoss) {
  ZAcroForm form;
  Chaine saved;
  ZInetChaineOStream out(saved);
  ASSERT_TRUE(Load(form, Paged("3 0 R 8 0 R 4 0 R"), true));
  EXPECT_TRUE(form.WouldLose());
  ASSERT_TRUE(form.SaveFull(out));
  EXPECT_FALSE(form.WouldLose());
}

// A header without a version is not copied.
TEST(RecoveryTest, HeadersWithoutAVersion) {
  for (const char* version : {"%PDF-000", "%PDF-x.4", "%PDF-1.x", "%PDF-1 4"}) {
    ZAcroForm form;
    ASSERT_TRUE(Load(form, Replaced(Paged(), "%PDF-1.4", version), false));
    EXPECT_EQ(WarningsOf(form),
              std::string("the header \"") + version + "\" has no version; a rewritten file gets version 1.7\n");
    EXPECT_TRUE(SavedFull(form).View().starts_with("%PDF-1.7\n")) << version;
  }
}

// Each object as "number.generation@offset", followed by "s", "x" or "c" if it contains "/ObjStm", "/XRef" or
// "/Catalog", and by "-" if its end is missing.
TEST(RecoveryTest, Scan) {
  const std::pair<std::string, std::string> cases[] = {
      {"1 0 obj", "1.0@0-"},
      {"\n 12  3\r\nobj<<>>", "12.3@2-"},
      {"x 1 0 obj", ""},
      {"(a 1 0 obj)", ""},
      {"1 0 obj 2 0 obj\n3 0 objx", "1.0@0-"},
      {"1 0 obj endobj2 0 obj\tendobj 3 0 obj", "1.0@0 2.0@14 3.0@29-"},
      {"0001 00 obj", "1.0@0-"},
      {"\n1 obj\n 0 obj\nobj", ""},
      {"1 0 obj<</Type/ObjStm/A/XRef>>\n2 0 obj/Catalogs/Catalog/XRefStm", "1.0@0sx 2.0@31c-"},
      {"1 0 obj<</Length 9>>stream\n\n2 0 obj\nendstream/Catalog\n3 0 obj", "1.0@0 3.0@54-"},
      {"1 0 obj<</Length 2>>stream\n\n2 0 obj\nendstream\n3 0 obj", "1.0@0 3.0@46-"},
      {"1 0 obj<<>>stream\n\n2 0 obj\nendobj\n3 0 obj", "1.0@0 3.0@34-"},
      {"1 0 obj<</Length 99>>stream\n\n2 0 obj\n", "1.0@0-"},
      {"1 0 obj\nstreams\n2 0 obj", "1.0@0 2.0@16-"},
      {"stream\n2 0 obj", "2.0@7-"},
      {"1 0 obj trailer<<>>/Catalog trailers", "1.0@0 t15"},
  };
  for (const auto& [text, expected] : cases) {
    const ZPDFFileScan scan = ScanFile(text);
    std::string found;
    for (const auto& object : scan.objects) {
      found += (found.empty() ? "" : " ") + std::to_string(object.id.Number()) + "." +
               std::to_string(object.id.Generation()) + "@" + std::to_string(object.offset);
      found += std::string(object.names_object_stream ? "s" : "") + (object.names_xref_stream ? "x" : "") +
               (object.names_catalog ? "c" : "") + (object.whole ? "" : "-");
    }
    for (const uint32_t trailer : scan.trailers) found += " t" + std::to_string(trailer);
    EXPECT_EQ(found, expected) << text;
  }
}

}  // namespace
}  // namespace zforms
