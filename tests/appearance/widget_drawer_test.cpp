#include "zforms/appearance/widget_drawer.h"

#include <gtest/gtest.h>

#include "tests/support/fake_font.h"
#include "tests/support/form_text.h"
#include "zforms/appearance/fonts/added_objects.h"
#include "zforms/appearance/marked_text.h"

namespace zforms {
namespace {

TEST(WidgetStyle, IsReadWithinBounds) {
  // The result as text: width, height, rotation, edge, padding, components of the background, "/Matrix".
  const struct {
    const char* widget;
    const char* told;
  } kCases[] = {
      {"/Rect[10 20 110 40]", "100 20 0 0 2 0 1 0 0 1 0 0"},
      {"/Rect[110 40 10 20]/MK<</BG[1]>>", "100 20 0 0 2 1 1 0 0 1 0 0"},
      {"/Rect[0 0 100 20]/MK<</R 90/BC[0]>>", "20 100 90 1 2 0 0 1 -1 0 100 0"},
      {"/Rect[0 0 100 20]/MK<</R -180>>", "100 20 180 0 2 0 -1 0 0 -1 100 20"},
      {"/Rect[0 0 100 20]/MK<</R 270>>", "20 100 270 0 2 0 0 -1 1 0 0 20"},
      {"/Rect[0 0 100 20]/MK<</R 45/BG[1 2]>>", "100 20 0 0 2 0 1 0 0 1 0 0"},
      {"/Rect[0 0 100 20]/MK<</BC[1 0 0]>>/BS<</W 3/S/B>>", "100 20 0 6 6 0 1 0 0 1 0 0"},
      {"/Rect[0 0 100 20]/MK<</BC[1 0 0]>>/Border[0 0 2]", "100 20 0 2 2 0 1 0 0 1 0 0"},
      {"/Rect[0 0 100 20]/BS<</W 3>>", "100 20 0 0 2 0 1 0 0 1 0 0"},
      {"/Rect[0 0 100 20]/MK<</BC[0]>>/BS<</W 999999999999>>", "100 20 0 10 10 0 1 0 0 1 0 0"},
      {"/Rect[0 0 100 20]/MK<</BC[0]>>/BS<</W -5>>", "100 20 0 0 2 0 1 0 0 1 0 0"},
      {"/Rect[0 0 0 20]", "0 0 0 0 2 0 1 0 0 1 0 0"},
      {"/Rect[0 0 1000000000000000000000000000000 20]", "0 0 0 0 2 0 1 0 0 1 0 0"},
      {"/Rect[0 0 20]", "0 0 0 0 2 0 1 0 0 1 0 0"},
      {"/MK 5/BS[]/Border<<>>", "0 0 0 0 2 0 1 0 0 1 0 0"},
  };
  for (const auto& c : kCases) {
    const NodePtr node = Parse("<<" + std::string(c.widget) + ">>");
    const WidgetStyle style = WidgetStyle::Of(*NodeCast<ZPDFNodeDictionary>(node.get()));
    ContentWriter out;
    out.Number(style.width).Number(style.height).Number(style.rotation).Number(style.Edge()).Number(style.Padding());
    out.Number(static_cast<double>(style.background.count));
    for (const double part : style.Matrix()) out.Number(part);
    EXPECT_EQ(out.Text(), std::string(c.told) + " ") << c.widget;
  }
}

TEST(MarkedText, IsTakenOut) {
  // The content before and after the marked text, as "before|after"; "-" when it cannot be kept.
  const struct {
    const char* content;
    const char* kept;
  } kCases[] = {
      {"q 1 g Q /Tx BMC q BT (x) Tj ET Q EMC Q2", "q 1 g Q | Q2"},
      {"/Tx BMC EMC", "|"},
      {"0 0 5 5 re f", "0 0 5 5 re f|"},
      {"", "|"},
      {"BT (x) Tj ET", "-"},
      {"/Tx BMC q BT", "-"},
      {"/Tx BMC q EMC Q", "-"},
      {"/Tx BMC /Span <</ActualText(EMC)>> BDC EMC 1 EMC b", "| b"},
      {"(/Tx BMC \\) ) pop %/Tx BMC\n/Tx BMC EMC c", "(/Tx BMC \\) ) pop %/Tx BMC\n| c"},
      {"/Tx BMC a EMC b /Tx BMC c EMC d", "| b  d"},
      {"/OC /Tx BDC BT ET EMC", "-"},
      {"BI /W 1 ID \x01 EMC/Tx BMC (EI /Tx BMC EMC e", "BI /W 1 ID \x01 EMC/Tx BMC (EI /Tx BMC EMC e|"},
      {"BI /W 1 ID \x01(<< EI /Tx BMC EMC e", "BI /W 1 ID \x01(<< EI | e"},
      {"/Tx BMC (", "-"},
      {"<< < (", "<< < (|"},
  };
  for (const auto& c : kCases) {
    const std::optional<KeptContent> kept = WithoutMarkedText(c.content);
    EXPECT_EQ(kept ? kept->before + "|" + kept->after : "-", c.kept) << c.content;
  }
}

// A form with one widget, drawn in the fake font.
struct Drawn {
  explicit Drawn(const FormText& text) : form(text.Form()) { Draw(); }
  void Draw() {
    FakeFonts fonts;
    AddedObjects added(form.Parser());
    WidgetDrawer drawer(&added, fonts, &notes);
    uint32_t index = 0;
    for (ZAcroFormField* widget : form.Fields()[0]->Widgets()) is_complete &= drawer.Draw(*widget, index++);
  }
  const ZPDFNodeDictionary* Normal(uint32_t widget = 0) {
    const ZPDFNodeDictionary* dictionary = form.Fields()[0]->Widgets()[widget]->Dico();
    const auto* appearances = NodeCast<ZPDFNodeDictionary>(dictionary->GetTarget("/AP"));
    const auto* stream = appearances == nullptr ? nullptr : NodeCast<ZPDFNodeStream>(appearances->GetTarget("/N"));
    content = stream == nullptr ? "none" : stream->Data().ToString();
    return stream == nullptr ? nullptr : stream->Dico();
  }
  std::string Content(uint32_t widget = 0) {
    Normal(widget);
    std::string line = content;
    for (char& c : line) c = c == '\n' ? ' ' : c;
    return line;
  }
  std::string Said() const {
    std::string said;
    for (const ZDiagnosticsWarning& warning : notes.Warnings()) said += warning.text.ToString() + "\n";
    return said;
  }

