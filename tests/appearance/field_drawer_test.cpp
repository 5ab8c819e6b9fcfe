#include "zforms/appearance/field_drawer.h"

#include <gtest/gtest.h>

#include "tests/support/form_text.h"

namespace zforms {
namespace {

// The content of the appearance of the field's widget, in one line.
std::string ContentOf(ZAcroForm& form, uint32_t field) {
  const auto* appearances = NodeCast<ZPDFNodeDictionary>(form.Fields()[field]->Dico()->GetTarget("/AP"));
  const auto* stream = appearances == nullptr ? nullptr : NodeCast<ZPDFNodeStream>(appearances->GetTarget("/N"));
  std::string content = stream == nullptr ? "none" : stream->Data().ToString();
  for (char& c : content) c = c == '\n' ? ' ' : c;
  return content;
}

// Helvetica, in 1/1000 of its size: the widths of "A" and "i" are 667 and 222, the ascent is 718, the descent -207.
TEST(ZFieldDrawer, DrawsFieldsInTheFontsOfTheForm) {
  ZAcroForm form = FormText()
                       .Infos("/DA(/Helv 0 Tf 0 g)/NeedAppearances true")
                       .Field(10, "<</FT/Tx/T(a)/V(Ai)/Q 2/Subtype/Widget/Rect[0 0 100 20]/DA(1 0 0 rg /Helv 10 Tf)>>")
                       .Field(11, "<</FT/Tx/T(b)/V(A)/F 2/Subtype/Widget/Rect[0 0 10 100]>>")
                       .Field(12, "<</FT/Tx/T(c)/V(Aiii)/Subtype/Widget/Rect[0 0 12 20]/DA(/Helv 10 Tf)>>")
                       .Field(13, "<</T(group)/Kids[14 0 R]>>")
                       .Object(14, "<</FT/Btn/T(d)/Parent 13 0 R/Subtype/Widget/Rect[0 0 10 10]>>")
                       .Form();
  const uint32_t before = form.Parser()->FreeNumber();
  ZFieldDrawer drawer(form);
  EXPECT_TRUE(drawer.DrawAll());
  // The text starts at x = 100 - (0.667 + 0.222) * 10 - 2 and y = (20 - (0.718 - 0.207) * 10) / 2.
  EXPECT_EQ(ContentOf(form, 0), "/Tx BMC q BT 1 0 0 rg /Helv 10 Tf 89.11 7.445 Td (Ai) Tj ET Q EMC ");
  // The width of the box limits the size: 6 / 0.667 is less than 98 / 1.35.
  EXPECT_EQ(ContentOf(form, 1), "/Tx BMC q BT 0 g /Helv 8.99 Tf 2 47.703 Td (A) Tj ET Q EMC ");
  EXPECT_NE(LineOf(form.Fields()[3]->GetAt(0)->Dico()).find("/AS/Off"), std::string::npos);
  ASSERT_EQ(drawer.Diagnostics().Warnings().Size(), 1U);
  EXPECT_EQ(drawer.Diagnostics().Warnings()[0].text, "field \"c\": 2 of 4 characters do not fit");

  // New objects: two fonts (Helvetica, ZapfDingbats), three texts and two states.
  EXPECT_EQ(form.Parser()->FreeNumber() - before, 7U);
  form.ResetModified();
  EXPECT_TRUE(drawer.DrawAll());
  EXPECT_TRUE(form.Parser()->ModifiedObjects().empty()) << "nothing changed, so nothing is drawn again";
  form.Fields()[0]->SetValue("A");
  EXPECT_TRUE(drawer.Draw(*form.Fields()[0]));
  EXPECT_EQ(ContentOf(form, 0), "/Tx BMC q BT 1 0 0 rg /Helv 10 Tf 91.33 7.445 Td (A) Tj ET Q EMC ");
  EXPECT_EQ(form.Parser()->FreeNumber() - before, 7U) << "the object of the first drawing serves again";

  ZAcroForm empty;
  EXPECT_FALSE(ZFieldDrawer(empty).DrawAll());
}

TEST(ZFieldDrawer, CopiesOfAFormReadItsFontsOnce) {
  ZAcroForm first = FormText()
                        .Infos("/DR<</Font<</F 20 0 R>>>>")
                        .Field(10, "<</FT/Tx/T(a)/V(A)/Q 2/Subtype/Widget/Rect[0 0 100 20]/DA(/F 10 Tf)>>")
                        .Object(20, "<</Type/Font/Subtype/Type1/BaseFont/Helvetica/FirstChar 65/Widths[500]>>")
                        .Form();
  ZAcroForm second(first);
  ZAcroForm third(first);
  for (ZAcroForm* form : {&second, &third}) {
    auto* object = form->Parser()->GetObject({20, 0});
    NodeCast<ZPDFNodeDictionary>(object->GetDirectAt(0))->SetValue("/FirstChar", 66);
    object->SetModified(false, true);
  }
  const ZDrawingFonts fonts;
  const ZDrawingFonts shared = fonts.ForCopiesOfOneForm();
  EXPECT_TRUE(ZFieldDrawer(first, shared).DrawAll());
  EXPECT_TRUE(ZFieldDrawer(second, shared).DrawAll());
  EXPECT_EQ(ContentOf(second, 0), ContentOf(first, 0));
  ZFieldDrawer(third, fonts).DrawAll();
  EXPECT_NE(ContentOf(third, 0), ContentOf(first, 0)) << "it has its own";
}

// The widths of "A" and a blank in Helvetica are 667 and 278.
TEST(ZFieldDrawer, FollowsTheOperatorsOfTheDefaultAppearance) {
  const struct {
    const char* entries;
    std::string_view content;
  } cases[] = {
      // The text is (667 + 278 + 667 + 3 * 200 + 500) / 100 * 0.5 = 13.56 wide.
      {"/DA(2 Tc 5 Tw 50 Tz /Helv 10 Tf)/V(A A)/Q 2", "2 Tc 5 Tw 50 Tz /Helv 10 Tf 84.44 7.445 Td (A A) Tj"},
      {"/DA(/Helv 10 Tf 1 Tc)/V(AAAAAAAAAAAAAAA)", "1 Tc /Helv 10 Tf 2 7.445 Td (AAAAAAAAAAAAA) Tj"},
      // The automatic size is (20 - 2) / 1.35.
      {"/DA(/Helv 0 Tf 2 Tc 50 Tz)/V(A)", "50 Tz /Helv 13.33 Tf 2 6.594 Td (A) Tj"},
      {"/DA(/Helv 10 Tf 2 Tc)/V(AA)/Ff 16777216/MaxLen 2", "/Helv 10 Tf 21.665 7.445 Td (A) Tj 50 0 Td (A) Tj"},
      {"/DA(/Cs cs .5 scn /Helv 10 Tf)/V(A)", "/Cs cs 0.5 scn /Helv 10 Tf 2 7.445 Td (A) Tj"},
      {"/DA(/None cs .5 scn /Helv 10 Tf)/V(A)", "/Helv 10 Tf 2 7.445 Td (A) Tj"},
  };
  for (const auto& one : cases) {
    ZAcroForm form = FormText()
                         .Infos("/DR<</ColorSpace<</Cs[/Separation/Ink/DeviceGray 20 0 R]>>>>")
                         .Field(10, "<</FT/Tx/T(a)/Subtype/Widget/Rect[0 0 100 20]" + std::string(one.entries) + ">>")
                         .Form();
    ZFieldDrawer(form).DrawAll();
    EXPECT_EQ(ContentOf(form, 0), "/Tx BMC q BT " + std::string(one.content) + " ET Q EMC ");
    const std::string look = ObjectOf(form, form.Parser()->FreeNumber() - 1);
    EXPECT_EQ(look.find("/Cs[/Separation") != std::string::npos, one.content.starts_with("/Cs")) << look;
  }
}

}  // namespace
}  // namespace zforms
