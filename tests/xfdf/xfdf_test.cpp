// The XFDF document: its format, its fields, what is kept in a round trip, and hostile input.

#include "zforms/xfdf/xfdf.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <random>
#include <string>
#include <vector>

#include "tests/support/cpu_time.h"
#include "tests/support/temp_path.h"
#include "tests/support/words.h"
#include "zforms/platform/files/file_io.h"
#include "zforms/platform/files/inet_stream.h"
#include "zforms/xfdf/line_end_filters.h"
#include "zforms/xfdf/survey.h"

namespace zforms {
namespace {

using namespace std::string_literals;

constexpr char kHead[] = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";
constexpr char kRoot[] = "<xfdf xml:space=\"preserve\" xmlns=\"http://ns.adobe.com/xfdf/\">";

// A document whose root has these children.
Chaine Document(const std::string& children) { return Chaine(kHead + ""s + kRoot + children + "</xfdf>"); }

ZXFDF Parsed(const Chaine& text) {
  ZXFDF xfdf;
  EXPECT_TRUE(xfdf.FromChaine(text));
  EXPECT_EQ(xfdf.LastError(), "") << text.View();
  return xfdf;
}

ZXFDF WithFields(const std::string& fields) { return Parsed(Document("<fields>" + fields + "</fields>")); }

std::string Names(const ZXFDFFieldCollection& fields) {
  std::string names;
  for (const Chaine& name : fields.FieldNames()) names += (names.empty() ? "" : " ") + name.ToString();
  return names;
}

TEST(XFDF, FieldsAreAddedOnce) {
  ZXFDF xfdf;
  EXPECT_FALSE(xfdf.HasFields());
  ZXFDF::Field& c = xfdf.Fields().AddField("a.b.c");
  EXPECT_EQ(&xfdf.Fields().AddField("a.b.c"), &c);
  EXPECT_EQ(&xfdf.Fields()["a"]["b.c"], &c);
  EXPECT_EQ(c.Name(), "c");
  EXPECT_EQ(Names(xfdf.Fields()), "a a.b a.b.c");
  EXPECT_TRUE(xfdf.Fields().Exist("a"));
  EXPECT_FALSE(xfdf.Fields().Exist("a.x"));
  EXPECT_FALSE(xfdf.Fields().Exist("A"));
  c = "x";
  xfdf.Fields()["a"] = 7;
  EXPECT_EQ(xfdf.AsChaine(), Document("<fields><field name=\"a\"><field name=\"b\"><field name=\"c\"><value>x</value>"
                                      "</field></field><value>7</value></field></fields>"));
}

TEST(XFDF, NamesAreTriedWholeAndThenTakenApart) {
  ZXFDF xfdf = WithFields(Valued("a.b", "flat") + XFDFField("a", Valued("b", "nested") + Valued("c", "c")) +
                          XFDFField("p.q", Valued("r", "deep")) + XFDFField("p", ""));
  const struct {
    const char* name;
    const char* value;  // null: does not exist
  } kCases[] = {{"a.b", "flat"},  {"a.c", "c"},   {"a", ""},    {"p.q.r", "deep"},
                {"p.r", nullptr}, {"b", nullptr}, {"", nullptr}};
  const ZXFDF& fixed = xfdf;
  for (const auto& c : kCases) {
    ASSERT_EQ(fixed.Fields().Exist(c.name), c.value != nullptr) << c.name;
    EXPECT_EQ(fixed.Fields()[c.name].Value().AsChaine(), c.value == nullptr ? "" : c.value) << c.name;
  }
  EXPECT_EQ(Names(fixed.Fields()), "a a.b a.c p p.q p.q.r");
  EXPECT_EQ(&xfdf.Fields()["a.b"], xfdf.Fields().Get("a.b"));
  EXPECT_EQ(fixed.Fields()["none"].Name(), "");
  EXPECT_FALSE(fixed.Fields()["none"].HasName());
  // Positions follow the names in the order of their bytes.
  EXPECT_EQ(fixed.Fields()[1].Name(), "a.b");
}

TEST(XFDF, OfSeveralWithOneNameTheLastIsMeantAndTheFirstRemoved) {
  ZXFDF xfdf = WithFields(Valued("a", "1") + Valued("b", "b") + Valued("a", "2") + Valued("a", "3"));
  EXPECT_EQ(xfdf.Fields().Size(), 2u);
  EXPECT_EQ(xfdf.Fields()["a"].Value().AsChaine(), "3");
  xfdf.Fields().RemoveField("a");
  EXPECT_FALSE(xfdf.Fields().Exist("a"));
  EXPECT_EQ(xfdf.AsChaine(),
            Document("<fields>" + Valued("b", "b") + Valued("a", "2") + Valued("a", "3") + "</fields>"));
  xfdf.Fields()["a"] = "4";
  xfdf.Fields().RemoveField("a");
  xfdf.Fields().RemoveField("a");
  xfdf.Fields().RemoveField("none");
  EXPECT_EQ(xfdf.AsChaine(), Document("<fields>" + Valued("b", "b") + Valued("a", "4") + "</fields>"));
  xfdf.Fields().RemoveField("a");
  EXPECT_EQ(xfdf.AsChaine(), Document("<fields>" + Valued("b", "b") + "</fields>"));
}

TEST(XFDF, RemovingDoesNotDescend) {
  ZXFDF xfdf = WithFields(XFDFField("a", Valued("b", "1")) + Valued("a.b", "2"));
  xfdf.Fields().RemoveField("a.b");
  EXPECT_EQ(xfdf.Fields()["a.b"].Value().AsChaine(), "1");
  xfdf.Fields()["a"].RemoveField("b");
  EXPECT_EQ(Names(xfdf.Fields()), "a");
}

TEST(XFDF, FreeEmptiesTheFields) {
  ZXFDF xfdf = WithFields(Valued("a", "1") + "<field><value>nameless</value></field><other/>");
  EXPECT_EQ(xfdf.Fields().Size(), 1u);
  xfdf.Fields().Free();
  EXPECT_EQ(xfdf.Fields().Size(), 0u);
  EXPECT_EQ(xfdf.AsChaine(), Document("<fields><other/></fields>"));
  xfdf.Fields()["b"];
  EXPECT_EQ(xfdf.AsChaine(), Document("<fields><other/><field name=\"b\"/></fields>"));
}

TEST(XFDF, WhatIsNotUnderstoodIsWrittenBack) {
  const std::string texts[] = {
      "<field><value>nameless</value></field>" + Valued("a", "1"),
      "<!-- c --><?p i?><field name=\"a\" x:y=\"z\"><unknown/><value> \t </value></field>\n  ",
      Valued("a", "<![CDATA[<b>&\n]]>"),
      XFDFField("a", "<value-richtext><body xmlns=\"x\"><p>a <b>b</b> c</p></body></value-richtext>"),
  };
  for (const std::string& fields : texts) {
    const Chaine text = Document("<annots><text page=\"0\"><contents>é</contents></text></annots><fields>" + fields +
                                 "</fields><!--end-->") +
                        "\n<!-- after -->\n";
    ZXFDF xfdf = Parsed(text);
    EXPECT_EQ(xfdf.AsChaine(), text);
    xfdf.Fields();
    EXPECT_EQ(ZXFDF(xfdf).AsChaine(), text);
  }
  const ZXFDF rich = WithFields(texts[3]);
  EXPECT_EQ(rich.Fields()["a"].ValueRichText().AsChaine(), "<body xmlns=\"x\"><p>a <b>b</b> c</p></body>");
  EXPECT_FALSE(rich.Fields()["a"].HasValue());
  EXPECT_EQ(WithFields(texts[1]).Fields()["a"].Value().AsChaine(), " \t ");
}

TEST(XFDF, Identifiers) {
  ZXFDF xfdf;
  EXPECT_FALSE(xfdf.HasIDS());
  xfdf.SetIDS("AB\xFF"s, "\0"s);
  EXPECT_EQ(xfdf.IDSOriginal(), "4142FF");
  EXPECT_EQ(xfdf.IDSModified(), "00");
  EXPECT_EQ(xfdf.AsChaine(), Document("<ids original=\"4142FF\" modified=\"00\"/>"));
  xfdf.SetIDS("", "");
  EXPECT_FALSE(xfdf.HasIDS());
  EXPECT_EQ(xfdf.IDSOriginal(), "");
}

TEST(XFDF, SeveralValuesAndAnotherRoot) {
  ZXFDF data;
  data.FromChaine("<xfdf><fields><field name='a'><value>1</value><x/><value>2</value></field></fields></xfdf>");
  EXPECT_EQ(data.Fields()["a"].Values(), (PTableau<Chaine>{"1", "2"}));
  data.Fields()["b"].SetValues({"3", "4"});
  ZXFDF again;
  again.FromChaine(data.AsChaine());
  EXPECT_EQ(again.Fields()["b"].Values(), (PTableau<Chaine>{"3", "4"}));
  again.FromChaine("<html><fields><field name='a'><value>1</value></field></fields></html>");
  EXPECT_FALSE(again.HasFields());
  EXPECT_NE(again.LastError().find("html"), std::string::npos);
}

TEST(XFDF, TheNamespaceMayHaveAPrefix) {
  ZXFDF data;
  data.FromChaine(R"(<n:xfdf xmlns:n="http://ns.adobe.com/xfdf/"><n:fields><n:field name="a"><n:field name="b">)"
                  R"(<n:value>1</n:value></n:field></n:field></n:fields><o:x xmlns:o="u"/></n:xfdf>)");
  ASSERT_TRUE(data.HasFields());
  EXPECT_EQ(data.Fields()["a.b"].Value().AsChaine(), "1");
  EXPECT_NE(data.AsChaine().View().find("<o:x"), std::string_view::npos);
  ZXFDF again;
  again.FromChaine(data.AsChaine());
  EXPECT_TRUE(again.Fields().Exist("a.b"));
  // Another namespace is not XFDF, even with the same name of the root.
  ZXFDF other;
  other.FromChaine(R"(<n:xfdf xmlns:n="http://example.org/"><n:fields/></n:xfdf>)");
  EXPECT_FALSE(other.HasFields());
}

TEST(XFDF, HRef) {
  const struct {
    const char* url;
    const char* stored;
    const char* read;
  } kCases[] = {
      {"http://h:80/a?b=c:d|e", "http://h:80/a?b=c:d|e", "http://h:80/a?b=c:d|e"},
      {"file:///C:/dir/form.pdf", "file:///C|/dir/form.pdf", "file:///C:/dir/form.pdf"},
      {"file:///no/such/form.pdf", "file:///no/such/form.pdf", "file:///no/such/form.pdf"},
      {"form.pdf", "form.pdf", "form.pdf"},
  };
  for (const auto& c : kCases) {
    ZXFDF xfdf;
    xfdf.SetPDFHRef(ZInetURL(c.url));
    EXPECT_EQ(xfdf.AsChaine(), Document("<f href=\""s + c.stored + "\"/>"));
    EXPECT_EQ(xfdf.PDFHRef().AsChaine(), c.read);
    xfdf.SetPDFHRef(ZInetURL());
    EXPECT_FALSE(xfdf.HasPDFHRef());
    EXPECT_TRUE(xfdf.PDFHRef().IsEmpty());
  }
}

TEST(XFDF, IdentifiersOfALocalPDF) {
  std::string pdf = "%PDF-1.4\n1 0 obj\n<</Type/Catalog>>\nendobj\n";
  const std::string offset = std::to_string(pdf.size());
  pdf +=
      "xref\n0 2\n0000000000 65535 f\r\n0000000009 00000 n\r\ntrailer\n<</Size 2/Root 1 0 "
      "R/ID[<4142>(c)]>>\nstartxref\n" +
      offset + "\n%%EOF\n";
  ASSERT_TRUE(StoreFile(TempPath("a b.pdf"), pdf));
  ZXFDF xfdf;
  EXPECT_TRUE(xfdf.SetIDSFromLocalPDF(TempPath("a b.pdf")));
  EXPECT_EQ(xfdf.IDSOriginal(), "4142");
  EXPECT_FALSE(xfdf.SetIDSFromLocalPDF(TempPath("missing.pdf")));
  ZXFDF other;
  other.SetPDFHRef(ZInetURL::FromLocalPath(TempPath("a b.pdf")));
  EXPECT_EQ(other.IDSModified(), "63");
  EXPECT_EQ(other.PDFHRef().Path(true), std::filesystem::path(TempPath("a b.pdf")).generic_string());
}

TEST(XFDF, SavedAndReadFromEverywhere) {
  ZXFDF xfdf;
  xfdf.Fields()["a"] = "é\r\n<&";
  ASSERT_TRUE(xfdf.Save(TempPath("x.xfdf")));
  sBlob blob;
  ASSERT_TRUE(xfdf.ToBlob(&blob));
  Chaine file;
  ASSERT_TRUE(ReadFile(TempPath("x.xfdf"), &file));
  EXPECT_EQ(file, xfdf.AsChaine());
  EXPECT_EQ(blob.bytes, file);
  ZXFDF from_file, from_blob;
  EXPECT_TRUE(from_file.Read(TempPath("x.xfdf")));
  EXPECT_TRUE(from_blob.FromBlob(&blob));
  for (const ZXFDF* read : {&from_file, &from_blob}) EXPECT_EQ(read->Fields()["a"].Value().AsChaine(), "é\r\n<&");

  EXPECT_FALSE(xfdf.Save(TempPath("no/folder.xfdf")));
  EXPECT_FALSE(xfdf.LastError().empty());
  EXPECT_TRUE(from_file.Read(TempPath("missing.xfdf")));
  EXPECT_FALSE(from_file.HasFields());
  EXPECT_FALSE(from_file.LastError().empty());
}

// A destination that accepts a given number of bytes.
class FullOStream : public ZInetOStream {
 public:
  explicit FullOStream(size_t room) : room_(room) {}
  bool Write(const char*, size_t size) override {
    if (size > room_) return false;
    room_ -= size;
    return true;
  }

 private:
  size_t room_;
};

TEST(XFDF, AFullDestinationShows) {
  ZXFDF xfdf;
  xfdf.Fields()["a"] = std::string(200'000, 'x') + "\n" + std::string(200'000, 'y');
  const size_t size = xfdf.AsChaine().size();
  for (const size_t room : {size_t{0}, size_t{1000}, size / 2, size - 1}) {
    FullOStream out(room);
    EXPECT_FALSE(xfdf.Save(&out)) << room;
    EXPECT_FALSE(xfdf.LastError().empty());
  }
  FullOStream out(size);
  EXPECT_TRUE(xfdf.Save(&out));
}

TEST(XFDF, NothingStaleSurvives) {
  ZXFDF xfdf = WithFields(Valued("old", "1"));
  xfdf.Fields();
  EXPECT_TRUE(xfdf.FromChaine(Document("<fields>" + Valued("new", "2") + "</fields>")));
  EXPECT_EQ(Names(xfdf.Fields()), "new");

  const ZXFDF copy(xfdf);
  xfdf.Fields()["new"] = "3";
  EXPECT_EQ(copy.Fields()["new"].Value().AsChaine(), "2");
  ZXFDF assigned = WithFields(Valued("other", "1"));
  assigned.Fields();
  assigned = xfdf;
  xfdf.Fields().Free();
  EXPECT_EQ(assigned.Fields()["new"].Value().AsChaine(), "3");
  assigned = *&assigned;
  EXPECT_EQ(Names(assigned.Fields()), "new");
  ZXFDF moved(std::move(assigned));
  EXPECT_EQ(Names(moved.Fields()), "new");

  // After a failed read the document is empty.
  for (const char* text : {"", "<xfdf><fields>", "not XML", "<xfdf/><xfdf/>"}) {
    ZXFDF broken(copy);
    EXPECT_TRUE(broken.FromChaine(text));
    EXPECT_FALSE(broken.HasFields() || broken.HasIDS() || broken.HasSessionID()) << text;
    EXPECT_FALSE(broken.LastError().empty()) << text;
    EXPECT_EQ(broken.AsChaine(), "");
    EXPECT_EQ(Names(broken.Fields()), "");
  }
}

TEST(XFDF, SessionIDIsAValueThatIsNotEmpty) {
  const struct {
    std::string fields;
    bool has;
  } kCases[] = {
      {Valued("a", "1"), false},
      {XFDFField("ZOR", XFDFField("SessionID", "")), false},
      {XFDFField("ZOR", Valued("SessionID", "")), false},
      {XFDFField("ZOR", Valued("SessionID", "x")), true},
      {Valued("ZOR.SessionID", "x"), true},
  };
  for (const auto& c : kCases) {
    ZXFDF xfdf = WithFields(c.fields);
    EXPECT_EQ(xfdf.HasSessionID(), c.has) << c.fields;
    xfdf.Fields().Free();
    EXPECT_FALSE(xfdf.HasSessionID());
  }
  EXPECT_FALSE(ZXFDF().HasSessionID());
}

TEST(XFDF, AFieldTakesOverAnother) {
  ZXFDF xfdf = WithFields(XFDFField("a", "<value>1</value>" + XFDFField("b", "<value>2</value>" + XFDFField("c", ""))) +
                          XFDFField("d", XFDFField("e", "")));
  auto& fields = xfdf.Fields();
  fields["d"] = fields["a"];
  EXPECT_EQ(Names(fields), "a a.b a.b.c d d.b d.b.c");
  EXPECT_EQ(fields["d.b"].Value().AsChaine(), "2");
  fields["a"] = fields["a.b"];
  EXPECT_EQ(Names(fields["a"]), "c");
  EXPECT_EQ(fields["a"].Value().AsChaine(), "2");
  fields["d.b"] = fields["d"];
  EXPECT_EQ(Names(fields["d"]), "b b.b b.b.c");
  fields["d"] = *&fields["d"];
  EXPECT_EQ(Parsed(xfdf.AsChaine()).AsChaine(), xfdf.AsChaine());
}

TEST(XFDF, Annotations) {
  ZXFDF xfdf;
  const ZXFDF& fixed = xfdf;
  EXPECT_FALSE(xfdf.HasAnnots());
  EXPECT_EQ(fixed.Annots().FirstChild(), nullptr);
  EXPECT_EQ(xfdf.AsChaine(), "");
  xfdf.Annots().Add("text");
  EXPECT_EQ(xfdf.AsChaine(), Document("<annots><text/></annots>"));
  xfdf.RemoveAnnots();
  EXPECT_FALSE(xfdf.HasAnnots());
}

TEST(XFDF, LineEndsInMemoryAndOutside) {
  const struct {
    const char* outside;
    const char* inside;
    const char* again;
  } kCases[] = {
      {"a\nb", "a\r\nb", "a\nb"},
      {"a\r\nb", "a\r\nb", "a\nb"},
      {"a\rb", "a\rb", "ab"},
      {"\n\n", "\r\n\r\n", "\n\n"},
      {"a&#13;&#10;b", "a\r\nb", "a\nb"},
      {"a&#10;b", "a\nb", "a\nb"},
      {"&#13;", "\r", nullptr},
      {"1&#13;\n2&#xD;\n3&#13;4", "1\r\n2\r\n3\r4", "1\n2\n34"},
  };
  for (const auto& c : kCases) {
    const ZXFDF xfdf = WithFields(Valued("a", c.outside));
    EXPECT_EQ(xfdf.Fields()["a"].Value().AsChaine(), c.inside);
    const std::string field = c.again == nullptr ? "<field name=\"a\"><value/></field>" : Valued("a", c.again);
    EXPECT_EQ(xfdf.AsChaine(), Document("<fields>" + field + "</fields>"));
  }
}

TEST(XFDF, ReturnsAloneAroundElementsAreWrittenOnce) {
  const Chaine written = Parsed("<?xml version=\"1.0\"?>\r<xfdf>\r<fields/>\r</xfdf>\r").AsChaine();
  EXPECT_EQ(written, kHead + "<xfdf><fields/></xfdf>"s);
  EXPECT_EQ(Parsed(written).AsChaine(), written);
}

TEST(XFDF, EncodingsAndWhatXMLCannotCarry) {
  const std::string latin =
      "<?xml version=\"1.0\" encoding=\"windows-1252\"?>\n<xfdf><fields><field "
      "name=\"pr\xE9nom\"><value>\x80\n</value></field></fields></xfdf>";
  std::string utf16 = "\xFF\xFE";
  for (const char16_t c : u"<xfdf><fields><field name='prénom'><value>€\n\u0A0D</value></field></fields></xfdf>") {
    if (c != 0) utf16 += {static_cast<char>(c & 255), static_cast<char>(c >> 8)};
  }
  EXPECT_EQ(Parsed(latin).Fields()["prénom"].Value().AsChaine(), "€\r\n");
  // In UTF-16, the bytes 0A 0D of one character are not a line end.
  const ZXFDF wide = Parsed(utf16);
  EXPECT_EQ(wide.Fields()["prénom"].Value().AsChaine(), "€\r\n\u0A0D");
  EXPECT_EQ(Parsed(wide.AsChaine()).AsChaine(), wide.AsChaine());
  EXPECT_TRUE(wide.AsChaine().View().starts_with(kHead));
  ZXFDF xfdf;
  xfdf.Fields()["a"] = "x\x02y";
  EXPECT_EQ(Parsed(xfdf.AsChaine()).Fields()["a"].Value().AsChaine(), "x\uFFFDy");
  EXPECT_EQ(xfdf.LastReplaced(), 1u);
}

TEST(LineEndFilters, In) {
  const std::pair<const char*, const char*> kCases[] = {
      {"", ""}, {"a", "a"}, {"\n", "\r\n"}, {"\r\n", "\r\n"}, {"a\n\nb", "a\r\n\r\nb"}, {"\r\r\n\n\r", "\r\r\n\r\n\r"},
  };
  for (const auto& [outside, inside] : kCases) {
    for (size_t size = 1; size < 6; size++) {
      ZInetChaineIStream source{Chaine(outside)};
      ZInetLFToCRLFIStream filter(&source);
      std::string read;
      char buffer[8];
      EXPECT_EQ(filter.Read(buffer, 0), 0u);
      while (const size_t got = filter.Read(buffer, size)) {
        ASSERT_LE(got, std::max<size_t>(size - 1, 1));
        read.append(buffer, got);
      }
      EXPECT_EQ(read, inside);
    }
  }
}

TEST(LineEndFilters, Out) {
  const std::pair<const char*, const char*> kCases[] = {
      {"", ""}, {"a\r\nb", "a\nb"}, {"\r", ""}, {"\r\r\n\n\rx", "\n\nx"}, {"a\n", "a\n"},
  };
  for (const auto& [inside, outside] : kCases) {
    Chaine text;
    ZInetChaineOStream target(text);
    ZInetCRLFToLFOStream filter(&target);
    EXPECT_TRUE(filter.Write(inside, std::string_view(inside).size()));
    EXPECT_EQ(text, outside);
  }
  FullOStream full(1);
  ZInetCRLFToLFOStream filter(&full);
  EXPECT_TRUE(filter.Write("\r\r", 2));
  EXPECT_TRUE(filter.Write("a\r", 2));
  EXPECT_FALSE(filter.Write("\rb", 2));
}

TEST(XFDF, RandomDocumentsAreReadAsTheyWereBuilt) {
  std::mt19937 random(11);
  const char* const kParts[] = {"a", "b", "é", "x y", "<&>\"'", "c\td\ne", "]]>", "1"};
  for (int round = 0; round < 200; round++) {
    ZXFDF built;
    if (random() % 2 == 0) built.SetIDS(std::string(random() % 17, '\xAB'), "m");
    if (random() % 2 == 0) built.SetPDFHRef(ZInetURL("http://h/x?y=\"&z"));
    for (size_t i = random() % 60; i-- != 0;) {
      std::string name = kParts[random() % 8];
      for (size_t depth = random() % 4; depth-- != 0;) name += "."s + kParts[random() % 8];
      std::string value;
      for (size_t k = random() % 6; k-- != 0;) value += random() % 5 == 0 ? "\r\n" : kParts[random() % 5];
      if (random() % 5 != 0) built.Fields()[name] = value;
      if (random() % 9 == 0) built.Fields()[name].ValueRichText().FromChaine("<p>a&amp;<b/> c</p>");
      if (random() % 9 == 0) built.Fields().RemoveField(kParts[random() % 8]);
    }
    const Chaine text = built.AsChaine();
    if (text.IsEmpty()) continue;
    const ZXFDF read = Parsed(text);
    ASSERT_EQ(read.AsChaine(), text);
    ASSERT_EQ(read.IDSOriginal(), built.IDSOriginal());
    ASSERT_EQ(read.PDFHRef().AsChaine(), built.PDFHRef().AsChaine());
    ASSERT_EQ(Names(read.Fields()), Names(built.Fields()));
    const ZXFDF::FieldCollection& fields = built.Fields();
    for (const Chaine& name : fields.FieldNames()) {
      ASSERT_EQ(read.Fields()[name].Value().AsChaine(), fields[name].Value().AsChaine()) << text.View();
      ASSERT_EQ(read.Fields()[name].HasValue(), fields[name].HasValue());
    }
    // When two paths of field names give the same full name, the search uses one of them.
    EXPECT_TRUE(read.Fields().VisitValues([&](std::string_view name, const ZXFDF::Field& field) {
      EXPECT_TRUE(field.HasValue() && read.Fields()[Chaine(name)].HasValue()) << name;
      return true;
    }));
    const auto with_value = [&](const Chaine& name) { return fields[name].HasValue(); };
    const PUniqueT<Chaine> all = fields.FieldNames();
    EXPECT_EQ(built.Fields().VisitValues([](std::string_view, const ZXFDF::Field&) { return false; }),
              std::none_of(all.begin(), all.end(), with_value));
  }
}

TEST(XFDFSurvey, SaysWhatReadingWouldSay) {
  using Session = XFDFSurvey::Session;
  const std::string infos = "<value>&lt;Params/&gt; &#233;</value>";
  const std::string whole = XFDFField("ZOR.SessionID", infos);
  const std::string nested = XFDFField("ZOR", XFDFField("SessionID", infos));
  const struct {
    std::string text;
    Session session;
    size_t nodes;
  } kCases[] = {
      {"<xfdf><fields>" + whole + "</fields></xfdf>", Session::eFound, 6},
      {"<xfdf a='>' b=\"/>'\" ><fields>" + Valued("a", "b") + nested + "</fields></xfdf>", Session::eFound, 14},
      {"<!-- <fields/> --><xfdf>\n<annots>" + whole + "</annots><fields/></xfdf>", Session::eNone, 9},
      {"<?xml version=\"1.0\"?><xfdf><fields>" + XFDFField("x", whole) + "<field/></fields></xfdf>", Session::eNone,
       10},
      {"<xfdf><fields>" + whole + nested + "</fields></xfdf>", Session::eUnknown, 12},
      {"<xfdf><fields>" + nested + XFDFField("ZOR", "") + "</fields></xfdf>", Session::eUnknown, 10},
      {"<xfdf><fields/><fields>" + whole + "</fields></xfdf>", Session::eUnknown, 7},
      {"<xfdf><fields>" + XFDFField("&#90;OR.SessionID", infos) + "</fields></xfdf>", Session::eUnknown, 6},
      {"<xfdf><fields>" + XFDFField("ZOR.SessionID", "<value/>" + infos) + "</fields></xfdf>", Session::eUnknown, 7},
      {"<xfdf><fields>" + XFDFField("ZOR.SessionID", "<value>a<!-- -->b</value>") + "</fields></xfdf>",
       Session::eUnknown, 8},
      {"<x:xfdf xmlns:x=\"http://ns.adobe.com/xfdf/\"><x:fields/></x:xfdf>", Session::eUnknown, 3},
      // In a text that the survey cannot parse, it counts the markup characters.
      {"<!DOCTYPE xfdf [<!ENTITY a '<'>]><xfdf><fields>" + whole + "</fields></xfdf>", Session::eUnknown, 23},
  };
  for (const auto& [text, session, nodes] : kCases) {
    const XFDFSurvey survey = XFDFSurvey::Of(text, 1000);
    EXPECT_EQ(survey.has_session, session) << text;
    EXPECT_EQ(survey.nodes, nodes) << text;
    EXPECT_GT(XFDFSurvey::Of(text, 2).nodes, 2U) << text;
    const ZXFDF read = Parsed(text);
    EXPECT_TRUE(session != Session::eNone || !read.HasSessionID()) << text;
    EXPECT_TRUE(session != Session::eFound || read.Fields()["ZOR.SessionID"].Value().AsChaine() == survey.session)
        << text;
  }
  std::string attributes;
  for (int i = 0; i < 2000; i++) attributes += " a" + std::to_string(i) + "=\"\"";
  for (const char* name : {"<xfdf", "<?xml"}) EXPECT_GT(XFDFSurvey::Of(name + attributes + "?/>", 1000).nodes, 1000U);
}

TEST(XFDF, HostileInputTakesTimeInProportion) {
  const CpuTime time;
  // 50,000 fields of distinct names, and of one name, removed in any order.
  constexpr int kCount = 50'000;
  std::string distinct, same;
  for (int i = 0; i < kCount; i++) {
    distinct += Valued(std::to_string(i * 7919 % kCount), "x");
    same += Valued("a", "x");
  }
  ZXFDF xfdf = WithFields(distinct);
  EXPECT_EQ(xfdf.Fields().FieldNames().Size(), static_cast<size_t>(kCount));
  for (int i = 0; i < kCount; i++) xfdf.Fields().RemoveField(Chaine(std::to_string(i)));
  EXPECT_EQ(xfdf.AsChaine(), Document("<fields/>"));
  ZXFDF duplicates = WithFields(same);
  for (int i = 0; i < kCount; i++) duplicates.Fields().RemoveField("a");
  EXPECT_EQ(duplicates.AsChaine(), Document("<fields/>"));

  // A name of 100,000 parts is found again, and read back.
  ZXFDF deep;
  const Chaine name(Repeated("a.", 100'000) + "z");
  deep.Fields()[name] = "x";
  EXPECT_EQ(Parsed(deep.AsChaine()).Fields()[name].Value().AsChaine(), "x");
  // A dotted name that can be split into field names in very many ways.
  std::string lattice = XFDFField("z", "");
  for (int i = 0; i < 12; i++) lattice = XFDFField("a", lattice) + XFDFField("a.a", lattice);
  const ZXFDF many = WithFields(lattice);
  for (int i = 0; i < 100; i++) EXPECT_FALSE(many.Fields().Exist(Chaine(Repeated("a.", 24) + "y")));
  EXPECT_TRUE(many.Fields().Exist(Chaine(Repeated("a.", 12) + "z")));
  // Full names whose total length is large.
  std::string nested = Repeated(Valued("leaf", "x"), 1);
  for (int i = 0; i < kCount / 50; i++) nested += Valued("leaf" + std::to_string(i), "x");
  for (int i = 0; i < 400; i++) nested = XFDFField(std::string(1000, 'n'), nested);
  EXPECT_EQ(WithFields(nested).Fields().FieldNames().Size(), 4u);
  // Names of 4,000 bytes above 50,000 empty fields and one value; building all full names would take 200 MB.
  std::string leaves = Valued("z", "x");
  for (int i = 0; i < kCount; i++) leaves += XFDFField(std::to_string(i), "");
  for (int i = 0; i < 400; i++) leaves = XFDFField("nnnnnnnnn", leaves);
  const ZXFDF empty = WithFields(leaves);
  EXPECT_LT(empty.Fields().FieldNames().Size(), 20'000U);
  size_t visited = 0;
  for (int i = 0; i < 20; i++) visited += empty.Fields().VisitValues([](auto, const auto&) { return false; }) ? 0 : 1;
  EXPECT_EQ(visited, 20U);
  EXPECT_LT(time.Seconds(), 30);
}

}  // namespace
}  // namespace zforms
