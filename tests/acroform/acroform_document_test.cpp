#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/cpu_time.h"
#include "tests/support/form_text.h"
#include "tests/support/temp_path.h"
#include "zforms/acroform/acro_form.h"
#include "zforms/pdf/crypt/encryption.h"
#include "zforms/pdf/dictionary_node.h"
#include "zforms/pdf/reference_node.h"
#include "zforms/platform/files/file_io.h"
#include "zforms/platform/text/text.h"
#include "zforms/xfdf/xfdf.h"

namespace zforms {
namespace {

using Field = ZAcroForm::Field;

ZXFDF Data(std::string_view fields) {
  ZXFDF xfdf;
  xfdf.FromChaine("<?xml version=\"1.0\" encoding=\"UTF-8\"?><xfdf xmlns=\"" + std::string(ZXFDF::kNamespace) +
                  "\"><fields>" + std::string(fields) + "</fields></xfdf>");
  return xfdf;
}

ZXFDF Data(const Chaine& name, const Chaine& value) {
  ZXFDF xfdf;
  xfdf.Fields()[name] = ZVariant(value);
  return xfdf;
}

std::string Joined(const PTableau<Chaine>& texts) {
  std::string joined;
  for (const Chaine& text : texts) joined += text.ToString() + ";";
  return joined;
}

TEST(AcroFormDocument, FillingFromXFDF) {
  // A check box and the two widgets of a group, whose states are Oui, 0 and 1.
  const std::string box = "/Subtype/Widget/AP<</N<</Oui 9 0 R/Off 9 0 R>>>>";
  const struct {
    const char* name;
    std::string field;  // object 10, which "/Fields" lists; its kids are direct objects
    const char* data;
    std::string after;  // empty when nothing is written
    const char *unmatched, *refused, *warning;
  } cases[] = {
      {"text", "<</FT/Tx/T(a)>>", "<field name='a'><value>x</value></field>", "<</FT/Tx/T(a)/V(x)>>", "", "", ""},
      {"no value clears nothing", "<</FT/Tx/T(a)/V(x)>>", "<field name='a'/>", "", "", "", ""},
      {"an empty value does", "<</FT/Tx/T(a)/V(x)>>", "<field name='a'><value/></field>", "<</FT/Tx/T(a)/V()>>", "", "",
       ""},
      {"names without a field", "<</FT/Tx/T(a)>>",
       "<field name='g'><field name='x'><value>1</value></field><field name='y'/></field>"
       "<field name='a'><field name='b'><value>1</value></field></field><field "
       "name='ZOR.SessionID'><value>s</value></field>",
       "", "ZOR.SessionID;a.b;g.x;g.y;", "", ""},
      {"accents", "<</FT/Tx/T(Pr\\351nom)>>", "<field name='Prénom'><value>Zoé Д</value></field>",
       "<</FT/Tx/T(Pr\xE9nom)/V(\xFE\xFF" + std::string("\0Z\0o\0\xE9\0 \x04\x14", 10) + ")>>", "", "", ""},
      {"Cyrillic, UTF-16BE at each level", "<</T<FEFF0414>/Kids[<</FT/Tx/T<FEFF0078>>>]>>",
       "<field name='Д'><field name='x'><value>é</value></field></field>",
       "<</T<FEFF0414>/Kids[<</FT/Tx/T<FEFF0078>/V(\xE9)>>]>>", "", "", ""},
      {"names that hold UTF-8 as it is", "<</FT/Tx/T(Pr\xC3\xA9nom)>>", "<field name='Prénom'><value>x</value></field>",
       "<</FT/Tx/T(Pr\xC3\xA9nom)/V(x)>>", "", "", ""},
      {"a name with a period, nested and flat", "<</T(a.b)/Kids[<</FT/Tx/T(c)>><</FT/Tx/T(d)>>]>>",
       "<field name='a'><field name='b'><field name='c'><value>1</value></field></field></field>"
       "<field name='a.b.d'><value>2</value></field>",
       "<</T(a.b)/Kids[<</FT/Tx/T(c)/V(1)>><</FT/Tx/T(d)/V(2)>>]>>", "", "", ""},
      {"the same text in another encoding stays", "<</FT/Tx/T(a)/V<FEFF0078>>>",
       "<field name='a'><value>x</value></field>", "", "", "", ""},
      {"line ends", "<</FT/Tx/T(a)>>", "<field name='a'><value>1\n2</value></field>", "<</FT/Tx/T(a)/V(1\\r\\n2)>>", "",
       "", ""},
      {"rich text before the value", "<</FT/Tx/T(a)/V(o)/RV(r)>>",
       "<field name='a'><value>n</value><value-richtext><b>n</b></value-richtext></field>",
       "<</FT/Tx/T(a)/V(n)/RV(<b>n</b>)>>", "", "", ""},
      {"former rich text goes with the value", "<</FT/Tx/T(a)/V(o)/RV(r)>>", "<field name='a'><value>n</value></field>",
       "<</FT/Tx/T(a)/V(n)>>", "", "", ""},
      {"a check box", "<</FT/Btn/T(a)/AS/Off" + box + ">>", "<field name='a'><value>Oui</value></field>",
       "<</FT/Btn/T(a)/AS/Oui" + box + "/V/Oui>>", "", "", ""},
      {"a check box that is so already", "<</FT/Btn/T(a)/V/Oui/AS/Oui" + box + ">>",
       "<field name='a'><value>Oui</value></field>", "", "", "", ""},
      {"an empty value takes the cross away", "<</FT/Btn/T(a)/V/Oui/AS/Oui" + box + ">>",
       "<field name='a'><value></value></field>", "<</FT/Btn/T(a)/V/Off/AS/Off" + box + ">>", "", "", ""},
      {"a truth value", "<</FT/Btn/T(a)/AS/Off" + box + ">>", "<field name='a'><value>true</value></field>",
       "<</FT/Btn/T(a)/AS/Oui" + box + "/V/Oui>>", "", "", ""},
      {"a truth value that is false", "<</FT/Btn/T(a)/V/Oui/AS/Oui" + box + ">>",
       "<field name='a'><value>false</value></field>", "<</FT/Btn/T(a)/V/Off/AS/Off" + box + ">>", "", "", ""},
      {"a value that is no state", "<</FT/Btn/T(a)/V/Oui/AS/Oui" + box + ">>",
       "<field name='a'><value>Non</value></field>", "<</FT/Btn/T(a)/V/Non/AS/Off" + box + ">>", "", "",
       "field \"a\": \"Non\" is not a state of the button\n"},
      {"a radio group", "<</FT/Btn/Ff 32768/T(a)/Kids[<</AS/0" + box + ">><</Kids[<</AP<</N<</B 9 0 R>>>>>>]>>]>>",
       "<field name='a'><value>B</value></field>",
       "<</FT/Btn/Ff 32768/T(a)/Kids[<</AS/Off" + box + ">><</Kids[<</AP<</N<</B 9 0 R>>>>/AS/B>>]>>]/V/B>>", "", "",
       ""},
      {"an export value", "<</FT/Btn/T(a)/Opt[(Madame)]/AP<</N<</0 9 0 R>>>>/Rect[]>>",
       "<field name='a'><value>Madame</value></field>",
       "<</FT/Btn/T(a)/Opt[(Madame)]/AP<</N<</0 9 0 R>>>>/Rect[]/V/0/AS/0>>", "", "", ""},
      {"a signature", "<</T(a)/FT/Sig/Kids[<</T(b)>>]>>",
       "<field name='a'><value>x</value><field name='b'><value>y</value></field></field>", "", "", "a;a.b;", ""},
      {"a signed field of unknown kind", "<</T(a)/V<</Type/Sig>>>>", "<field name='a'><value>x</value></field>", "", "",
       "a;", ""},
      {"push buttons", "<</T(a)/FT/Btn/Ff 65536/V(x)/Kids[<</T(b)/FT/Btn>><</T(c)>>]>>",
       "<field name='a'><value>y</value><field name='b'><value>y</value></field><field "
       "name='c'><value/></field></field>",
       "", "", "a;a.b;", ""},
      {"a choice", "<</FT/Ch/T(a)/Opt[(1)(2)]/I[0]>>", "<field name='a'><value>2</value></field>",
       "<</FT/Ch/T(a)/Opt[(1)(2)]/V(2)>>", "", "", ""},
      {"several choices", "<</FT/Ch/Ff 2097152/T(a)/Opt[(1)[(\\351)(Eh)](3)]/I[0]>>",
       "<field name='a'><value>3\né</value></field>", "<</FT/Ch/Ff 2097152/T(a)/Opt[(1)[(\xE9)(Eh)](3)]/V[(3)(\xE9)]>>",
       "", "", ""},
      {"several choices as they are", "<</FT/Ch/Ff 2097152/T(a)/Opt[(1)(3)]/V[(3)(1)]/I[0 1]>>",
       "<field name='a'><value>3\n1</value></field>", "", "", "", ""},
      {"several values", "<</FT/Ch/Ff 2097152/T(a)/Opt[(x)(y)(z)]>>",
       "<field name='a'><value>y</value><value>z</value></field>",
       "<</FT/Ch/Ff 2097152/T(a)/Opt[(x)(y)(z)]/V[(y)(z)]>>", "", "", ""},
      {"several values where one is taken", "<</FT/Tx/T(a)>>",
       "<field name='a'><value>1</value><value>2</value></field>", "<</FT/Tx/T(a)/V(1)>>", "", "",
       "field \"a\": the data contain several values; only the first is used\n"},
      {"a widget with a value of its own", "<</FT/Tx/T(a)/V(o)/Kids[<</Rect[]/V(o)>><</Rect[]>>]>>",
       "<field name='a'><value>n</value></field>", "<</FT/Tx/T(a)/V(n)/Kids[<</Rect[]/V(n)>><</Rect[]>>]>>", "", "",
       ""},
      {"lines where one is taken", "<</FT/Ch/T(a)/Opt[(1)(2)]>>", "<field name='a'><value>1\n2</value></field>",
       "<</FT/Ch/T(a)/Opt[(1)(2)]/V(1\\r\\n2)>>", "", "", ""},
  };
  for (const auto& test : cases) {
    ZAcroForm form = FormText().Field(10, test.field).Form();
    const std::string before = ObjectOf(form, 10);
    PTableau<Chaine> unmatched, refused;
    form.SetValues(Data(test.data), &unmatched, &refused);
    EXPECT_EQ(ObjectOf(form, 10), test.after.empty() ? before : test.after) << test.name;
    EXPECT_EQ(form.Parser()->ModifiedObjects().empty(), test.after.empty()) << test.name;
    EXPECT_EQ(Joined(unmatched), test.unmatched) << test.name;
    EXPECT_EQ(Joined(refused), test.refused) << test.name;
    EXPECT_EQ(WarningsOf(form), test.warning) << test.name;
  }
}

TEST(AcroFormDocument, DefaultValuesFromXFDF) {
  ZAcroForm form = FormText()
                       .Field(10, "<</FT/Tx/T(a)/V(v)>>")
                       .Field(11, "<</FT/Btn/T(b)/AS/Off/AP<</N<</Oui 9 0 R>>>>/Rect[]>>")
                       .Field(12, "<</FT/Btn/Ff 32768/T(c)>>")
                       .Form();
  PTableau<Chaine> unmatched;
  const ZXFDF data = Data(
      "<field name='a'><value>é</value><value-richtext><p>r</p></value-richtext></field><field "
      "name='b'><value>Oui</value>"
      "</field><field name='c'><value>1</value></field><field name='d'><value>1</value></field>");
  EXPECT_EQ(form.SetDefaultValues(data, &unmatched), 3U);
  EXPECT_EQ(ObjectOf(form, 10), "<</FT/Tx/T(a)/V(v)/DV(\xE9)>>");
  EXPECT_EQ(ObjectOf(form, 11), "<</FT/Btn/T(b)/AS/Off/AP<</N<</Oui 9 0 R>>>>/Rect[]/DV/Oui>>");
  EXPECT_EQ(ObjectOf(form, 12), "<</FT/Btn/Ff 32768/T(c)/DV(1)>>");
  EXPECT_EQ(Joined(unmatched), "d;");
  EXPECT_EQ(form.SetValues(ZXFDF()), 0U);
}

TEST(AcroFormDocument, FlatFieldsAndSubmitButtons) {
  const std::string submit = "/FT/Btn/Ff 65536/A<</S/SubmitForm>>";
  ZAcroForm form = FormText()
                       .Fields("<</T(z)/Kids[<</T(b)" + submit + "/Kids[<</V(1)>>]>><</V(2)>><</T(k)>>]>> <</T(x)" +
                               submit + ">> <</T(a)" + submit + ">> <</T(x)" + submit + "/V(2)>>")
                       .Form();
  const auto list = [](const auto& map) {
    std::string names;
    for (const auto& [name, fields] : map) names += name.ToString() + "*" + std::to_string(fields.size()) + " ";
    return names;
  };
  EXPECT_EQ(list(form.FlatFields()), "a*1 x*2 z*2 z.b*2 z.k*1 ");
  EXPECT_EQ(list(std::as_const(form).FlatFields()), "a*1 x*2 z*2 z.b*2 z.k*1 ");
  EXPECT_EQ(list(form.FlatRegularFields()), "z*2 z.k*1 ");
  const ZAcroForm::FieldMap flat = form.FlatFields();
  EXPECT_EQ((*flat.Find("z"))[0], form.Fields()["z"]);
  EXPECT_EQ((*flat.Find("z"))[1]->Value(), "2");

  ASSERT_EQ(form.SubmitFormButtonCount(), 4U);
  EXPECT_TRUE(form.HasSubmitFormButton());
  std::string names;
  for (uint32_t i = 0; i < 4; i++) names += (form.SubmitFormButton(i).FullName() + ";").ToString();
  EXPECT_EQ(names, "a;x;x;z.b;");
  EXPECT_EQ(form.SubmitFormButton(2).Value(), "2");

  ZAcroForm::ShowFields({form.Fields()["a"], form.Fields()["z"]}, false);
  ZAcroForm::SetFieldsReadOnly({form.Fields()["z"]}, true);
  EXPECT_TRUE(form.Fields()["a"]->GetAnnotation()->IsHidden());
  EXPECT_TRUE(form.Fields()["z.k"]->IsReadOnly());
  EXPECT_FALSE(form.Fields()["x"]->IsReadOnly());
}

TEST(AcroFormDocument, ViewerPreferencesAndFormInfos) {
  ZAcroForm form = FormText().Infos("/NeedAppearances false/DR<</Font<<>>>>").Form();
  EXPECT_EQ(std::as_const(form).ViewerPreferences(), nullptr);
  EXPECT_EQ(LineOf(form.Infos()->DefaultResources()), "<</Font<<>>>>");
  form.SetNeedAppearances(false);
  EXPECT_TRUE(form.Parser()->ModifiedObjects().empty());
  ASSERT_NE(form.ViewerPreferences(), nullptr);
  EXPECT_TRUE(form.HasViewerPreferences());
  const ZAcroForm::ViewerInfos& viewer = *form.ViewerPreferences();
  form.ResetModified();
  viewer.SetHideToolbar(false);
  EXPECT_FALSE(viewer.IsModified());
  using Set = void (ZAcroForm::ViewerInfos::*)(bool) const;
  using Get = bool (ZAcroForm::ViewerInfos::*)() const;
  using Infos = ZAcroForm::ViewerInfos;
  const std::pair<Set, Get> preferences[] = {
      {&Infos::SetHideToolbar, &Infos::HideToolbar},   {&Infos::SetHideMenubar, &Infos::HideMenubar},
      {&Infos::SetHideWindowUI, &Infos::HideWindowUI}, {&Infos::SetFitWindow, &Infos::FitWindow},
      {&Infos::SetCenterWindow, &Infos::CenterWindow}, {&Infos::SetDisplayDocTitle, &Infos::DisplayDocTitle},
  };
  for (const auto& [set, get] : preferences) {
    EXPECT_FALSE((viewer.*get)());
    (viewer.*set)(true);
    EXPECT_TRUE((viewer.*get)());
  }
  EXPECT_TRUE(viewer.IsModified());
  form.SetNeedAppearances(true);
  const ZAcroForm saved = Loaded(Saved(form));
  EXPECT_TRUE(saved.NeedAppearances());
  EXPECT_EQ(ObjectOf(saved, 1),
            "<</Type/Catalog/AcroForm 2 0 R/ViewerPreferences<</HideToolbar true/HideMenubar true/HideWindowUI true"
            "/FitWindow true/CenterWindow true/DisplayDocTitle true>>>>");
}

TEST(AcroFormDocument, WhatCannotBeLoadedLeavesWhatIsLoaded) {
  ZAcroForm encrypted = Loaded(FormText().Fields("<</T(s)>>").Bytes());
  encrypted.SetStandardUserFlags(4);
  const Chaine secret = Saved(encrypted);

  ZAcroForm form;
  EXPECT_FALSE(form.IsValid());
  EXPECT_EQ(form.Fields().Size(), 0U);
  EXPECT_FALSE(form.Save("anywhere.pdf"));
  EXPECT_EQ(form.Diagnostics().Failure(), "no document is loaded");
  form = Loaded(FormText().Fields("<</T(a)>>").Bytes());
  const Field* field = form.Fields()["a"];
  const auto encrypted_by = [](const std::string& entries) {
    const std::string dictionary = "<</Filter/Standard" + entries + ">>";
    return PdfText()
        .Header()
        .Object(1, "<<>>")
        .Object(2, dictionary)
        .Xref()
        .Trailer("/Root 1 0 R/Encrypt 2 0 R")
        .Bytes();
  };
  const Chaine unsupported = "unsupported encryption: ";
  const std::string keys = "/O(" + std::string(32, 'o') + ")/U(" + std::string(32, 'u') + ")";
  const struct {
    Chaine bytes;
    const char* password;
    Chaine reason;
  } cases[] = {
      {"", "", "not a PDF file: it does not begin with \"%PDF-\""},
      {secret, "wrong", "the password does not open the document"},
      {encrypted_by("/V 2/R 3/Length 128" + keys), "", "the document needs a password, and none was given"},
      {encrypted_by("/V 2/R 3/Length 128"), "", "the encryption dictionary is damaged: \"/O\" has 0 bytes, not 32"},
      {encrypted_by("/V 2/R 3/Length 256"), "", unsupported + "RC4, 256 bits"},
      {encrypted_by("/V 4/R 4/StmF/StdCF/CF<</StdCF<</CFM/AESV2>>>>"), "wrong",
       unsupported + "AES, 128 bits, streams only"},
      {encrypted_by("/V 5/R 6/StmF/Identity/StrF/F/CF<</F<</CFM/AESV3>>>>"), "",
       unsupported + "AES, 256 bits, strings only"},
      {encrypted_by("/V 4/R 4/StmF/StdCF/CF<</StdCF<</CFM/V2>>>>"), "",
       unsupported + "RC4, 128 bits, by crypt filters, streams only"},
      {encrypted_by("/V 3/R 3"), "", unsupported + "algorithm 3"},
  };
  for (const auto& [bytes, password, reason] : cases) {
    ZInetChaineIStream in(bytes);
    EXPECT_FALSE(form.Load(in, password));
    EXPECT_EQ(form.Diagnostics().Failure(), reason);
    EXPECT_EQ(form.Fields()["a"], field);
  }
  EXPECT_FALSE(form.Load("no such file.pdf", ""));
  EXPECT_FALSE(form.Diagnostics().Failure().IsEmpty());
  EXPECT_FALSE(form.Load(nullptr));
  EXPECT_TRUE(form.IsValid());
  EXPECT_TRUE(Loaded(secret).IsValid());

  const ZAcroForm plain =
      Loaded(PdfText().Header().Object(1, "<</Type/Catalog>>").Xref().Trailer("/Root 1 0 R").Bytes());
  EXPECT_FALSE(plain.IsValid());
  EXPECT_EQ(plain.Fields().Size(), 0U);
  EXPECT_EQ(plain.Infos(), nullptr);
}

FormText TwoFields() { return FormText().Field(10, "<</FT/Tx/T(a)/V(1)>>").Field(11, "<</FT/Tx/T(b)>>"); }

TEST(AcroFormDocument, SavingToFiles) {
  const std::string path = TempPath("zforms_acroform.pdf");
  const Chaine read = TwoFields().Bytes();
  ASSERT_TRUE(StoreFile(path, read));
  ZAcroForm form;
  ASSERT_TRUE(form.Load(path, ""));
  EXPECT_EQ(form.PathName(), path);
  form.SetValues(Data("b", "Prénom"));
  EXPECT_FALSE(form.Save(testing::TempDir() + "no such folder/x.pdf"));
  EXPECT_FALSE(form.Diagnostics().Failure().IsEmpty());
  EXPECT_EQ(form.RawData(), read);
  EXPECT_EQ(form.PathName(), path);
  ASSERT_TRUE(form.Save(""));
  EXPECT_TRUE(form.Diagnostics().Failure().IsEmpty());
  Chaine stored;
  ASSERT_TRUE(ReadFile(path, &stored));
  EXPECT_EQ(stored, form.RawData());
  EXPECT_EQ(stored.Mid(0, read.size()), read);
  EXPECT_EQ(ValuesOf(Loaded(stored)), "a=1 b=Prénom ");
  ASSERT_TRUE(form.SaveFull(path + "2"));
  EXPECT_EQ(form.PathName(), path + "2");
  ZAcroForm again;
  ASSERT_TRUE(again.Load(path + "2", ""));
  EXPECT_EQ(ValuesOf(again), "a=1 b=Prénom ");
}

// A destination that accepts no bytes.
class FullStream : public ZInetOStream {
 public:
  bool Write(const char*, size_t) override { return false; }
};

TEST(AcroFormDocument, AFullDestinationChangesNothing) {
  const Chaine read = TwoFields().Bytes();
  for (const bool full : {false, true}) {
    ZAcroForm form = Loaded(read);
    form.Fields()["b"]->SetValue("x");
    FullStream out;
    EXPECT_FALSE(full ? form.SaveFull(out) : form.Save(out));
    EXPECT_EQ(form.Diagnostics().Failure(), "write failed: no space left");
    EXPECT_EQ(form.RawData(), read);
    EXPECT_EQ(ValuesOf(Loaded(Saved(form))), "a=1 b=x ");
  }
}

TEST(AcroFormDocument, PermissionsAreAFullSaveAndThenUpdates) {
  const struct {
    const char* trailer;
    bool touch_first;  // whether every object was loaded before the save
  } cases[] = {{"/ID[(0123456789abcdef)(x)]", true}, {"", true}, {"/ID[(0123456789abcdef)(x)]", false}};
  for (const auto& test : cases) {
    const Chaine read =
        TwoFields().Trailer(test.trailer).Catalog("/Names 12 0 R").Object(12, "[(\\351 secret\\(\\))]").Bytes();
    ZAcroForm form = Loaded(read);
    form.SetStandardUserFlags(ZAcroForm::kAllPermissions);
    EXPECT_EQ(form.EncryptionSave(), nullptr);
    EXPECT_EQ(Saved(form), read);
    if (test.touch_first) ObjectOf(form, 12);

    form.SetStandardUserFlags(0xFFFFF0C4);
    EXPECT_EQ(form.StandardUserFlags(), 0xFFFFF0C4U);
    EXPECT_EQ(form.EncryptionLoad(), nullptr);
    const Chaine encrypted = Saved(form);
    EXPECT_EQ(encrypted.View().find("secret"), std::string_view::npos);
    EXPECT_NE(form.EncryptionLoad(), nullptr);
    EXPECT_EQ(form.EncryptionSave(), form.EncryptionLoad());
    EXPECT_EQ(Saved(form), encrypted);

    // From here on updates are saved to an encrypted file.
    form.Fields()["b"]->SetValue("after");
    const Chaine updated = Saved(form);
    EXPECT_EQ(updated.Mid(0, encrypted.size()), encrypted);
    EXPECT_EQ(updated.View().find("after"), std::string_view::npos);
    ZAcroForm reloaded = Loaded(updated);
    EXPECT_EQ(ValuesOf(reloaded), "a=1 b=after ");
    EXPECT_EQ(reloaded.StandardUserFlags(), 0xFFFFF0C4U);
    EXPECT_EQ(ObjectOf(reloaded, 12), "[(\xE9 secret\\(\\))]");
    EXPECT_EQ(reloaded.Parser()->IDOriginal().size(), 16U);

    // A change of permissions makes the next save a full one with the same handler.
    reloaded.SetStandardUserFlags(4);
    const Chaine again = Saved(reloaded);
    ZAcroForm last = Loaded(again);
    EXPECT_EQ(last.Parser()->SectionCount(), 1U);
    EXPECT_EQ(last.StandardUserFlags(), 4U);
    EXPECT_EQ(ValuesOf(last), "a=1 b=after ");
    EXPECT_EQ(ObjectOf(last, 12), "[(\xE9 secret\\(\\))]");

    // A full save with the same encryption keeps the encrypted strings of an object that was not read.
    ASSERT_TRUE(last.EncryptWithAES256("", "owner"));
    const auto load = [](const Chaine& file) {
      ZAcroForm loaded;
      loaded.SetEncryptions(ZPDFEncryptions::kAll);
      ZInetChaineIStream in(file);
      EXPECT_TRUE(loaded.Load(in, ""));
      return loaded;
    };
    ZAcroForm unread = load(Saved(last));
    const auto stored = [](const Chaine& file) {
      const std::string_view object = file.View().substr(file.View().find("\n12 0 obj"));
      return std::string(object.substr(0, object.find("endobj")));
    };
    const std::string former = stored(unread.RawData());
    EXPECT_EQ(stored(SavedFull(unread)), former);
    ZAcroForm opened = load(unread.RawData());
    EXPECT_EQ(ValuesOf(opened), "a=1 b=after ");
    EXPECT_EQ(ObjectOf(opened, 12), "[(\xE9 secret\\(\\))]");
    opened.RemoveEncryption();
    EXPECT_EQ(stored(SavedFull(opened)), "\n12 0 obj\n[(\xE9 secret\\(\\))]\n");
  }
}

TEST(AcroFormDocument, FullSavesAreWhole) {
  // The trailers have an invalid "/XRefStm", and nothing refers to object 7: a full save drops both.
  PdfText text;
  text.Header().Object(1, "<</AcroForm<</Fields[9 0 R]>>/N 3 1 R>>").Object(3, "(g)", 1).Object(7, "(lost)");
  text.Object(9, "<</FT/Tx/T(a)/V(1)>>").Xref().Trailer("/Root 1 0 R/XRefStm 5");
  text.Object(9, "<</FT/Tx/T(a)/V(2)>>").Xref().Trailer("/Root 1 0 R/XRefStm 5");
  ZAcroForm form = Loaded(text.Bytes());
  const Chaine full = SavedFull(form);
  EXPECT_EQ(full.View().find("lost"), std::string_view::npos);
  ZPDFParser parser;
  ASSERT_TRUE(parser.ReadFromRaw(full, ""));
  EXPECT_EQ(InOneLine(ContentOf(parser)),
            "1.0 {/AcroForm {/Fields [9.0R]}; /N 3.1R}2.0 null3.1 (g)4.0 null5.0 null6.0 null7.0 null8.0 null"
            "9.0 {/FT /Tx; /T (a); /V (2)}");
  EXPECT_EQ(TextOf(parser.TrailerDico()), "<</Size 10/Root 1 0 R>>");
  form.Fields()["a"]->SetValue("3");
  const Chaine updated = Saved(form);
  EXPECT_EQ(updated.Mid(0, full.size()), full);
  EXPECT_EQ(ValuesOf(Loaded(updated)), "a=3 ");
  EXPECT_EQ(WarningsOf(Loaded(updated)), "");
}

// When the gaps between object numbers are too wide to fill, the objects get new numbers. A dangling reference gets a
// null object.
TEST(AcroFormDocument, WideGapsAreNumberedAnew) {
  const char* const field = "<</FT/Tx/T(a)/V(1)/X 95000 0 R/Y 90000 0 R/Z[7 3 R 7 3 R]>>";
  ZAcroForm form = FormText().Field(90000, field).Object(80000, "(unused)").Form();
  form.Parser()->GetObject({80000, 0});
  EXPECT_FALSE(form.SaveFull(Chaine("/no/such/folder/x.pdf")));
  EXPECT_EQ(ObjectOf(form, 90000), field);
  const Chaine full = SavedFull(form);
  ZPDFParser parser;
  ASSERT_TRUE(parser.ReadFromRaw(full, ""));
  EXPECT_EQ(InOneLine(ContentOf(parser)),
            "1.0 {/Type /Catalog; /AcroForm 2.0R}2.0 {/Fields [3.0R]}"
            "3.0 {/FT /Tx; /T (a); /V (1); /X 5.0R; /Y 3.0R; /Z [6.0R 6.0R]}4.0 null5.0 null6.0 null");
  EXPECT_EQ(TextOf(parser.TrailerDico()), "<</Size 7/Root 1 0 R>>");
  form.Fields()["a"]->SetValue("2");
  EXPECT_EQ(form.Parser()->AddIndirectObject()->GetID(), ZPDFObjectIdentifier(7, 0));
  const Chaine updated = Saved(form);
  EXPECT_EQ(updated.Mid(0, full.size()), full);
  EXPECT_EQ(ValuesOf(Loaded(updated)), "a=2 ");
  EXPECT_EQ(WarningsOf(Loaded(updated)), "");
}

TEST(AcroFormDocument, TheFormerEncryptionDictionaryIsNotWritten) {
  const std::unique_ptr<ZPDFEncryption> handler(ZPDFEncryption::CreateStandard("id", "", ""));
  ZAcroForm form =
      Loaded(TwoFields().Object(12, LineOf(handler->Dictionary())).Trailer("/Encrypt 12 0 R/ID[(id)(id)]").Bytes());
  // The names of the fields are unreadable, because the file has not encrypted them: the test finds fields by position.
  form.Fields()[1]->SetValue("x");
  const Chaine full = SavedFull(form);
  EXPECT_EQ(full.View().find("12 0 obj"), std::string_view::npos);
  EXPECT_EQ(Loaded(full).Fields()[1]->Value(), "x");
  // Values that are set later are encrypted with the key of the new file.
  form.Fields()[1]->SetValue("y");
  EXPECT_EQ(Loaded(Saved(form)).Fields()[1]->Value(), "y");
}

TEST(AcroFormDocument, CopiesAreDeep) {
  ZAcroForm form = TwoFields().Form();
  form.Fields()["b"]->SetValue("saved");
  const Chaine base = Saved(form);
  form.Fields()["b"]->SetValue("edited");
  form.SetStandardUserFlags(4);
  ZAcroForm copy(form);
  ZAcroForm assigned;
  assigned = FormText().Fields("<</T(other)>>").Form();
  assigned = form;
  assigned = *&assigned;
  EXPECT_EQ(copy.RawData(), base);
  EXPECT_EQ(copy.XRefOffset(), form.XRefOffset());
  EXPECT_NE(copy.EncryptionSave(), form.EncryptionSave());
  EXPECT_EQ(copy.StandardUserFlags(), 4U);

  // Copies are independent and outlive each other.
  form.Fields()["b"]->SetValue("source");
  copy.Fields()["b"]->SetValue("copy");
  EXPECT_EQ(ValuesOf(assigned), "a=1 b=edited ");
  EXPECT_EQ(ValuesOf(Loaded(Saved(form))), "a=1 b=source ");
  form = ZAcroForm();
  EXPECT_EQ(ValuesOf(Loaded(Saved(copy))), "a=1 b=copy ");
  EXPECT_EQ(ValuesOf(Loaded(Saved(assigned))), "a=1 b=edited ");
  EXPECT_EQ(form.Fields().Size(), 0U);

  // Updating a copy of a form with unsaved edits appends to the original bytes.
  ZAcroForm edited = TwoFields().Form();
  edited.Fields()["a"]->SetValue("2");
  ZAcroForm twin(edited);
  EXPECT_EQ(Saved(twin), Saved(edited));
}

TEST(AcroFormDocument, FillingManyFieldsTakesTimeInProportion) {
  const auto seconds = [](int count) {
    FormText text;
    ZXFDF data;
    for (int i = 0; i < count; i++) {
      const std::string name = "Д" + std::to_string(i);
      text.Fields("<</FT/Tx/T(" + UTF8ToPDFText(name).ToString() + ")>>");
      data.Fields()[Chaine(name)] = ZVariant("x");
    }
    ZAcroForm form = text.Form();
    const CpuTime time;
    EXPECT_EQ(form.SetValues(data), static_cast<size_t>(count));
    return time.Seconds();
  };
  EXPECT_LT(seconds(20000), 10 * seconds(4000) + 0.5);
}

}  // namespace
}  // namespace zforms
