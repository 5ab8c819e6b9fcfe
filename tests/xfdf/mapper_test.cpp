// Host data into forms and back: the fields that a form exports, maps, and the mapper.

#include "zforms/xfdf/mapping/mapper.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <utility>

#include "tests/support/form_text.h"
#include "tests/support/temp_path.h"
#include "tests/support/words.h"
#include "zforms/pdf/crypt/encryption.h"
#include "zforms/pdf/dictionary_node.h"
#include "zforms/platform/data/field_set.h"
#include "zforms/platform/files/file_io.h"
#include "zforms/xfdf/transaction.h"

namespace zforms {
namespace {

std::string Names(const ZXFDF& xfdf) {
  std::string names;
  for (const Chaine& name : xfdf.Fields().FieldNames()) names += name.ToString() + " ";
  return names;
}

ZXFDF WithFields(const std::string& fields) {
  ZXFDF xfdf;
  xfdf.FromChaine("<xfdf><fields>" + fields + "</fields></xfdf>");
  EXPECT_EQ(xfdf.LastError(), "");
  return xfdf;
}

// Each map as "name:rubric.field", unmapped ones as "name:".
std::string MapsOf(const ZXFDFMapper& mapper) {
  std::string maps;
  for (const auto& [name, reference] : mapper.Maps()) {
    maps += name.ToString() + ":";
    if (reference.IsMapped()) maps += reference.rubric.ToString() + "." + reference.field.ToString();
    maps += " ";
  }
  return maps;
}

std::string Entries(ZXFDFMapStorage& storage) {
  std::string entries;
  Chaine name, reference;
  for (storage.Reset(); storage.Next(name, reference);) entries += name.ToString() + "=" + reference.ToString() + " ";
  return entries;
}

// A group, a field with two widgets, kids with mapping names ("/TM"), names that are repeated or missing.
FormText Form() {
  return FormText()
      .Field(10, "<</T(group)/Kids[11 0 R 12 0 R 13 0 R]/FT/Tx/V(inherited)>>")
      .Object(11, "<</T(a)/Parent 10 0 R/TM(Client.Name)/V(x)>>")
      .Object(12, "<</T(b)/Parent 10 0 R/Ff 4/TM(Client.Secret)>>")
      .Object(13, "<</T(c)/Parent 10 0 R/TM(Town)>>")
      .Field(20, "<</T(two)/FT/Tx/TM(Client.Two)/Kids[21 0 R 22 0 R]>>")
      .Object(21, "<</Subtype/Widget/Parent 20 0 R/TM(Client.Widget)/Ff 4>>")
      .Object(22, "<</Subtype/Widget/Parent 20 0 R>>")
      .Field(30, "<</FT/Tx/TM(Client.Nameless)>>")
      .Field(40, "<</T(same)/FT/Tx/TM(Client.First)>>")
      .Field(41, "<</T(same)/FT/Tx/TM(Client.Second)/Ff 4>>")
      .Field(50, "<</T(\xE9t\xE9)/FT/Tx/TM(Client.Sais\xF3n)>>");
}

TEST(FormFields, EachExportedFieldGivesOne) {
  ZXFDF xfdf = WithFields(Valued("kept", "1") + Valued("two", "2"));
  EXPECT_TRUE(xfdf.CreateFieldsFromLocalPDF(Form().Form()));
  EXPECT_EQ(Names(xfdf), "group group.a group.c kept same two été ");
  EXPECT_EQ(xfdf.Fields()["two"].Value().AsChaine(), "2");
  EXPECT_FALSE(xfdf.Fields()["group.a"].HasValue());

  ZXFDF untouched;
  EXPECT_FALSE(untouched.CreateFieldsFromLocalPDF(ZAcroForm()));
  EXPECT_FALSE(untouched.CreateFieldsFromLocalPDF(Chaine(TempPath("none.pdf")), ""));
  EXPECT_EQ(untouched.AsChaine(), "");
  const Chaine path(TempPath("form.pdf"));
  ASSERT_TRUE(StoreFile(path, Form().Bytes()));
  EXPECT_TRUE(untouched.CreateFieldsFromLocalPDF(path, ""));
  EXPECT_EQ(Names(untouched), "group group.a group.c same two été ");
  EXPECT_TRUE(ZXFDF().CreateFieldsFromLocalPDF(FormText().Form()));

  const std::unique_ptr<ZPDFEncryption> handler(ZPDFEncryption::CreateStandard("id", "\xE9", "owner"));
  const Chaine encrypted = FormText()
                               .Object(12, LineOf(handler->Dictionary()))
                               .Fields("<</FT/Tx/T(a)>>")
                               .Trailer("/Encrypt 12 0 R/ID[(id)(id)]")
                               .Bytes();
  ASSERT_TRUE(StoreFile(path, encrypted));
  ZXFDF kept = untouched;
  EXPECT_FALSE(kept.CreateFieldsFromLocalPDF(path, ""));
  EXPECT_EQ(kept.AsChaine(), untouched.AsChaine());
  EXPECT_TRUE(kept.CreateFieldsFromLocalPDF(path, "é"));
  EXPECT_EQ(kept.Fields().Size(), untouched.Fields().Size() + 1);
}

TEST(MapStorage, MappingNamesOfAForm) {
  ZXFDFMapStoragePDF bare(Form().Form(), "");
  const char* const kBare = "group.a=Client.Name group.c= same=Client.First two=Client.Two été=Client.Saisón ";
  EXPECT_EQ(Entries(bare), kBare);
  EXPECT_EQ(Entries(bare), kBare);
  ZXFDFMapStoragePDF with_default(Form().Form(), "Place");
  EXPECT_EQ(Entries(with_default),
            "group.a=Client.Name group.c=Place.Town same=Client.First two=Client.Two été=Client.Saisón ");
  ZXFDFMapStoragePDF missing(Chaine(TempPath("none.pdf")), "", "");
  EXPECT_EQ(Entries(missing), "");
  EXPECT_FALSE(missing.LastError().empty());
}

TEST(MapStorage, SectionsOfAnIniFile) {
  const Chaine path(TempPath("storage.ini"));
  ASSERT_TRUE(StoreFile(path, "[s]\nz=Client.Name\na=Town\nb=\nf[0].x=Client.a.b\n[other]\nc=Client.c\n"));
  const struct {
    const char* section;
    const char* default_rubric;
    const char* entries;
    const char* error;
  } kCases[] = {
      {"s", "", "z=Client.Name a=Town b= f[0].x=Client.a.b ", ""},
      {"s", "Place", "z=Client.Name a=Place.Town b= f[0].x=Client.a.b ", ""},
      {"S", "", "", "the file has no section [S]"},
  };
  for (const auto& c : kCases) {
    ZXFDFMapStorageIni storage(path, c.section, c.default_rubric);
    EXPECT_EQ(Entries(storage), c.entries);
    EXPECT_EQ(storage.LastError(), c.error);
  }
  ZXFDFMapStorageIni missing(path + ".none", "s", "");
  EXPECT_EQ(Entries(missing), "");
  EXPECT_FALSE(missing.LastError().empty());
}

TEST(Mapper, DeclaredMaps) {
  const ZFieldSet client, place;
  FDictionnary<Chaine> references;
  const std::pair<const char*, const char*> kReferences[] = {
      {"a", "CLIENT.Name"}, {"b", "client.x.y"}, {"c", "Other.z"}, {"d", ""},
      {"e", "Name"},        {"f", "Client"},     {"g", ".x"}};
  for (const auto& [name, reference] : kReferences) references.Set(name, reference);
  ZXFDFMapper::MapStorageDictionnary storage(references);

  ZXFDFMapper all;
  all.AddRubric("Client", &client);
  all.ReadMaps(storage, false);
  EXPECT_EQ(MapsOf(all), "a:CLIENT.Name b:client.x.y c: d: e: f: g: ");
  ZXFDFMapper known;
  known.AddRubric("Client", &client);
  known.ReadMaps(storage, true);
  // A reference without "." is kept when it names a known rubric, but it maps no data.
  EXPECT_EQ(MapsOf(known), "a:CLIENT.Name b:client.x.y f: ");
  known.AddRubric("CLIENT", &place);
  EXPECT_EQ(known.Rubric("client"), &place);
  known.DeclareMap("a", "Other", "z");
  known.DeclareUnmapped("b");
  const ZXFDFMapper copy = known;
  known.DeclareMap("a", "Client.y");
  EXPECT_EQ(MapsOf(copy), "a: b: f: ");
}

TEST(Mapper, TheFieldListIsThatOfTheMaps) {
  const ZFieldSet client;
  ZXFDFMapper mapper;
  mapper.AddRubric("C", &client);
  for (const char* name : {"a.b.c", "top", "x.y", "new.one"}) mapper.DeclareMap(name, "C.f");
  mapper.DeclareUnmapped("unmapped");
  const std::string nested = "<field name=\"a\"><value>kept</value>" + Valued("z", "") + "<field name=\"b\">" +
                             Valued("c", "1") + Valued("d", "2") + "</field></field>";
  ZXFDF xfdf = WithFields(nested + Valued("A", "") + Valued("gone", "1") + Valued("gone", "2") + Valued("x.y", "flat") +
                          Valued("top", "3") + "<field name=\"ZOR\">" + Valued("SessionID", "s") + Valued("o", "") +
                          "</field><field><value>nameless</value></field>");
  mapper.SyncFieldListOf(xfdf);
  EXPECT_EQ(Names(xfdf), "ZOR ZOR.SessionID a a.b a.b.c new new.one top unmapped x.y ");
  EXPECT_EQ(xfdf.Fields()["a"].Value().AsChaine(), "kept");
  EXPECT_EQ(xfdf.Fields()["a.b.c"].Value().AsChaine(), "1");
  const std::string text = xfdf.AsChaine().ToString();
  EXPECT_EQ(text.find("gone"), std::string::npos);
  EXPECT_NE(text.find("nameless"), std::string::npos);
  mapper.SyncFieldListOf(xfdf);
  EXPECT_EQ(xfdf.AsChaine(), text);
}

TEST(Mapper, DataGoIntoTheDocumentAndBack) {
  char town[8] = "Liège";
  int32_t count = -3;
  bool member = true;
  ZFieldSet client, place;
  client.Add("Name", "Zoë <&>\r\nline");
  client.Bind("Count", ZVariantBuffer::Over(&count));
  client.Bind("Member", ZVariantBuffer::Over(&member));
  place.Bind("Town", ZVariantBuffer::Chars(town, sizeof(town)));
  ZXFDFMapper mapper;
  mapper.AddRubric("Client", &client);
  mapper.AddRubric("Place", &place);
  const char* const kMaps[][2] = {{"who.name", "client.Name"}, {"n", "Client.COUNT"}, {"m", "Client.Member"},
                                  {"t", "PLACE.Town"},         {"u", "Client.none"},  {"v", ""}};
  for (const auto& map : kMaps) mapper.DeclareMap(map[0], map[1]);

  ZXFDF xfdf = mapper.CreateXFDF(ZInetURL("http://h/f.pdf"), "", "\x01");
  EXPECT_EQ(xfdf.PDFHRef().AsChaine(), "http://h/f.pdf");
  EXPECT_EQ(xfdf.IDSModified(), "01");
  EXPECT_FALSE(mapper.CreateXFDF(ZInetURL("f.pdf"), "", "").HasIDS());
  EXPECT_EQ(Names(xfdf), "m n t u v who who.name ");
  EXPECT_EQ(xfdf.Fields()["who.name"].Value().AsChaine(), "Zoë <&>\r\nline");
  EXPECT_EQ(xfdf.Fields()["m"].Value().AsChaine(), "true");
  EXPECT_EQ(xfdf.Fields()["n"].Value().AsChaine(), "-3");
  EXPECT_FALSE(xfdf.Fields()["u"].HasValue());

  ZXFDF posted =
      WithFields(Valued("t", "Namur") + Valued("n", "x") + Valued("m", "Off") + "<field name=\"v\"/>" +
                 "<field name=\"who\"><field name=\"name\"><value>1</value><value>2</value></field></field>");
  PTableau<Chaine> misfits;
  EXPECT_EQ(mapper.ImportFrom(posted, &misfits), 3u);
  EXPECT_EQ(misfits, PTableau<Chaine>{"n"});
  EXPECT_STREQ(town, "Namur");
  EXPECT_EQ(count, -3);
  EXPECT_FALSE(member);
  EXPECT_EQ(client["Name"].Value().AsChaine(), "1\r\n2");
  EXPECT_EQ(mapper.ImportFrom(ZXFDF()), 0u);
  // A field without a value changes nothing.
  EXPECT_EQ(mapper.ImportFrom(WithFields("<field name=\"t\"/>")), 0u);
  EXPECT_STREQ(town, "Namur");
}

TEST(Mapper, NothingOfAFormerValueStays) {
  ZFieldSet client;
  client.Add("f", "new");
  ZXFDFMapper mapper;
  mapper.AddRubric("C", &client);
  mapper.DeclareMap("a", "C.f");
  const std::string rich = "<value-richtext><body>rich</body></value-richtext>";
  ZXFDF several =
      WithFields("<field name=\"a\"><value>1</value><value>2</value>" + rich + "</field>" + Valued("b", "b"));
  mapper.ExtractTo(several, false);
  EXPECT_EQ(several.Fields()["a"].Values(), PTableau<Chaine>{"new"});
  EXPECT_FALSE(several.Fields()["a"].HasValueRichText());
  EXPECT_TRUE(several.Fields().Exist("b"));
  ZXFDF same = WithFields("<field name=\"a\"><value>new</value>" + rich + "</field>");
  mapper.ExtractTo(same, true);
  EXPECT_TRUE(same.Fields()["a"].HasValueRichText());
}

class AttachedBuffers : public testing::Test {
 protected:
  AttachedBuffers() {
    client_.Bind("Town", ZVariantBuffer::Chars(town_, sizeof(town_)));
    client_.Bind("Count", ZVariantBuffer::Over(&count_));
    mapper_.AddRubric("C", &client_);
    mapper_.DeclareMap("g.town", "C.Town");
    mapper_.DeclareMap("count", "C.Count");
    mapper_.DeclareMap("absent", "C.Town");
    mapper_.DeclareUnmapped("free");
    xfdf_.Fields()["g.town"] = "before";
    for (const char* name : {"count", "free"}) xfdf_.Fields().AddField(name);
    mapper_.AttachBuffersOf(xfdf_);
  }

