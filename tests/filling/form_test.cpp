#include "zforms/form.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "tests/support/form_text.h"
#include "zforms/acroform/field.h"

namespace zforms {
namespace {

const std::string kName = "Zo\xC3\xA9 \xC5\x81o\xC5\x9B";

// A text, a check box, a choice and a field that is not sent, all on the second page.
FormText Sample() {
  const std::string states = "/AP<</N<</On 9 0 R/Off 9 0 R>>>>";
  FormText text;
  text.Object(3, "<</Type/Pages/Kids[4 0 R 5 0 R]/Count 2>>").Object(4, "<</Type/Page/Parent 3 0 R>>");
  text.Object(5, "<</Type/Page/Parent 3 0 R/Annots[10 0 R 11 0 R 12 0 R 13 0 R]>>").Object(9, "<<>>");
  text.Field(10, "<</FT/Tx/T(name)/TU(Full name)/MaxLen 10/Subtype/Widget/Rect[110 20 10 40]>>");
  text.Field(11, "<</FT/Btn/T(member)/Subtype/Widget/Rect[0 0 9 9]/AS/Off" + states + ">>");
  text.Field(12, "<</FT/Ch/T(country)/Opt[[(FR)(France)][(BE)(Belgique)]]/Subtype/Widget>>");
  return std::move(text.Field(13, "<</FT/Tx/T(note)/Ff 4/V(kept)/Subtype/Widget>>").Catalog("/Pages 3 0 R"));
}

std::string BytesOf(const FormText& text) { return text.Bytes().ToString(); }

// Each message as "severity about remedy: text", separated by "|".
std::string Said(ZForm& form) {
  std::string all;
  for (const ZFormMessage& message : form.TakeMessages()) {
    all += (all.empty() ? "" : "|") + std::string(1, "nwf"[static_cast<size_t>(message.severity)]) +
           "odx"[static_cast<size_t>(message.about)] + std::to_string(static_cast<int>(message.remedy)) + ": " +
           message.text;
  }
  return all;
}

std::string ValueOf(const ZForm& form, const std::string& name) {
  for (const ZFormField& field : form.Fields()) {
    if (field.name == name) return field.Value();
  }
  return "no such field";
}

TEST(Form, FieldsAreValues) {
  ZForm form;
  ASSERT_TRUE(form.OpenBytes(BytesOf(Sample())));
  const std::vector<ZFormField> fields = form.Fields();
  ASSERT_EQ(fields.size(), 4U);
  EXPECT_EQ(fields[0].label, "Full name");
  EXPECT_EQ(fields[0].max_length, 10U);
  ASSERT_EQ(fields[0].widgets.size(), 1U);
  const ZFormField::Widget& widget = fields[0].widgets[0];
  EXPECT_EQ(std::vector<double>({widget.left, widget.bottom, widget.right, widget.top}),
            std::vector<double>({10, 20, 110, 40}));
  EXPECT_EQ(std::pair(widget.page, fields[0].Page()), std::pair(2U, 2U));
  EXPECT_EQ(fields[1].kind, ZFormField::Kind::kCheckBox);
  EXPECT_EQ(fields[1].states, std::vector<std::string>({"On"}));
  EXPECT_EQ(fields[2].options[1].value + fields[2].options[1].text, "BEBelgique");
  EXPECT_TRUE(fields[3].HasData() && !fields[3].IsExported());
}

// Values that were set are read back, from an update and from a new file. An update keeps the form's old bytes.
TEST(Form, ValuesAreSetAndSaved) {
  const struct {
    const char* name;
    std::string value;
    std::string after;
    const char* said;  // the beginning
  } cases[] = {
      {"name", kName, kName, ""},
      {"name", "more than ten", "",
       "wd0: field \"name\": \"more than ten\" has 13 characters; the field takes at most 10"},
      {"member", "yes", "On", ""},
      {"country", "Belgique", "BE", ""},
      {"country", "XX", "",
       "wd0: field \"country\": \"XX\" is not a choice of the field; its choices are \"FR\" (France)"},
      {"nane", "x", "no such field", "wd0: no field is named \"nane\"; did you mean name?"},
  };
  const std::string before = BytesOf(Sample());
  for (const auto& one : cases) {
    for (const auto mode : {ZForm::SaveAs::kUpdate, ZForm::SaveAs::kNewFile}) {
      SCOPED_TRACE(one.value);
      ZForm form, again;
      ASSERT_TRUE(form.OpenBytes(before));
      EXPECT_EQ(form.SetValue(one.name, one.value), *one.said == '\0');
      EXPECT_TRUE(Said(form).starts_with(one.said));
      std::string saved;
      ASSERT_TRUE(form.SaveBytes(&saved, mode));
      EXPECT_EQ(saved.starts_with(before), mode == ZForm::SaveAs::kUpdate);
      ASSERT_TRUE(again.OpenBytes(saved));
      EXPECT_EQ(ValueOf(again, one.name), one.after);
      EXPECT_EQ(again.Document().NeedAppearances(), *one.said == '\0');
      if (one.after == "On") {
        EXPECT_TRUE(ObjectOf(again.Document(), 11).find("/AS/On") != std::string::npos);
      }
    }
  }
}

TEST(Form, AFieldIsSetAgain) {
  ZForm form;
  ASSERT_TRUE(form.OpenBytes(BytesOf(Sample())));
  for (const std::string value : {"yes", "no", "yes", "Off"}) {
    EXPECT_TRUE(form.SetValue("member", value));
    EXPECT_EQ(ValueOf(form, "member"), value == "yes" ? "On" : "Off");
  }
  EXPECT_EQ(Said(form), "");
}

// The exported file of a form fills another form; the field that is not to be sent is left out.
TEST(Form, ExportsFillOtherForms) {
  for (const ExportFormatName& format : kExportFormats) {
    SCOPED_TRACE(format.name);
    ZForm form, other;
    ASSERT_TRUE(form.OpenBytes(BytesOf(Sample())) && other.OpenBytes(BytesOf(Sample())));
    EXPECT_TRUE(form.SetValue("name", kName) && form.SetValue("member", "On") && form.SetValue("country", "FR"));
    const std::string data = form.Export(format.format);
    EXPECT_EQ(Said(form), "no6: fields that the form marks as \"no export\" are not exported: \"note\"");
    EXPECT_EQ(data.find("kept"), std::string::npos);
    EXPECT_TRUE(other.Fill(data)) << data;
    EXPECT_EQ(Said(other), "");
    EXPECT_EQ(ValueOf(other, "name") + ValueOf(other, "member") + ValueOf(other, "country"), kName + "OnFR");
    EXPECT_NE(form.Export(format.format, true).find("kept"), std::string::npos);
  }
  ZForm lines;
  ASSERT_TRUE(lines.OpenBytes(BytesOf(FormText().Field(10, "<</FT/Tx/T(a)/V(1\\r\\n2)>>"))));
  EXPECT_NE(lines.Export(ExportFormat::kFDF).find("/V(1\\r2)"), std::string::npos) << "viewers end lines with CR";
}

TEST(Form, WhatCannotBeDoneIsSaid) {
  const std::string good = BytesOf(Sample());
  const std::string damaged = good.substr(0, good.rfind("startxref"));
  const std::string signed_form = BytesOf(Sample()
                                              .Field(14, "<</FT/Sig/T(s)/V 15 0 R>>")
                                              .Object(15,
                                                      "<</Type/Sig/Contents<00>/Reference[<</TransformMethod"
                                                      "/DocMDP/TransformParams<</P 1/V/1.2>>>>]>>")
                                              .Catalog("/Perms<</DocMDP 15 0 R>>"));
  const struct {
    const char* what;
    std::string pdf;
    std::string data;
    bool opens;
    const char* said;  // the beginning
  } cases[] = {
      {"no PDF", "hello", "", false, "fo"},
      {"damage that recovery reads", damaged, "", false, "fo5: "},
      {"no form", PdfText().Header().Object(1, "<</Type/Catalog>>").Xref().Trailer("/Root 1 0 R").Bytes().ToString(),
       "{}", true, "fo0: the document has no form"},
      {"no data", good, "%FDF-1.2", true, "fd0: the file has no catalog"},
      {"two rows", good, "name\nA\nB\n", true, "fd0: the data have more than one row"},
      {"no values", good, "{}", true, "nd0: the data contain no value"},
      {"the line of a row", good, "name\n\n12345678901\n", true, "wd0: line 3: field \"name\": "},
      {"certified", signed_form, "{\"name\":\"x\"}", true, "wo1: the document is certified"},
  };
  for (const auto& one : cases) {
    SCOPED_TRACE(one.what);
    ZForm form;
    EXPECT_EQ(form.OpenBytes(one.pdf), one.opens);
    if (one.opens) form.Fill(one.data);
    const std::string said = Said(form);
    EXPECT_TRUE(said.starts_with(one.said)) << said;
  }
  ZForm form;
  ASSERT_TRUE(form.OpenBytes(damaged, {.recover = true}));
  EXPECT_TRUE(form.SetValue("name", "x"));
  std::string saved;
  EXPECT_TRUE(form.SaveBytes(&saved) && !saved.starts_with(damaged));
  EXPECT_FALSE(form.Open("no such file.pdf") || form.FillFromFile("no such file.json"));
  EXPECT_EQ(ValueOf(form, "name"), "x") << "what was open before stays";
  ZForm unopened;
  EXPECT_FALSE(unopened.SaveBytes(&saved) || unopened.SetValue("a", "b") || !unopened.Fields().empty());
}

// Four text fields, of which the first two have the same name.
FormText Drawn() {
  const std::string text = "<</FT/Tx/Subtype/Widget/Rect[0 0 100 20]/DA(/Helv 10 Tf)";
  FormText form;
  form.Field(10, text + "/T(a)/V(old)>>").Field(11, text + "/T(a)/V(old)>>").Field(12, text + "/T(b)/V(kept)>>");
  return std::move(form.Field(13, text + "/T(c)/V(locked)>>"));
}

// Fields that are filled in are drawn. If viewers were asked to draw, all fields are drawn and the request is removed.
TEST(Form, WhatIsFilledInIsDrawn) {
  constexpr const char* kAlike = "wx0: object 11 0: another field has the same name";
  const std::string lock = "/Reference[<</TransformMethod/FieldMDP/TransformParams<</Action/Include/Fields[(c)]>>>>]";
  const struct {
    const char* what;
    bool asked;
    bool draws;
    bool all;  // whether Draw is called
    std::string value;
    std::string drawn;  // the objects of the widgets with an appearance, by their last digits
    bool asked_after;
    const char* said;
  } cases[] = {
      {"what changed", false, true, false, "new", "01", false, ""},
      {"nothing changed", true, true, false, "old", "", true, ""},
      {"all but what is locked", true, true, false, "new", "012", false, ""},
      {"all, by the host", false, false, true, "new", "012", false, ""},
      {"a character without a font", true, true, false, "x\xCD\xB8", "012", true,
       "wo0: field \"a\": no font has the character \"\xCD\xB8\" (U+0378)|no0: some fields could not be drawn"},
      {"the same, never asked", false, true, false, "x\xCD\xB8", "01", false, "wo0: field \"a\": no font has"},
      {"what does not fit", true, true, false, std::string(40, 'W'), "012", false,
       "wo0: field \"a\": 30 of 40 characters do not fit"},
      {"by viewers", false, false, false, "new", "", true, ""},
  };
  for (const auto& one : cases) {
    SCOPED_TRACE(one.what);
    FormText text = Drawn();
    if (one.asked) text.Infos("/NeedAppearances true");
    text.Field(14, "<</FT/Sig/T(s)/V 15 0 R>>").Object(15, "<</Type/Sig/Contents<00>" + lock + ">>");
    ZForm form, again;
    ASSERT_TRUE(form.OpenBytes(BytesOf(text), {.draw = one.draws}));
    EXPECT_TRUE(form.SetValue("a", one.value));
    EXPECT_TRUE(!one.all || form.Draw());
    std::string saved;
    ASSERT_TRUE(form.SaveBytes(&saved));
    const std::string said = Said(form);
    EXPECT_TRUE(said.starts_with(*one.said == '\0' ? kAlike : one.said)) << said;
    ASSERT_TRUE(again.OpenBytes(saved));
    std::string drawn;
    for (uint32_t i = 0; i < 4; i++) {
      if (ObjectOf(again.Document(), 10 + i).find("/AP") != std::string::npos) drawn += std::to_string(i);
    }
    EXPECT_EQ(drawn, one.drawn);
    EXPECT_EQ(again.Document().NeedAppearances(), one.asked_after);
  }
}

// Filling again after a drawing uses the same objects. A form that was drawn only by Draw asks viewers to draw values
// that are set later.
TEST(Form, IsDrawnAndFilledAgain) {
  ZForm form;
  ASSERT_TRUE(form.OpenBytes(BytesOf(Drawn()), {.draw = true}));
  std::string saved, more;
  EXPECT_TRUE(form.Fill("{\"b\": \"\xCE\xB1\"}"));
  const uint32_t objects = form.Document().Parser()->FreeNumber();
  EXPECT_TRUE(form.Fill("{\"b\": \"\xCE\xB2\"}"));
  EXPECT_EQ(form.Document().Parser()->FreeNumber(), objects);
  ASSERT_TRUE(form.SaveBytes(&saved) && form.SaveBytes(&more));
  EXPECT_EQ(saved, more);
  EXPECT_TRUE(form.Fill("{\"b\": \"kept\"}") && form.SaveBytes(&more));
  EXPECT_TRUE(more.starts_with(saved) && more.find("FontFile", saved.size()) == std::string::npos);
  ZForm other;
  ASSERT_TRUE(other.OpenBytes(BytesOf(Drawn())));
  EXPECT_TRUE(other.SetValue("b", "x") && other.Draw() && other.SaveBytes(&saved));
  EXPECT_FALSE(other.Document().NeedAppearances());
  EXPECT_TRUE(other.SetValue("b", "y") && other.SaveBytes(&saved));
  EXPECT_TRUE(other.Document().NeedAppearances());
}

TEST(Form, FlattenedFieldsAreGone) {
  ZForm form;
  const std::string before = BytesOf(Drawn());
  std::string saved;
  ASSERT_TRUE(form.OpenBytes(before, {.draw = true}));
  EXPECT_TRUE(form.SetValue("b", "new") && form.Flatten({"a"}));
  ASSERT_EQ(form.Fields().size(), 2U);
  EXPECT_EQ(form.Fields()[0].name + "=" + form.Fields()[0].Value(), "b=new");
  EXPECT_FALSE(form.Flatten({"a"}));
  EXPECT_TRUE(form.SetValue("b", "newer") && form.Flatten());
  EXPECT_TRUE(form.Fields().empty());
  ASSERT_TRUE(form.SaveBytes(&saved));
  EXPECT_TRUE(saved.starts_with(before) && saved.find("(newer)") != std::string::npos);
}

TEST(Form, SetValueUTF8TakesTextWhereSetValueTakesBytes) {
  ZAcroForm form = Sample().Form();
  form.Fields().Get("name")->SetValueUTF8(kName);
  form.Fields().Get("member")->SetValueUTF8("On");
  EXPECT_EQ(form.Fields().Get("name")->ValueUTF8(), kName);
  EXPECT_TRUE(ObjectOf(form, 11).find("/V/On") != std::string::npos);
}

}  // namespace
}  // namespace zforms
