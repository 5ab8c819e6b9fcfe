#include "zforms/appearance/flattener.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/support/form_text.h"

namespace zforms {
namespace {

std::string Stream(std::string_view entries, std::string_view data = "f") {
  return "<</Length " + std::to_string(data.size()) + std::string(entries) + ">>stream\n" + std::string(data) +
         "\nendstream";
}

// A page (object 4) with one content stream, and a field (object 10). The field has the appearance in object 11, unless
// it is a button. The arguments add entries to the page, the field and the appearance.
FormText OnePage(std::string_view page, std::string_view widget, std::string_view look) {
  const bool is_button = widget.starts_with("/FT/Btn");
  FormText text;
  text.Catalog("/Pages 3 0 R")
      .Object(3, "<</Type/Pages/Count 1/Kids[4 0 R]/Resources<</Font 7 0 R>>>>")
      .Object(4, "<</Type/Page/Parent 3 0 R/Contents 5 0 R/Annots[10 0 R 6 0 R]" + std::string(page) + ">>")
      .Object(5, Stream("", "0 g"))
      .Object(6, "<</Subtype/Link/Rect[0 0 9 9]>>")
      .Object(7, "<</F 8 0 R>>")
      .Object(8, "<</Type/Font>>")
      .Field(10, "<</T(a)/Subtype/Widget" + std::string(widget) + (is_button ? ">>" : "/FT/Tx/AP<</N 11 0 R>>>>"))
      .Object(11, Stream("/Subtype/Form" + std::string(look)));
  return text;
}

// The data of all content streams of the page, with blanks between them.
std::string ContentOf(ZAcroForm& form, uint32_t page) {
  auto* dictionary = NodeCast<ZPDFNodeDictionary>(form.Parser()->GetObject({page, 0})->GetDirectAt(0));
  ZPDFNode* contents = dictionary->GetTarget("/Contents");
  if (const auto* stream = NodeCast<ZPDFNodeStream>(contents)) return InOneLine(stream->Data().ToString());
  std::string content;
  for (size_t i = 0; contents != nullptr && i < contents->Size(); i++) {
    std::string data = NodeCast<ZPDFNodeStream>(contents->GetTargetAt(i))->Data().ToString();
    for (char& c : data) c = c == '\n' ? ' ' : c;
    content += (i == 0 || content.ends_with(' ') ? "" : " ") + data;
  }
  return content;
}

// "/BBox", "/Matrix" and "/Rect" give the place of an appearance (ISO 32000-1 12.5.5, algorithm 8.1). The expected
// matrices were computed by hand.
TEST(ZFormFlattener, PaintsWhatViewersShow) {
  const struct {
    const char *page, *widget, *look, *painted;
  } cases[] = {
      {"", "/Rect[10 20 30 40]", "/BBox[0 0 20 20]", "1 0 0 1 10 20 cm /Zf11 Do"},
      {"", "/Rect[30 40 10 20]", "/BBox[5 5 15 10]", "2 0 0 4 0 0 cm /Zf11 Do"},
      {"", "/Rect[10 20 30 40]", "/BBox[0 0 20 20]/Matrix[0 1 -1 0 20 0]", "1 0 0 1 10 20 cm /Zf11 Do"},
      {"", "/Rect[0 0 10 10]", "/BBox[0 0 10 10]/Matrix[1 1 -1 1 0 0]", "0.5 0 0 0.5 5 0 cm /Zf11 Do"},
      {"/Rotate 90", "/F 16/Rect[10 20 30 40]", "/BBox[0 0 20 20]", "0 1 -1 0 30 40 cm /Zf11 Do"},
      {"", "/F 34/Rect[10 20 30 40]", "/BBox[0 0 20 20]", ""},
      {"", "/F 2/Rect[10 20 30 40]", "/BBox[0 0 20 20]", ""},
      {"", "/F 32/Rect[10 20 30 40]", "/BBox[0 0 20 20]", ""},
      {"", "/Rect[10 20 30 20]", "/BBox[0 0 20 20]", ""},
      {"", "/Rect[10 20 30 40]", "/BBox[0 0 20 0]", ""},
      {"", "/Rect[10 20 30 40]", "/BBox[0 0 20 20]/Matrix[0 0 0 0 0 0]", ""},
      {"", "/Rect[10 20 30 40]", "/BBox[0 0 1e9 20000000]", ""},
      {"", "/Rect[10 20 30 40]", "", ""},
      {"", "/FT/Btn/AP<</N<</On 11 0 R>>>>/AS/On/Rect[0 0 2 2]", "/BBox[0 0 2 2]", "1 0 0 1 0 0 cm /Zf11 Do"},
      {"", "/FT/Btn/AP<</N<</On 11 0 R>>>>/V/On/Rect[0 0 2 2]", "/BBox[0 0 2 2]", "1 0 0 1 0 0 cm /Zf11 Do"},
      {"", "/FT/Btn/AP<</N<</On 11 0 R>>>>/AS/Off/Rect[0 0 2 2]", "/BBox[0 0 2 2]", ""},
  };
  for (const auto& each : cases) {
    SCOPED_TRACE(each.widget + std::string(each.look));
    ZAcroForm form = OnePage(each.page, each.widget, each.look).Form();
    ASSERT_TRUE(ZFormFlattener(form).FlattenAll());
    const std::string painted = each.painted;
    EXPECT_EQ(ContentOf(form, 4), painted.empty() ? "0 g" : "q 0 g Q q " + painted + " Q ");
    EXPECT_NE(ObjectOf(form, 4).find("/Annots[6 0 R]"), std::string::npos);
    EXPECT_EQ(ObjectOf(form, 3).find("/XObject"), std::string::npos) << "what pages share stays as it is";
    EXPECT_EQ(ObjectOf(form, 1), "<</Type/Catalog/Pages 3 0 R>>");
  }
}

TEST(ZFormFlattener, TakesTheFieldsOutOfTheDocument) {
  FormText text = OnePage("/Resources<</XObject 7 0 R>>", "/Rect[0 0 9 9]/OC 9 0 R/StructParent 5", "/BBox[0 0 9 9]");
  text.Infos("/CO[10 0 R 21 0 R]/SigFlags 3/DA(/F 0 Tf)/XFA(x)/NeedAppearances false")
      .Catalog("/StructTreeRoot 30 0 R/Perms<</DocMDP 22 0 R>>")
      .Object(9, "<</Type/OCG>>")
      .Field(20, "<</T(group)/Kids[21 0 R 23 0 R]>>")
      .Object(21, "<</T(b)/FT/Tx/Parent 20 0 R>>")
      .Object(23, "<</T(sign)/FT/Sig/Parent 20 0 R/V 22 0 R>>")
      .Object(22, "<</Type/Sig>>")
      .Object(30, "<</K 31 0 R/ParentTree<</Kids[32 0 R 33 0 R]>>>>")
      .Object(31, "<</S/Form/K[7<</Type/OBJR/Obj 10 0 R>><</Type/OBJR/Obj 6 0 R>>]>>")
      .Object(32, "<</Limits[0 4]/Nums[0[31 0 R]4 31 0 R]>>")
      .Object(33, "<</Limits[5 6]/Nums[5 31 0 R 6 31 0 R]>>");
  const Chaine bytes = text.Bytes();
  ZAcroForm form = Loaded(bytes);
  ZFormFlattener flattener(form);

  EXPECT_FALSE(flattener.Flatten({"a", "group.none"}));
  EXPECT_EQ(flattener.Diagnostics().Failure(), "no field is named \"group.none\"");
  EXPECT_TRUE(form.Parser()->ModifiedObjects().empty());

  EXPECT_TRUE(flattener.Flatten({"a"}));
  EXPECT_EQ(ContentOf(form, 4), "q 0 g Q /OC /Zf9 BDC q 1 0 0 1 0 0 cm /Zf11 Do Q EMC ");
  const std::string page = ObjectOf(form, 4);
  EXPECT_NE(page.find("/Properties<</Zf9 9 0 R>>"), std::string::npos) << page;
  EXPECT_EQ(ObjectOf(form, 7), "<</F 8 0 R>>") << "others may use it";
  EXPECT_EQ(ObjectOf(form, 31), "<</S/Form/K[7<</Type/OBJR/Obj 6 0 R>>]>>");
  EXPECT_EQ(ObjectOf(form, 33), "<</Limits[6 6]/Nums[6 31 0 R]>>");
  EXPECT_EQ(ObjectOf(form, 32), "<</Limits[0 4]/Nums[0[31 0 R]4 31 0 R]>>");
  EXPECT_EQ(ObjectOf(form, 2), "<</Fields[20 0 R]/CO[21 0 R]/SigFlags 3/DA(/F 0 Tf)/XFA(x)/NeedAppearances false>>");
  const Chaine without_a = Saved(form);
  EXPECT_TRUE(without_a.View().starts_with(bytes)) << "an update";

  ZAcroForm second = Loaded(without_a);
  EXPECT_TRUE(ZFormFlattener(second).Flatten({"group.sign"}));
  EXPECT_EQ(ObjectOf(second, 2), "<</Fields[20 0 R]/CO[21 0 R]/DA(/F 0 Tf)/XFA(x)/NeedAppearances false>>");
  EXPECT_EQ(ObjectOf(second, 1).find("/Perms"), std::string::npos);
  ZAcroForm third = Loaded(Saved(second));
  EXPECT_EQ(third.Fields()[0]->Size(), 1U) << "b stays below its group";
  EXPECT_TRUE(ZFormFlattener(third).Flatten({"group"}));
  ZAcroForm flat = Loaded(Saved(third));
  EXPECT_EQ(flat.Infos(), nullptr) << "the form goes with its last field";
  EXPECT_FALSE(ZFormFlattener(flat).FlattenAll());
}

// Two pages share annotations, contents and resources, and a third page does not use them. Flattening leaves the shared
// objects unchanged: it gives the two pages one changed copy.
TEST(ZFormFlattener, KeepsWhatPagesShareApart) {
  FormText text;
  text.Catalog("/Pages 3 0 R")
      .Object(3, "<</Type/Pages/Count 3/Kids[4 0 R 5 0 R 6 0 R]>>")
      .Object(4, "<</Type/Page/Parent 3 0 R/Annots 7 0 R/Contents 8 0 R/Resources 9 0 R>>")
      .Object(5, "<</Type/Page/Parent 3 0 R/Annots 7 0 R/Contents 8 0 R/Resources 9 0 R>>")
      .Object(6, "<</Type/Page/Parent 3 0 R/Annots[10 0 R<</Subtype/FreeText/DA(/F 9 Tf)>>]>>")
      .Object(7, "[10 0 R]")
      .Object(8, "[12 0 R null 12 0 R]")
      .Object(9, "<</XObject<</Zff 12 0 R/Zf11 12 0 R>>>>")
      .Field(10, "<</FT/Tx/T(a)/Subtype/Widget/Rect[0 0 9 9]/AP<</N 11 0 R>>>>")
      .Object(11, Stream("/BBox[0 0 9 9]"))
      .Object(12, Stream("", "0 g"));
  ZAcroForm form = text.Form();
  EXPECT_TRUE(ZFormFlattener(form).FlattenAll());
  for (const uint32_t page : {4U, 5U}) {
    EXPECT_EQ(ContentOf(form, page), "q 0 g 0 g Q q 1 0 0 1 0 0 cm /Zfff11 Do Q ");
    EXPECT_NE(ObjectOf(form, page).find("/Resources 13 0 R"), std::string::npos) << "one copy for both";
    EXPECT_EQ(ObjectOf(form, page).find("/Annots"), std::string::npos);
  }
  EXPECT_EQ(ContentOf(form, 6), "q 1 0 0 1 0 0 cm /Zf11 Do Q");
  EXPECT_EQ(ObjectOf(form, 8), "[12 0 R null 12 0 R]");
  EXPECT_EQ(ObjectOf(form, 9), "<</XObject<</Zff 12 0 R/Zf11 12 0 R>>>>");
  EXPECT_NE(ObjectOf(form, 11).find("/Subtype/Form"), std::string::npos) << "else it is no form XObject";
  EXPECT_EQ(ObjectOf(form, 2), "<</Fields[]>>") << "the free text may use fonts of the form";
}

}  // namespace
}  // namespace zforms
