#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "tests/support/form_text.h"
#include "zforms/acroform/acro_form.h"
#include "zforms/acroform/button_states.h"
#include "zforms/pdf/dictionary_node.h"
#include "zforms/platform/text/text.h"

namespace zforms {
namespace {

using Field = ZAcroForm::Field;

// "full name:type=value(kids)" for each field, in order.
std::string Tree(const ZAcroForm::FieldCollection& fields) {
  static constexpr const char* kTypes[] = {"push", "check", "radio", "text", "choice", "other"};
  std::string tree;
  for (uint32_t i = 0; i < fields.Size(); i++) {
    const Field& field = *fields[i];
    if (i > 0) tree += " ";
    tree += field.FullNameUTF8().ToString() + ":" + kTypes[field.Type()];
    if (field.HasValue()) tree += "=" + field.ValueUTF8().ToString();
    if (field.Size() > 0) tree += "(" + Tree(field) + ")";
  }
  return tree;
}

TEST(AcroForm, FieldsAreReadAsTheyStand) {
  const struct {
    const char* name;
    FormText form;
    std::string tree;
  } cases[] = {
      {"no fields", FormText(), ""},
      {"kinds by /FT and flags",
       FormText().Fields(
           "<</T(a)/FT/Btn>> <</T(b)/FT/Btn/Ff 32768>> <</T(c)/FT/Btn/Ff 65536>> <</T(d)/FT/Btn/Ff 98304>> "
           "<</T(e)/FT/Btn/Ff 1>> <</T(f)/FT/Tx>> <</T(g)/FT/Ch>> <</T(h)/FT/Sig>> <</T(i)>>"),
       "a:check b:radio c:push d:radio e:check f:text g:choice h:other i:other"},
      {"a radio group with nameless widgets",
       FormText()
           .Field(10, "<</T(group)/FT/Btn/Ff 32768/V/Yes/Kids[11 0 R 12 0 R]>>")
           .Object(11, "<</Parent 10 0 R/Subtype/Widget>>")
           .Object(12, "<</Parent 10 0 R/Subtype/Widget>>"),
       "group:radio=Yes(group:radio=Yes group:radio=Yes)"},
      {"what is no dictionary is skipped",
       FormText().Fields("5 (x) 99 0 R [<</T(q)>>] <</T(a)/FT/Tx/Kids 7>> null <</T(b)/FT/Tx>>"), "a:text b:text"},
      {"flags that are the parent's alone",
       FormText().Fields("<</T(a)/FT/Btn/Ff 65536/Kids[<</T(b)>><</T(c)/FT/Btn>><</T(d)/FT/Btn/Ff 32768>>]>>"),
       "a:push(a.b:push a.c:check a.d:radio)"},
      {"names that are empty or absent on the way down",
       FormText().Fields(
           "<</Kids[<</T(b)/Kids[<</Kids[<</T(c)>>]>>]>>]>> <</T()/Kids[<</T(d)>>]>> <</T(e)/Kids[<</T()>>]>>"),
       ":other(b:other(b:other(b.c:other))) :other(d:other) e:other(e.:other)"},
      {"names in PDFDocEncoding, UTF-16BE, and with periods",
       FormText().Fields("<</T(Pr\\351nom)/Kids[<</T<FEFF0414>>><</T(x.y)>>]>>"),
       "Prénom:other(Prénom.Д:other Prénom.x.y:other)"},
      {"values of every kind",
       FormText()
           .Fields("<</T(a)/FT/Tx/V(Pr\\351)>> <</T(b)/FT/Tx/V/Name>> <</T(c)/FT/Tx/V 007>> <</T(d)/FT/Tx/V true>> "
                   "<</T(e)/FT/Tx/V null>> <</T(f)/FT/Tx/V 99 0 R>> <</T(g)/FT/Sig/V<</Type/Sig>>>> "
                   "<</T(h)/FT/Ch/V[(x)<FEFF0414>]>> <</T(i)/FT/Ch/V[(\\351)]>> <</T(j)/FT/Tx/V 20 0 R>> "
                   "<</T(k)/FT/Tx/V 21 0 R>> <</T(l)/FT/Btn/V/#2FOff>> <</T(m)/FT/Btn/V(Yes)>> <</T(n)/FT/Btn/V/true>> "
                   "<</T(o)/FT/Btn/V/C#e9>> <</T(p)/FT/Btn/V/#44#d0#b4>> <</T(q)/FT/Tx/V 22 0 R>>")
           .Object(20, "<</Length 4>>\nstream\nText\nendstream")
           .Object(21, "<</Length 4/Filter/FlateDecode>>\nstream\nText\nendstream")
           .Object(22, "(behind)"),
       "a:text=Pré b:text=Name c:text=007 d:text=true e:text f:text g:other= h:choice=x\nД i:choice=é j:text=Text "
       "k:text= l:check=Off m:check=Yes n:check=true o:check=Cé p:check=Dд q:text=behind"},
      {"values of ancestors, by the ancestor's type",
       FormText().Fields("<</T(a)/FT/Tx/V(x)/Kids[<</T(b)/FT/Btn>><</T(c)/Kids[<</T(d)/V(y)>><</T(e)>>]>>]>>"),
       "a:text=x(a.b:check=x a.c:text=x(a.c.d:text=y a.c.e:text=x))"},
      {"of one name, both stay", FormText().Fields("<</T(a)/V(1)>> <</T(a)/V(2)>>"), "a:other=1 a:other=2"},
      {"a field that is its own kid",
       FormText().Field(10, "<</T(a)/Kids[11 0 R 10 0 R]>>").Object(11, "<</T(b)/Kids[10 0 R]>>"),
       "a:other(a.b:other)"},
      {"a field listed below two parents", FormText().Fields("<</T(a)/Kids[10 0 R]>>").Field(10, "<</T(b)>>"),
       "a:other(a.b:other) b:other"},
  };
  for (const auto& test : cases) EXPECT_EQ(Tree(test.form.Form().Fields()), test.tree) << test.name;
}

TEST(AcroForm, FieldsAreFoundByDottedNames) {
  ZAcroForm form = FormText()
                       .Fields(
                           "<</T(a)/V(1)/Kids[<</T(b)/V(2)/Kids[<</T(c)/V(3)>><</V(4)>>]>><</T(x.y)/V(5)>>]>> "
                           "<</T(a.b)/V(6)>> <</T(n)/V(7)>> <</T(n)/V(8)/Kids[<</T(k)/V(9)>>]>> <</T(N)/V(10)>>")
                       .Form();
  const std::pair<const char*, const char*> cases[] = {
      {"a", "1"},      {"a.b", "6"},     {"a.b.c", "3"},    {"a.x.y", "5"},       {"n", "8"},
      {"n.k", "9"},    {"N", "10"},      {"", nullptr},     {".", nullptr},       {"a.", nullptr},
      {".a", nullptr}, {"x.b", nullptr}, {"a.b.", nullptr}, {"a.b.c.d", nullptr}, {"A", nullptr},
  };
  const auto& fields = std::as_const(form).Fields();
  for (const auto& [name, value] : cases) {
    const Field* found = fields.Get(name);
    EXPECT_EQ(fields.Exist(name), value != nullptr) << name;
    EXPECT_EQ(found, form.Fields()[Chaine(name)]) << name;
    if (value == nullptr) {
      EXPECT_EQ(found, nullptr) << name;
    } else {
      ASSERT_NE(found, nullptr) << name;
      EXPECT_EQ(found->Value(), value) << name;
    }
  }
  const PUniqueT<Chaine> names = form.Fields().FieldNames();
  EXPECT_EQ(PTableau<Chaine>(names.begin(), names.end()), (PTableau<Chaine>{"N", "a", "a.b", "n"}));
  EXPECT_EQ(form.Fields()[0]->Get("b")->Size(), 2U);
  EXPECT_EQ(form.Fields()[0]->Get("b")->FieldNames().Size(), 1U);
  EXPECT_EQ(form.Fields()[99], nullptr);
}

TEST(AcroForm, WhatAFieldLacksItTakesFromItsAncestors) {
  ZAcroForm form = FormText()
                       .Infos("/DA(form)/Q 2")
                       .Fields(
                           "<</T(a)/FT/Ch/Ff 5/V(v)/DV(d)/RV(r)/Opt[(a)[(b)(Beta)][(c)]/N[]]/TM(m)/DA(own)/Q 1"
                           "/Kids[<</T(k)/Kids[<</T(l)>>]>>]>> <</T(z)/Ff -1/Kids[<</T(y)/Kids[<<>>]>>]>>")
                       .Form();
  const Field& a = *form.Fields()["a"];
  const Field& l = *form.Fields()["a.k.l"];
  using Predicate = bool (Field::*)() const;
  const std::pair<Predicate, Predicate> inherited[] = {
      {&Field::HasType, &Field::HasOwnType},
      {&Field::HasFlags, &Field::HasOwnFlags},
      {&Field::HasValue, &Field::HasOwnValue},
      {&Field::HasDefaultValue, &Field::HasOwnDefaultValue},
      {&Field::HasValueRichText, &Field::HasOwnValueRichText},
      {&Field::HasOptions, &Field::HasOwnOptions},
  };
  const Field& y = *form.Fields()["z.y"];
  for (size_t i = 0; i < std::size(inherited); i++) {
    const auto& [has, has_own] = inherited[i];
    EXPECT_TRUE((a.*has)() && (a.*has_own)()) << i;
    EXPECT_TRUE((l.*has)() && !(l.*has_own)()) << i;
    EXPECT_EQ((y.*has)(), i == 1) << i;
  }
  EXPECT_EQ(l.Value(), "v");
  EXPECT_EQ(l.DefaultValue(), "d");
  EXPECT_EQ(l.ValueRichText(), "");
  EXPECT_EQ(l.Flags(), 0U);
  EXPECT_FALSE(l.IsReadOnly() || l.IsNoExport() || l.HasMappingName());
  EXPECT_TRUE(a.IsReadOnly() && a.IsNoExport() && a.HasMappingName());
  EXPECT_EQ(l.InheritedFlags(), 5U);
  EXPECT_EQ(y.InheritedFlags(), 0xFFFFFFFFU);
  std::string options;
  for (const Field::Option& option : l.Options()) options += option.ExportValue() + "=" + option.DisplayName() + " ";
  EXPECT_EQ(options, "a= b=Beta c= N= = ");

  // Form-wide defaults reach every depth.
  EXPECT_EQ(l.DefaultAppearance(), "own");
  EXPECT_EQ(l.Quadding(), 1);
  EXPECT_EQ(y[0]->DefaultAppearance(), "form");
  EXPECT_EQ(y[0]->Quadding(), 2);
  EXPECT_EQ(y[0]->Form(), std::as_const(form).Infos());
  EXPECT_EQ(y[0]->Parent(), &y);
  EXPECT_EQ(a.Parent(), nullptr);
}

struct Change {
  const char* before;
  std::function<void(Field&)> change;
  const char* after;  // null when nothing is written
};

void ExpectChanges(const std::vector<Change>& changes) {
  for (const Change& test : changes) {
    ZAcroForm form = FormText().Field(10, test.before).Form();
    Field& field = *form.Fields()[0];
    const std::string before = LineOf(field.Dico());
    test.change(field);
    EXPECT_EQ(LineOf(field.Dico()), test.after == nullptr ? before : test.after) << test.before;
    EXPECT_EQ(form.Parser()->ModifiedObjects().size(), test.after == nullptr ? 0U : 1U) << test.before;
  }
}

auto Value(const char* value) {
  return [value](Field& field) { field.SetValue(value); };
}
auto DefaultValue(const char* value) {
  return [value](Field& field) { field.SetDefaultValue(value); };
}
auto RichText(const char* value) {
  return [value](Field& field) { field.SetValueRichText(value); };
}

TEST(AcroForm, FieldsWriteWhatChanges) {
  ExpectChanges({
      {"<</FT/Tx>>", Value("a(b"), "<</FT/Tx/V(a\\(b)>>"},
      {"<</FT/Tx/V(a)>>", Value("a"), nullptr},
      {"<</FT/Tx>>", Value(""), nullptr},
      {"<</FT/Tx/V(a)>>", Value(""), "<</FT/Tx/V()>>"},
      {"<</FT/Btn/V/Off>>", Value("Off"), nullptr},
      {"<</FT/Btn/V/Off>>", Value("Oui/Non"), "<</FT/Btn/V/Oui#2FNon>>"},
      {"<</FT/Btn/Ff 32768>>", Value("2"), "<</FT/Btn/Ff 32768/V/2>>"},
      {"<</FT/Btn/Ff 65536>>", Value("x"), "<</FT/Btn/Ff 65536/V(x)>>"},
      {"<</FT/Ch/V(1)/I[0]>>", Value("2"), "<</FT/Ch/V(2)>>"},
      {"<</FT/Ch/V(2)/I[0]>>", Value("2"), nullptr},
      {"<</FT/Ch/V[(1)(2)]/I[0 1]>>", Value("1"), "<</FT/Ch/V(1)>>"},
      {"<</FT/Ch/I[0]>>",
       [](Field& field) {
         field.SetValues({"x", "y"});
       },
       "<</FT/Ch/V[(x)(y)]>>"},
      {"<</FT/Ch/V[(x)(y)]>>",
       [](Field& field) {
         field.SetValues({"x", "y"});
       },
       nullptr},
      {"<</FT/Btn>>", DefaultValue("Yes"), "<</FT/Btn/DV/Yes>>"},
      {"<</FT/Btn/Ff 32768>>", DefaultValue("Yes"), "<</FT/Btn/Ff 32768/DV(Yes)>>"},
      {"<</FT/Ch/I[0]>>", DefaultValue("x"), "<</FT/Ch/DV(x)>>"},
      {"<</FT/Tx/DV(x)>>", DefaultValue("x"), nullptr},
      {"<</FT/Tx/V(a)/RV(b)>>", RichText("a"), nullptr},
      {"<</FT/Tx/V(a)/RV(b)>>", RichText("c"), "<</FT/Tx/V(a)/RV(c)>>"},
      {"<</FT/Tx/Ff 4>>", [](Field& field) { field.SetReadOnly(true); }, "<</FT/Tx/Ff 5>>"},
      {"<</FT/Tx>>", [](Field& field) { field.SetReadOnly(false); }, nullptr},
      {"<</Ff 1/Kids[<</F 64>><</Ff 3>>]>>", [](Field& field) { field.SetReadOnly(false); },
       "<</Ff 0/Kids[<</F 64>><</Ff 2>>]>>"},
  });
}

auto Hide(bool hide) {
  return [hide](Field& field) { field.Hide(hide); };
}
auto Caption(const char* caption) {
  return [caption](Field& field) { field.SetNormalCaption(caption); };
}

TEST(AcroForm, WidgetsWriteWhatChanges) {
  ExpectChanges({
      {"<</F 4>>", Hide(true), "<</F 6>>"},
      {"<</F 6>>", Hide(false), "<</F 4>>"},
      {"<</F 4>>", Hide(false), nullptr},
      {"<</Kids[<</Subtype/Widget>><</Kids[<</F 4/Subtype/Widget>>]>><</T(k)/Subtype/Widget>>]>>", Hide(true),
       "<</Kids[<</Subtype/Widget/F 2>><</Kids[<</F 6/Subtype/Widget>>]>><</T(k)/Subtype/Widget>>]/F 2>>"},
      {"<</Subtype/Widget/Kids[<</Subtype/Widget>>]>>", Caption("OK"),
       "<</Subtype/Widget/Kids[<</Subtype/Widget/MK<</CA(OK)>>>>]>>"},
      {"<</Ff 2/F 4>>", [](Field& field) { field.GetAnnotation()->SetReadOnly(true); }, "<</Ff 2/F 68>>"},
      {"<</F 64>>", [](Field& field) { field.GetAnnotation()->SetReadOnly(false); }, "<</F 0>>"},
      {"<</Subtype/Widget>>", Caption("OK"), "<</Subtype/Widget/MK<</CA(OK)>>>>"},
      {"<</MK<</CA(OK)/BG[1]>>>>", Caption("OK"), nullptr},
      {"<</MK 5>>", Caption("OK"), "<</MK<</CA(OK)>>>>"},
      {"<</Kids[<</AP<<>>>><</Rect[]/MK<</RC(r)>>>>]>>", Caption("OK"),
       "<</Kids[<</AP<<>>/MK<</CA(OK)>>>><</Rect[]/MK<</RC(r)/CA(OK)>>>>]>>"},
      {"<</MK<<>>>>",
       [](Field& field) {
         field.SetRolloverCaption("r");
         field.SetAlternateCaption("a");
       },
       "<</MK<</RC(r)/AC(a)>>>>"},
      {"<</A<</S/SubmitForm/F<</F(old)/UF(u)>>>>>>", [](Field& field) { field.GetAction()->SetURL("http://h/x?a=1"); },
       "<</A<</S/SubmitForm/F<</F(http://h/x?a=1)/UF(u)/FS/URL>>>>>>"},
      {"<</A<</S/SubmitForm/F(old)>>>>", [](Field& field) { field.GetAction()->SetURL("http://h/"); },
       "<</A<</S/SubmitForm/F<</FS/URL/F(http://h/)>>>>>>"},
      {"<</A<</F<</FS/URL/F(http://h/)>>>>>>", [](Field& field) { field.GetAction()->SetURL("http://h/"); }, nullptr},
  });
}

TEST(AcroForm, WidgetsAreReadAsTheyStand) {
  ZAcroForm form = FormText()
                       .Fields(
                           "<</Subtype/Widget/F 66/Rect[100 200 50 260]/MK<</CA(c)/AC()>>/AP<</N 10 0 R/D<</Yes 10 0 R"
                           "/#2FOff 10 0 R/A#20b null>>/R null>>>> <</Rect[1.5]/AP 7>>")
                       .Object(10, "<</Length 1>>\nstream\nq\nendstream")
                       .Form();
  Field& field = *form.Fields()[0];
  EXPECT_TRUE(field.HasOwnAnnotation());
  ZAcroForm::Annotation& widget = *field.GetAnnotation();
  EXPECT_EQ(&widget, field.GetAnnotation());
  EXPECT_TRUE(widget.IsHidden() && widget.IsReadOnly() && widget.HasFlags());
  EXPECT_EQ(widget.GetRect()->Width(), -50);
  EXPECT_EQ(widget.GetRect()->Height(), 60);
  EXPECT_EQ(widget.GetRect()->LowerLeftX(), 100);
  EXPECT_EQ(widget.GetRect()->UpperRightY(), 260);
  EXPECT_EQ(widget.GetAppearanceCharacteristics()->NormalCaption(), "c");
  EXPECT_TRUE(widget.GetAppearanceCharacteristics()->HasAlternateCaption());
  EXPECT_FALSE(widget.GetAppearanceCharacteristics()->HasRolloverCaption());

  const ZAcroForm::Appearances& looks = *widget.GetAppearances();
  EXPECT_TRUE(looks.NormalAppearance()->IsSingle());
  EXPECT_EQ(looks.NormalAppearance(), looks.NormalAppearance());
  EXPECT_FALSE(looks.HasRolloverAppearance());
  EXPECT_EQ(looks.RolloverAppearance(), nullptr);
  ASSERT_TRUE(looks.HasAlternateAppearance());
  const auto* down = dynamic_cast<const ZAcroForm::Appearances::AppearanceMulti*>(looks.AlternateAppearance());
  ASSERT_NE(down, nullptr);
  EXPECT_FALSE(down->IsSingle());
  std::string states;
  for (const auto& [state, appearance] : down->GetAppearances()) states += state.ToString() + ";";
  EXPECT_EQ(states, "A b;Off;Yes;");

  Field& bare = *form.Fields()[1];
  EXPECT_FALSE(bare.HasOwnAnnotation());
  EXPECT_EQ(bare.GetAnnotation()->GetRect()->Height(), 0);
  EXPECT_EQ(bare.GetAnnotation()->GetRect()->Width(), -1.5);
  EXPECT_TRUE(bare.GetAnnotation()->HasAppearances());
  EXPECT_EQ(bare.GetAnnotation()->GetAppearances(), nullptr);
  EXPECT_EQ(bare.GetAnnotation()->GetAppearanceCharacteristics(), nullptr);
  EXPECT_EQ(bare.GetAnnotation()->Flags(), 0U);
  EXPECT_EQ(bare.GetAction(), nullptr);
}

// A wrapper must not use a node that was replaced and freed.
TEST(AcroForm, WrappersFollowReplacedNodes) {
  ZAcroForm form = FormText().Field(10, "<</A<</S/URI>>/MK<</CA(a)>>/Rect[1 2 3 4]>>").Form();
  Field& field = *form.Fields()[0];
  EXPECT_EQ(field.GetAction()->Type(), "/URI");
  EXPECT_EQ(field.GetAnnotation()->GetAppearanceCharacteristics()->NormalCaption(), "a");
  field.Dico()->SetValue("/A", new ZPDFNodeDictionary);
  field.Dico()->SetValue("/MK", new ZPDFNodeDictionary);
  field.Dico()->RemoveValue("/Rect");
  EXPECT_EQ(field.GetAction()->Type(), "");
  EXPECT_FALSE(field.GetAnnotation()->GetAppearanceCharacteristics()->HasNormalCaption());
  EXPECT_EQ(field.GetAnnotation()->GetRect(), nullptr);
}

TEST(AcroForm, ActionsAreReadAsTheyStand) {
  const struct {
    const char* button;
    const char* type;
    bool submits, has_file;
    const char* url;  // null when it has none
  } cases[] = {
      {"/A<</S/SubmitForm/F<</FS/URL/F(http://h/save.cgi#f)>>>>", "/SubmitForm", true, true, "http://h/save.cgi#f"},
      {"/A<</S/SubmitForm/F<</F(http://h/)>>/Next 5>>", "/SubmitForm", true, true, nullptr},
      {"/A<</S/SubmitForm/F<</FS(/URL)/F(http://h/)>>>>", "/SubmitForm", true, true, nullptr},
      {"/A<</S/SubmitForm/F(http://h/)>>", "/SubmitForm", true, true, nullptr},
      {"/A<</S/SubmitForm>>", "/SubmitForm", true, false, nullptr},
      {"/A<</S/ResetForm/F<</FS/URL>>>>", "/ResetForm", false, true, ""},
      {"/A<</S/submitform>>", "/submitform", false, false, nullptr},
      {"/A<<>>", "", false, false, nullptr},
  };
  for (const auto& test : cases) {
    ZAcroForm form = FormText().Fields("<</FT/Btn/Ff 65536" + std::string(test.button) + ">>").Form();
    const Field& field = *form.Fields()[0];
    EXPECT_TRUE(field.HasOwnAction());
    EXPECT_EQ(field.IsSubmitFormButton(), test.submits) << test.button;
    const ZAcroForm::Action& action = *field.GetAction();
    EXPECT_EQ(action.Type(), test.type) << test.button;
    EXPECT_EQ(action.HasFile(), test.has_file) << test.button;
    EXPECT_EQ(action.HasURL(), test.url != nullptr) << test.button;
    EXPECT_EQ(action.HasURL() ? action.URL().AsChaine() : Chaine(), test.url == nullptr ? "" : test.url);
    EXPECT_EQ(action.HasNext(), std::string(test.button).find("/Next") != std::string::npos);
  }
  // Only push buttons submit, and only by their own action.
  for (const char* field : {"<</FT/Btn/A<</S/SubmitForm>>>>", "<</A<</S/SubmitForm>>>>", "<</FT/Btn/Ff 65536/A 5>>"}) {
    EXPECT_FALSE(FormText().Fields(field).Form().Fields()[0]->IsSubmitFormButton()) << field;
  }
}

TEST(AcroForm, ButtonStatesAndWhatValuesMean) {
  ZAcroForm form = FormText()
                       .Fields(
                           "<</FT/Btn/Ff 32768/Opt[(Un)(Deux\\351)(1)]/Kids["
                           "<</Subtype/Widget/AP<</N<</Off null/0<<>>>>>>>>"
                           "<</Subtype/Widget/AP<</N<</1<<>>/Off<<>>>>>>>>"
                           "<</Subtype/Widget/AP<</N<</C#e9<<>>/0<<>>>>>>>>"
                           "<</T(other)/Subtype/Widget/AP<</N<</X<<>>>>>>>><</Subtype/Link/AP<</N<</Y<<>>>>>>>>]>>")
                       .Form();
  const Field& field = *form.Fields()[0];
  EXPECT_EQ(ButtonStates(field), (PTableau<Chaine>{"0", "1", "C\xE9"}));
  const struct {
    const char *value, *state;
    bool known;
  } cases[] = {
      {"0", "0", true},     {"1", "1", true},  {"Un", "0", true}, {"Deuxé", "1", true}, {"Cé", "C\xE9", true},
      {"Off", "Off", true}, {"", "Off", true}, {"X", "X", false}, {"é", "é", false},
  };
  for (const auto& test : cases) {
    bool known = !test.known;
    EXPECT_EQ(ButtonStateFor(field, test.value, &known), test.state) << test.value;
    EXPECT_EQ(known, test.known) << test.value;
  }
}

TEST(AcroForm, HostileTreesStaySmall) {
  // Each field lists the next one twice: two to the power of forty paths.
  FormText doubling;
  doubling.Fields("10 0 R");
  for (uint32_t i = 10; i < 50; i++) {
    const std::string next = std::to_string(i + 1) + " 0 R";
    doubling.Object(i, "<</T(f)/Kids[" + next + " " + next + "]>>");
  }
  ZAcroForm form = doubling.Form();
  size_t count = 0;
  for (const auto& [name, fields] : form.FlatFields()) count += fields.size();
  EXPECT_GT(count, 40U);
  EXPECT_LT(count, 110U);
  EXPECT_NE(WarningsOf(form).find("object 49 0: the field is listed more than once"), std::string::npos);
  EXPECT_NE(WarningsOf(form).find("too many fields are listed more than once"), std::string::npos);

  FormText deep;
  deep.Fields("10 0 R");
  for (uint32_t i = 10; i < 1000; i++) deep.Object(i, "<</T(f)/Kids[" + std::to_string(i + 1) + " 0 R]>>");
  ZAcroForm deep_form = deep.Form();
  EXPECT_EQ(deep_form.FlatFields().Size(), 500U);
  EXPECT_NE(WarningsOf(deep_form).find("object 510 0: the field is nested too deeply and is left out"),
            std::string::npos);

  // One long name, shared by many levels and fields.
  FormText long_names;
  long_names.Object(10, "(" + std::string(100000, 'n') + ")");
  std::string kids;
  for (int i = 0; i < 2000; i++) kids += "<</T 10 0 R>>";
  ZAcroForm long_form = long_names.Fields("<</T 10 0 R/Kids[<</T 10 0 R/Kids[" + kids + "]>>]>>").Form();
  EXPECT_NE(WarningsOf(long_form).find("the names of all fields together are too long"), std::string::npos);
  EXPECT_LT((*long_form.Fields()[0])[0]->Size(), 300U);
}

}  // namespace
}  // namespace zforms