  char town_[8] = "Liège";
  int32_t count_ = 3;
  ZFieldSet client_;
  ZXFDFMapper mapper_;
  ZXFDF xfdf_;
};

TEST_F(AttachedBuffers, ShareTheirValueWithTheDocument) {
  EXPECT_EQ(xfdf_.Fields()["g.town"].Value().AsChaine(), "Liège");
  xfdf_.Fields()["g.town"] = "Namur";
  xfdf_.Fields()["free"] = "x";
  EXPECT_STREQ(town_, "Namur");
  count_ = 12;
  EXPECT_NE(xfdf_.AsChaine().View().find("<value>12</value>"), std::string_view::npos);
  EXPECT_FALSE(xfdf_.Fields().Exist("absent"));
  // A copy of a field, or a field assigned from it, is not attached to the buffer.
  ZXFDF copy = xfdf_;
  copy.Fields()["g.town"] = "Mons";
  copy = xfdf_;
  copy.Fields()["count"] = 1;
  EXPECT_STREQ(town_, "Namur");
  EXPECT_EQ(count_, 12);
  xfdf_.Fields()["free"] = xfdf_.Fields()["g.town"];
  xfdf_.Fields()["free"] = "y";
  EXPECT_STREQ(town_, "Namur");
  xfdf_.Fields()["g.town"] = xfdf_.Fields()["free"];
  EXPECT_STREQ(town_, "y");
  xfdf_.Fields()["g.town"].SetValues({"a", "b"});
  EXPECT_STREQ(town_, "a\r\nb");
}

TEST_F(AttachedBuffers, TakeWhatIsReadLater) {
  const std::string count = Valued("count", "77");
  xfdf_.FromChaine("<xfdf><fields>" + count + "<field name=\"g\">" + Valued("town", "far too long") +
                   "</field></fields></xfdf>");
  EXPECT_STREQ(town_, "far too");
  EXPECT_EQ(count_, 77);
  EXPECT_EQ(xfdf_.LastMisfits(), PTableau<Chaine>{"g.town"});
  EXPECT_EQ(xfdf_.Fields()["g.town"].Value().AsChaine(), "far too");
  // Without value, field or document the data do not change.
  for (const char* text : {"<xfdf><fields><field name='count'/></fields></xfdf>", "<xfdf/>", "<xfdf><fields>"}) {
    xfdf_.FromChaine(text);
    EXPECT_EQ(count_, 77) << text;
  }
  xfdf_.FromChaine("<xfdf><fields>" + Valued("count", "78") + Valued("count", "seventy") + "</fields></xfdf>");
  EXPECT_EQ(count_, 77);
  EXPECT_EQ(xfdf_.LastMisfits(), PTableau<Chaine>{"count"});
  ZXFDF moved = std::move(xfdf_);
  moved.FromChaine("<xfdf><fields>" + Valued("count", "79") + "</fields></xfdf>");
  EXPECT_EQ(count_, 79);
  moved.DetachBuffers();
  moved.Fields()["count"] = 80;
  moved.FromChaine("<xfdf><fields>" + Valued("count", "81") + "</fields></xfdf>");
  EXPECT_EQ(count_, 79);
}

// Data are put into a form and read back, with accents in names and values.
TEST(Mapper, TheWholeWay) {
  const Chaine ini(TempPath("way.ini"));
  ASSERT_TRUE(StoreFile(ini, "\xEF\xBB\xBF[fiche]\ngroup.a=société.Raison\nété=Saison\ntwo=Société.Œuvre\n"));
  ZFieldSet company;
  const Chaine values[] = {"Café Zoë (SARL)", "œuvre € \U0001F600", "\u0416 first\r\nsecond"};
  company.Add("Raison", values[0]);
  company.Add("Saison", values[1]);
  company.Add("œuvre", values[2]);
  ZXFDFMapper mapper;
  mapper.AddRubric("SOCIÉTÉ", &company);
  mapper.ReadMapsIni(ini, "fiche", "Société", false);

  ZXFDFTransaction manager;
  ZXFDF sent = mapper.CreateXFDF(ZInetURL("http://localhost/f.pdf"), "", "");
  sent.SessionID().SetSoftware("Épicerie");
  sent.SessionID().SetFolder(12, 2024);
  manager.StartTransactionFor(sent);

  ZAcroForm form = Form().Field(60, "<</T(ZOR.SessionID)/FT/Tx>>").Form();
  ZXFDF received;
  received.FromChaine(sent.AsChaine());
  PTableau<Chaine> unmatched;
  EXPECT_EQ(form.SetValues(received, &unmatched), 4u);
  EXPECT_TRUE(unmatched.empty());
  form = Loaded(Saved(form));

  ZXFDF back;
  ASSERT_TRUE(back.CreateFieldsFromLocalPDF(form));
  const ZAcroForm::FieldMap fields = form.FlatFields();
  for (const auto& [name, same] : fields) {
    if (same[0]->HasOwnValue()) back.Fields()[same[0]->FullNameUTF8()] = same[0]->ValueUTF8();
  }
  for (const char* name : {"Raison", "Saison", "œuvre"}) company[name].Set("");
  EXPECT_EQ(mapper.ImportFrom(back), 3u);
  EXPECT_EQ(company["Raison"].Value().AsChaine(), values[0]);
  EXPECT_EQ(company["Saison"].Value().AsChaine(), values[1]);
  EXPECT_EQ(company["œuvre"].Value().AsChaine(), values[2]);
  EXPECT_EQ(back.SessionID().Software(), "Épicerie");
  EXPECT_EQ(back.SessionID().Folder(), (ZXFDFFolderInfos{12, 2024}));
  ZXFDF replay = back;
  EXPECT_TRUE(manager.IncTransactionIn(back));
  EXPECT_FALSE(manager.IncTransactionIn(replay));
}

}  // namespace
}  // namespace zforms