  ZAcroForm form;
  ZDiagnostics notes;
  bool is_complete = true;
  std::string content;
};

constexpr char kWidget[] = "/Subtype/Widget/Rect[0 0 104 20]/DA(10)/T(x)";

TEST(WidgetDrawer, DrawsEachKind) {
  // A text is drawn as "/Tx BMC q BT 0 0 1 rg /F 10 Tf 2 7.5 Td (ab) Tj ET Q EMC".
  const struct {
    const char* field;
    const char* content;
    const char* said;
  } kCases[] = {
      {"/FT/Tx/V(ab)", "/Tx BMC q BT 0 0 1 rg /F 10 Tf 2 7.5 Td (ab) Tj ET Q EMC ", ""},
      {"/FT/Tx", "/Tx BMC q Q EMC ", ""},
      {"/FT/Tx/V(a\rb)/Ff 4096/MK<</BC[1 0 0]/BG[.5]>>",
       "q .5 g 0 0 104 20 re f 1 0 0 RG 1 w .5 .5 103 19 re S Q /Tx BMC q 1 1 102 18 re W n BT 0 0 1 rg /F 10 Tf 2 "
       "5.667 "
       "Td (a) Tj ET Q EMC ",
       "field \"x\": 1 of 2 characters do not fit\n"},
      {"/FT/Tx/V(ab)/Ff 8192/Q 2", "/Tx BMC q BT 0 0 1 rg /F 10 Tf 92 7.5 Td (**) Tj ET Q EMC ", ""},
      {"/FT/Tx/V(abc)/Ff 16777216/MaxLen 2/MK<</BC[0]>>/BS<</W 2/S/D/D[4]>>",
       "q 0 G 2 w [4 ] 0 d 1 1 102 18 re S 52 2 m 52 18 l S Q /Tx BMC q 2 2 100 16 re W n BT 0 0 1 rg "
       "/F 10 Tf 23.5 7.5 Td (a) Tj 52 0 Td (b) Tj ET Q EMC ",
       "field \"x\": 1 of 3 characters do not fit\n"},
      {"/FT/Tx/V(a~)/Ff 16777216/MaxLen 2147483648", "/Tx BMC q BT 0 0 1 rg /F 10 Tf 2 7.5 Td (a~) Tj ET Q EMC ",
       "field \"x\": no font has the character \"~\" (U+007E)\n"},
      {"/FT/Tx/V(a\\001\\255b\\t)", "/Tx BMC q BT 0 0 1 rg /F 10 Tf 2 7.5 Td (ab) Tj ET Q EMC ",
       "field \"x\": no font has the character U+0001\n"},
      {"/FT/Tx/V(ab)/RV(<b>ab</b>)/Ff 33554432", "/Tx BMC q BT 0 0 1 rg /F 10 Tf 2 7.5 Td (ab) Tj ET Q EMC ",
       "field \"x\": its rich text is drawn as plain text\n"},
      {"/FT/Ch/Ff 131072/V(1)/Opt[[(1)(One)]]", "/Tx BMC q BT 0 0 1 rg /F 10 Tf 2 7.5 Td (One) Tj ET Q EMC ", ""},
      {"/FT/Ch/V(b)/TI 1/Opt[(a)(b)(c)]",
       "/Tx BMC q .6 .757 .855 rg 0 6.5 104 13.5 re f 0 g BT 0 0 1 rg /F 10 Tf 2 8.25 Td (b) Tj 0 -13.5 Td (c) Tj ET Q "
       "EMC ",
       ""},
      {"/FT/Btn/Ff 65536/MK<</CA(OK)>>", "q BT 0 0 1 rg /F 10 Tf 47 7.5 Td (OK) Tj ET Q ", ""},
      {"/FT/Sig/V<<>>", "none", ""},
      {"/FT/Tx/V(ab)/Rect[0 0 1e30 1]", "/Tx BMC q BT 0 0 1 rg /F 10 Tf 2 7.5 Td (ab) Tj ET Q EMC ", ""},
  };
  for (const auto& c : kCases) {
    Drawn drawn(FormText().Field(10, "<<" + std::string(kWidget) + c.field + ">>"));
    EXPECT_EQ(drawn.Content(), c.content) << c.field;
    EXPECT_EQ(drawn.Said(), c.said) << c.field;
    EXPECT_EQ(drawn.is_complete, drawn.Said().find("no font") == std::string::npos) << c.field;
  }
}

TEST(WidgetDrawer, KeepsWhatStandsOutsideTheText) {
  // The entries and the content of the old stream; the content and "/BBox" of the new one.
  const struct {
    const char* entries;
    const char* before;
    const char* content;
    const char* box;
  } kCases[] = {
      {"/BBox[0 0 104 20]", "0 1 0 rg f /Tx BMC (old) EMC 5 w",
       "0 1 0 rg f /Tx BMC q BT 0 0 1 rg /F 10 Tf 2 7.5 Td (ab) Tj ET Q EMC 5 w", "[0 0 104 20]"},
      {"/BBox[5 5 109 25]", "/Tx BMC EMC", "/Tx BMC q 1 0 0 1 5 5 cm BT 0 0 1 rg /F 10 Tf 2 7.5 Td (ab) Tj ET Q EMC ",
       "[5 5 109 25]"},
      // The old content is not kept when it has another size or rotation, text without marks, or an unknown filter.
      {"/BBox[0 0 50 20]", "5 w", "/Tx BMC q BT 0 0 1 rg /F 10 Tf 2 7.5 Td (ab) Tj ET Q EMC ", "[0 0 104 20]"},
      {"/BBox[0 0 104 20]/Matrix[0 1 -1 0 0 0]", "5 w", "/Tx BMC q BT 0 0 1 rg /F 10 Tf 2 7.5 Td (ab) Tj ET Q EMC ",
       "[0 0 104 20]"},
      {"/BBox[0 0 104 20]", "BT (old) Tj ET", "/Tx BMC q BT 0 0 1 rg /F 10 Tf 2 7.5 Td (ab) Tj ET Q EMC ",
       "[0 0 104 20]"},
      {"/BBox[0 0 104 20]/Filter/LZWDecode", "5 w", "/Tx BMC q BT 0 0 1 rg /F 10 Tf 2 7.5 Td (ab) Tj ET Q EMC ",
       "[0 0 104 20]"},
  };
  for (const auto& c : kCases) {
    PdfText stream;
    FormText text;
    text.Object(11, "<<" + std::string(c.entries) + "/Length " + std::to_string(std::string_view(c.before).size()) +
                        ">>\nstream\n" + c.before + "\nendstream");
    text.Field(10, "<<" + std::string(kWidget) + "/FT/Tx/V(ab)/AP<</N 11 0 R/D 11 0 R>>>>");
    Drawn drawn(text);
    EXPECT_EQ(drawn.Content(), c.content) << c.entries;
    const ZPDFNodeDictionary* dictionary = drawn.Normal();
    EXPECT_EQ(LineOf(dictionary->GetDirect("/BBox")), c.box);
    EXPECT_EQ(LineOf(dictionary->GetTarget("/Resources")), "<</Font<</F/TheFont>>>>");
    // The old stream is unchanged, and drawing a second time changes nothing.
    EXPECT_NE(ObjectOf(drawn.form, 11).find(c.before), std::string::npos);
    const std::string appearance = LineOf(drawn.form.Fields()[0]->Dico()->GetDirect("/AP"));
    EXPECT_EQ(appearance, "<</N 12 0 R>>");
    drawn.form.ResetModified();
    drawn.Draw();
    EXPECT_TRUE(drawn.form.Parser()->ModifiedObjects().empty()) << c.entries;
    EXPECT_EQ(LineOf(drawn.form.Fields()[0]->Dico()->GetDirect("/AP")), appearance);
  }
}

TEST(WidgetDrawer, WidgetsDoNotShareAStream) {
  FormText text;
  text.Object(13, "<</BBox[0 0 104 20]/Length 0>>\nstream\n\nendstream").Object(14, "<</N 13 0 R>>");
  text.Field(10, "<</FT/Tx/T(x)/V(ab)/DA(10)/Kids[11 0 R 12 0 R]>>");
  for (const uint32_t kid : {11, 12}) {
    text.Object(kid, "<</Subtype/Widget/Parent 10 0 R/Rect[0 0 104 " + std::to_string(kid * 2) + "]/AP 14 0 R>>");
  }
  Drawn drawn(text);
  EXPECT_EQ(drawn.Content(0), "/Tx BMC q BT 0 0 1 rg /F 10 Tf 2 8.5 Td (ab) Tj ET Q EMC ");
  EXPECT_EQ(drawn.Content(1), "/Tx BMC q BT 0 0 1 rg /F 10 Tf 2 9.5 Td (ab) Tj ET Q EMC ");
  EXPECT_EQ(ObjectOf(drawn.form, 14), "<</N 13 0 R>>");
}

TEST(WidgetDrawer, ButtonsKeepTheStatesThatTheyHave) {
  const struct {
    const char* field;
    const char* widget;
  } kCases[] = {
      {"/FT/Btn/V/On/AS/On/MK<</BC[0]>>", "/AP<</N<</On 21 0 R/Off 22 0 R>>>>/AS /On"},
      {"/FT/Btn", "/AP<</N<</Yes 21 0 R/Off 22 0 R>>>>/AS /Off"},
      {"/FT/Btn/Ff 32768/V/0", "/AP<</N<</0 21 0 R/Off 22 0 R>>>>/AS /0"},
      {"/FT/Btn/AS/A/AP<</N<</Off 20 0 R>>>>", "/AP<</N<</Off 20 0 R/A 21 0 R>>>>/AS /A"},
      {"/FT/Btn/AS/Off/AP<</N<</A 20 0 R>>>>", "/AP<</N<</A 20 0 R>>>>/AS /Off"},
      {"/FT/Btn/AS/Off/AP<</N<</A<<>>>>>>", "/AP<</N<</A 21 0 R/Off 22 0 R>>>>/AS /Off"},
      {"/FT/Btn/V/A/AP<</N<</A 20 0 R>>>>", "/AP<</N<</A 20 0 R>>>>/AS /A"},
      {"/FT/Btn/V/B/AP<</N<</A 20 0 R>>>>", "/AP<</N<</A 20 0 R>>>>/AS /Off"},
  };
  for (const auto& c : kCases) {
    FormText text;
    text.Field(10, "<<" + std::string(kWidget) + c.field + ">>").Object(20, "<</Length 0>>stream\n\nendstream");
    Drawn drawn(text);
    const ZPDFNodeDictionary& widget = *drawn.form.Fields()[0]->Dico();
    EXPECT_EQ("/AP" + LineOf(widget.GetDirect("/AP")) + "/AS " + widget.GetIdentifier("/AS").ToString(), c.widget);
  }
  Drawn drawn(FormText().Field(10, "<<" + std::string(kWidget) + "/FT/Btn/MK<</CA(8)/BC[0]>>>>"));
  // The mark has the size in "/DA", and is in the middle of the box.
  EXPECT_NE(ObjectOf(drawn.form, 11).find("BT/F 10 Tf49.5 6.475 Td(8) TjET"), std::string::npos);
}

// Many widgets show the same long value in different sizes: work and output stay in proportion to the size of the file.
TEST(WidgetDrawer, SharedValuesAreNotDrawnWithoutEnd) {
  FormText text;
  std::string kids;
  for (uint32_t kid = 11; kid < 3011; kid++) {
    kids += std::to_string(kid) + " 0 R ";
    text.Object(kid, "<</Subtype/Widget/Parent 10 0 R/Rect[0 0 14000 " + std::to_string(kid) + "]>>");
  }
  text.Field(10, "<</FT/Tx/Ff 4096/T(x)/DA(0)/V(" + std::string(200000, 'a') + ")/Kids[" + kids + "]>>");
  Drawn drawn(text);
  EXPECT_FALSE(drawn.is_complete);
  EXPECT_NE(drawn.Said().find("more work than the limit for drawing allows"), std::string::npos);
  EXPECT_LT(drawn.form.UpdatedBytes({}).size(), size_t{100} << 20);
}

}  // namespace
}  // namespace zforms
