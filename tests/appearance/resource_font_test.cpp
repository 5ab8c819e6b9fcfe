#include "zforms/appearance/fonts/resource_font.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

#include "tests/support/font_text.h"
#include "tests/support/form_text.h"
#include "zforms/appearance/fonts/added_objects.h"
#include "zforms/appearance/fonts/font_resources.h"
#include "zforms/platform/base/number.h"

namespace zforms {
namespace {

std::string Hexadecimal(uint32_t value) {
  char digits[16];
  snprintf(digits, sizeof digits, "%X", value);
  return digits;
}

// For each character its code, the size of the code unless it is one byte, and its width. "~" marks a code that readers
// map to another text; "-" stands for a character that the font does not have.
std::string Codes(ResourceFont& font, std::u32string_view text) {
  std::string all;
  for (size_t i = 0; i < text.size(); i++) {
    std::vector<ShapedGlyph> glyphs;
    font.Shape(text, i, 1, false, &glyphs);
    EXPECT_EQ(glyphs.size(), font.Has(text[i]) ? 1U : 0U);
    all += i > 0 ? " " : "";
    for (const ShapedGlyph& glyph : glyphs) {
      all += Hexadecimal(glyph.code) + (glyph.code_size == 1 ? "" : "/" + std::to_string(glyph.code_size));
      all += "=" + FormatDouble(glyph.width).ToString() + (glyph.is_plain ? "" : "~");
      EXPECT_EQ(glyph.advance, glyph.width);
      EXPECT_EQ(glyph.cluster, i);
    }
    if (glyphs.empty()) all += "-";
  }
  return all;
}

std::string Stream(std::string_view data, std::string_view entries = "") {
  return "<</Length " + std::to_string(data.size()) + std::string(entries) + ">>stream\r\n" + std::string(data) +
         "\r\nendstream";
}

// A document whose font /F is object 20, and whose further objects are numbered from 21 on.
class FontDocument {
 public:
  FontDocument(std::string_view font, const std::vector<std::string>& objects) {
    text_.Field(10, "<</FT/Tx/T(a)>>").Infos("/DR<</Font<</F 20 0 R>>>>").Object(20, font);
    for (size_t i = 0; i < objects.size(); i++) text_.Object(static_cast<uint32_t>(21 + i), objects[i]);
    form_ = text_.Form();
    added_.emplace(form_.Parser());
    fonts_ = std::make_unique<FontResources>(&*added_);
  }
  ResourceFont& Font() { return *fonts_->Find(*form_.Fields().Get("a"), "F"); }

 private:
  FormText text_;
  ZAcroForm form_;
  std::optional<AddedObjects> added_;
  std::unique_ptr<FontResources> fonts_;
};

// The objects of a FontDocument from number 21 on.
template <class... Texts>
std::vector<std::string> With(const Texts&... objects) {
  return {std::string(objects)...};
}

struct FontCase {
  const char* title;
  std::string font;
  std::u32string text;
  std::string expected;
  std::vector<std::string> objects = {};
};

void Check(const std::vector<FontCase>& cases) {
  for (const FontCase& each : cases) {
    FontDocument document(each.font, each.objects);
    EXPECT_EQ(Codes(document.Font(), each.text), each.expected) << each.title;
  }
}

TEST(ResourceFont, NotInTheFile) {
  const std::string helvetica = "<</Type/Font/Subtype/Type1/BaseFont/Helvetica";
  const std::string verdana = "<</Subtype/TrueType/BaseFont/Verdana/Encoding/WinAnsiEncoding";
  Check({
      {"standard encoding", helvetica + ">>", U"A\u2019'\u20AC\u00E9", "41=667 27=222 A9=191 - -"},
      {"WinAnsi", helvetica + "/Encoding/WinAnsiEncoding>>", U"A'\u20AC\u00E9\u0416\u0142",
       "41=667 27=191 80=556 E9=556 - -"},
      {"the same glyph", helvetica + "/Encoding/WinAnsiEncoding>>", U"\u00A0\u2011\u03BC\u2219\u2022",
       "20=278~ 2D=333~ B5=556~ B7=278~ 95=350"},
      {"other text", helvetica + "/ToUnicode 21 0 R>>", U"ABa", "41=667~ 42=667 61=556",
       With(Stream("1 beginbfchar <41> <0061> endbfchar"))},
      {"MacRoman", helvetica + "/Encoding/MacRomanEncoding>>", U"\u00E9\uFB01", "8E=556 DE=500"},
      {"PDFDoc", helvetica + "/Encoding 21 0 R>>", U"\u20AC\u0142", "A0=556 9B=222", With("/PDFDocEncoding")},
      {"differences", helvetica + "/Encoding<</Differences[65/B/zcaron 300/C/D -1/E/afii10017]>>>>", U"AB\u017EE\u0410",
       "- 41=667 42=500 45=667 -"},
      {"differences that are no names",
       helvetica + "/Encoding<</BaseEncoding/WinAnsiEncoding/Differences[65(x)/C null 67/c]>>>>", U"ABCc",
       "- - 42=722 43=500"},
      {"numbered names", helvetica + "/Encoding<</Differences[1/uni0041/u0042 /A.sc/A]>>>>", U"AB", "4=667 42=667"},
      {"widths", helvetica + "/FirstChar 65/Widths[100 0 -3 1e9 21 0 R (x)]>>", U"ABCDEF@G",
       "41=100 - - 44=1 45=123.5 46=611 40=1015 47=778", With("123.5")},
      {"huge widths", helvetica + "/FirstChar 65/Widths[99999999999]>>", U"AB", "- 42=667"},
      {"far first character", helvetica + "/FirstChar -2147483648/Widths[1]>>", U"A", "41=667"},
      {"missing width", verdana + "/FirstChar 66/Widths[300]/FontDescriptor<</MissingWidth 250>>>>", U"AB",
       "41=250 42=300"},
      {"other font", verdana + "/FirstChar 65/Widths[684]>>", U"AB\u20AC\u0416", "41=684 42=667 80=556 -"},
      {"other font of one width", verdana + "/FontDescriptor<</Flags 1>>>>", U"Ai", "41=600 69=600"},
      {"other subset", "<</Subtype/Type1/BaseFont/ABCDEF+Foo/Encoding/WinAnsiEncoding>>", U"A", "-"},
      {"encoding of symbols",
       "<</Subtype/TrueType/BaseFont/ArialMT/Encoding/WinAnsiEncoding/FontDescriptor<</Flags 4>>>>", U"A\u00C9'",
       "41=667 - -"},
      {"other symbols", "<</Subtype/TrueType/BaseFont/Wingdings/FontDescriptor<</Flags 4>>>>", U"A", "-"},
      {"ZapfDingbats", "<</Subtype/Type1/BaseFont/ZapfDingbats/Encoding/WinAnsiEncoding>>", U"4l\u2714\u25CF ",
       "- - 34=846 6C=791 20=278"},
      {"Symbol", "<</Subtype/Type1/BaseFont/Symbol>>", U"\u03B1\u03A9\u03BC\u20AC\u2022A",
       "61=631 57=768~ 6D=576~ A0=750 B7=460 -"},
      {"no program", helvetica + "/FontDescriptor<</FontFile 20 0 R/Flags 32>>>>", U"A", "41=667"},
      {"Type 3",
       "<</Subtype/Type3/FontMatrix[.01 0 0 .01 0 0]/FirstChar 65/Widths[50 60]/CharProcs<</A 21 0 R/B 22 0 R>>"
       "/Encoding<</Differences[65/A/B]>>>>",
       U"AB", "41=500 -", With(Stream("5 0 d0 0 0 9 9 re f"), Stream("5 0 d0\n"))},
      {"Type 3 without anything", "<</Subtype/Type3>>", U"A", "-"},
      {"Type 0 without program",
       "<</Subtype/Type0/Encoding/Identity-H/DescendantFonts[<</Subtype/CIDFontType2>>]"
       "/ToUnicode 21 0 R>>",
       U"A", "-", With(Stream("1 beginbfchar <0041> <0041> endbfchar"))},
      {"Type 0 without descendant", "<</Subtype/Type0/Encoding/Identity-H/DescendantFonts 20 0 R>>", U"A", "-"},
  });
}

const std::string kDescriptor = "/FontDescriptor<</Flags 32/FontFile2 21 0 R>>";

TEST(ResourceFont, ProgramsInTheFile) {
  // Glyphs 1 to 4 are 100 to 400 wide; glyph 3 is empty, like the glyphs that a subset leaves out.
  TrueTypeText program{{true, true, false, true}, {}};
  program.maps = {{{3, 1}, {{' ', 3}, {'A', 1}, {'B', 2}, {'C', 3}, {0xE9, 4}}}};
  const std::string unicode = Stream(program.Bytes());
  program.maps = {{{1, 0}, {{'A', 1}, {0x8E, 4}}}};
  const std::string macintosh = Stream(program.Bytes());
  program.maps = {{{3, 0}, {{0xF041, 2}, {0xF042, 4}}}};
  const std::string symbol = Stream(program.Bytes());
  const std::string type1 = Stream(Type1Text({"A", "eacute", "g1"}, {{33, "eacute"}, {34, "A"}, {35, "g1"}}));
  const std::string true_type = "<</Subtype/TrueType/BaseFont/ABCDEF+T/FirstChar 32/LastChar 33/Widths[250 0]";
  const std::string symbolic = "/FontDescriptor<</Flags 4/FontFile2 21 0 R>>";
  const std::string texts =
      Stream("2 beginbfchar <41> <0042> <23><005A> endbfchar\n1 beginbfrange <42> <43> [<0058><0059>] endbfrange");
  Check({
      {"Unicode map", "<</Subtype/TrueType/BaseFont/T/Encoding/WinAnsiEncoding" + kDescriptor + ">>", U"ABC\u00E9 D",
       "41=100 42=200 - E9=400 20=300 -", With(unicode)},
      {"widths", true_type + "/Encoding/WinAnsiEncoding" + kDescriptor + ">>", U" A", "20=250 -", With(unicode)},
      {"Macintosh map", "<</Subtype/TrueType/Encoding/WinAnsiEncoding" + kDescriptor + ">>", U"AB\u00E9",
       "41=100 - E9=400", With(macintosh)},
      {"codes of symbols", "<</Subtype/TrueType/ToUnicode 22 0 R" + symbolic + ">>", U"ABX", "- 41=200 42=400",
       With(symbol, texts)},
      {"codes of symbols without text", "<</Subtype/TrueType" + symbolic + ">>", U"A\uF041", "- -", With(symbol)},
      {"built-in encoding", "<</Subtype/Type1/BaseFont/ABCDEF+T/FontDescriptor<</FontFile 21 0 R>>/ToUnicode 22 0 R>>",
       U"A\u00E9BZ", "22=100 21=200 - 23=300", With(type1, texts)},
      {"built-in encoding with differences",
       "<</Subtype/Type1/FontDescriptor<</FontFile 21 0 R>>/Encoding<</Differences[1/A/B]>>>>", U"A\u00E9B",
       "1=100 21=200 -", With(type1)},
      {"encoding over the program's", "<</Subtype/Type1/FontDescriptor<</FontFile 21 0 R>>/Encoding/WinAnsiEncoding>>",
       U"A\u00E9B", "41=100 E9=200 -", With(type1)},
  });
}

TEST(ResourceFont, Type0) {
  TrueTypeText program{{true, true, false, true}, {{{3, 1}, {{'A', 1}, {'B', 2}, {'C', 3}, {0x4E00, 4}}}}};
  const std::string with_map = Stream(program.Bytes());
  program.maps.clear();
  const std::string without_map = Stream(program.Bytes());
  const std::string texts = Stream(
      "/CIDInit/ProcSet findresource begin 1 begincodespacerange <0000><FFFF> endcodespacerange\n"
      "4 beginbfchar <0001> <0058> <0002> <00660069> <0003> <0059> <0004> <D83DDE00> endbfchar\n"
      "2 beginbfrange <0001> <0002> <0061> <0004> <0004> [<005A>] endbfrange");
  const std::string glyph_map = Stream(std::string("\0\0\0\0\0\4\0\1", 8));
  const std::string encoding = Stream("1 begincidrange <21> <24> 1 endcidrange 1 begincidchar <8140> 2 endcidchar");
  const auto font = [](std::string_view encoding_entry, std::string_view entries, std::string_view more = "") {
    return "<</Subtype/Type0/BaseFont/ABCDEF+T" + std::string(more) + "/Encoding" + std::string(encoding_entry) +
           "/DescendantFonts[<</Subtype/CIDFontType2" + kDescriptor + std::string(entries) + ">>]>>";
  };
  const std::string to_unicode = "/ToUnicode 22 0 R";
  Check({
      {"by ToUnicode", font("/Identity-H", "/DW 500", to_unicode), U"XYZab\U0001F600A",
       "1/2=500 - 4/2=500 1/2=500 2/2=500 4/2=500 -", With(without_map, texts)},
      {"by the program", font("/Identity-H", ""), U"ABC\u4E00", "1/2=1000~ 2/2=1000~ - 4/2=1000~", With(with_map)},
      {"widths", font("/Identity-H", "/W[1[111] 2 3 222 4[0]]"), U"AB\u4E00", "1/2=111~ 2/2=222~ -", With(with_map)},
      {"odd widths", font("/Identity-H", "/W[2[222 333]1[-1]4 2 9 (x)[7]]"), U"AB\u4E00", "- 2/2=222~ 4/2=1000~",
       With(with_map)},
      {"glyph map", font("/Identity-H", "/CIDToGIDMap 22 0 R"), U"AB\u4E00", "3/2=1000~ - 2/2=1000~",
       With(with_map, glyph_map)},
      {"glyph map of ToUnicode", font("/Identity-H", "/CIDToGIDMap 23 0 R", to_unicode), U"XbYZ",
       "- 2/2=1000 3/2=1000 -", With(without_map, texts, glyph_map)},
      {"vertical", font("/Identity-V", "", to_unicode), U"XA", "- -", With(with_map, texts)},
      {"embedded CMap", font(" 23 0 R", "/W[1[111 222]]", "/ToUnicode 24 0 R"), U"XYA", "21=111 8140/2=222 -",
       With(with_map, texts, encoding, Stream("2 beginbfchar <21> <0058> <8140> <0059> endbfchar"))},
      {"vertical embedded CMap", font(" 23 0 R", "", to_unicode), U"X", "-",
       With(with_map, texts, Stream("1 begincidrange <0000> <FFFF> 0 endcidrange", "/WMode 1"))},
      {"CMaps in a circle", font(" 23 0 R", "", to_unicode), U"X", "1/2=1000",
       With(with_map, texts, Stream("1 begincidrange <0000> <FFFF> 0 endcidrange", "/UseCMap 23 0 R"))},
      {"predefined CMap of Unicode", font("/UniGB-UCS2-H", "/W[34[123]]"), U"A\u4E00\u4E01", "41/2=123 4E00/2=1000 -",
       With(with_map)},
      {"other predefined CMap", font("/GBK-EUC-H", ""), U"A", "-", With(with_map)},
      {"ToUnicode by name", font("/Identity-H", "", "/ToUnicode/Identity-H"), U"\1\2\3", "1/2=1000 2/2=1000 -",
       With(without_map)},
  });
}

TEST(ResourceFont, HostilePartsAreBounded) {
  const std::string all = Stream([] {
    std::string ranges;
    for (int i = 0; i < 3000; i++) ranges += "100 beginbfrange <0000> <FFFFFFFF> <0000> endbfrange\n";
    return ranges + "beginbfrange <00000000> <0";
  }());
  std::string widths = "[";
  for (int i = 0; i < 200000; i++) widths += "1 65535 500 ";
  const std::string program = Stream(TrueTypeText{{true}, {}}.Bytes());
  const std::string damaged = Stream(TrueTypeText{{true}, {}}.Bytes().substr(0, 300));
  const std::string descendant = "/DescendantFonts[<</Subtype/CIDFontType2" + kDescriptor;
  Check({
      {"ranges", "<</Subtype/Type0/Encoding/Identity-H/ToUnicode 22 0 R" + descendant + ">>]>>", U"\1\2", "1/2=1000 -",
       With(program, all)},
      {"widths", "<</Subtype/Type0/Encoding/Identity-H/ToUnicode/Identity-H" + descendant + "/W 22 0 R>>]>>", U"\1",
       "1/2=500", With(program, widths + "]")},
      {"damaged program", "<</Subtype/TrueType/Encoding/WinAnsiEncoding/BaseFont/A" + kDescriptor + ">>", U"A",
       "41=667", With(damaged)},
      {"no stream",
       "<</Subtype/Type1/FontDescriptor 20 0 R/FontFile 20 0 R/Encoding 20 0 R/Widths 20 0 R"
       "/ToUnicode 20 0 R>>",
       U"A", "41=667"},
      {"references in a circle", "<</Subtype/Type1/FontDescriptor 21 0 R/Encoding 21 0 R/Widths 21 0 R>>", U"A",
       "41=667", With("22 0 R", "21 0 R")},
  });
}

TEST(ResourceFont, MetricsHaveBounds) {
  const struct {
    const char* descriptor;
    TextFontMetrics expected;
  } cases[] = {
      {"", {718, -207, 718}},
      {"/Ascent 905/Descent -211/CapHeight 716", {905, -211, 716}},
      {"/Ascent 905/Descent 211/CapHeight 979", {905, -211, 718}},
      {"/Ascent 0/Descent 0/CapHeight 0", {718, -207, 718}},
      {"/Ascent 1e30/Descent -99999999/CapHeight -5", {718, -207, 718}},
      {"/Ascent 500", {500, -207, 500}},
  };
  for (const auto& each : cases) {
    FontDocument document("<</Subtype/TrueType/BaseFont/X/FontDescriptor<<" + std::string(each.descriptor) + ">>>>",
                          {});
    const TextFontMetrics metrics = document.Font().Metrics();
    EXPECT_EQ(metrics.ascent, each.expected.ascent) << each.descriptor;
    EXPECT_EQ(metrics.descent, each.expected.descent) << each.descriptor;
    EXPECT_EQ(metrics.cap_height, each.expected.cap_height) << each.descriptor;
  }
}

TEST(ResourceFont, ShapesInVisualOrder) {
  FontDocument document("<</Subtype/Type1/BaseFont/Helvetica>>", {});
  std::vector<ShapedGlyph> glyphs;
  document.Font().Shape(U"xABy", 1, 2, true, &glyphs);
  ASSERT_EQ(glyphs.size(), 2U);
  EXPECT_EQ(glyphs[0].code, uint32_t{'B'});
  EXPECT_EQ(glyphs[0].cluster, 2U);
  EXPECT_EQ(glyphs[1].cluster, 1U);
}

TEST(FontResources, FindsTheFontOfADefaultAppearance) {
  const auto font = [](const char* base) { return "<</Subtype/Type1/BaseFont/" + std::string(base) + ">>"; };
  ZAcroForm form =
      FormText()
          .Infos("/DR<</Font<</Form 20 0 R/Both 20 0 R/Again 20 0 R/Wrong 10 0 R/Loop 25 0 R/Helv null>>>>")
          .Field(10, "<</T(own)/FT/Tx/DR<</Font<</Both 21 0 R/Direct " + font("Times-Bold") + ">>>>/Kids[11 0 R]>>")
          .Object(11, "<</Subtype/Widget/Parent 10 0 R/AP<</N 23 0 R>>>>")
          .Field(12, "<</T(odd)/FT/Tx/DR 12 0 R/AP<</N 12 0 R>>>>")
          .Object(20, font("Helvetica"))
          .Object(21, font("Times-Roman"))
          .Object(22, font("Symbol"))
          .Object(23, Stream("", "/Resources<</Font<</Own 22 0 R/Form 22 0 R/Helv 21 0 R>>>>"))
          .Object(25, "25 0 R")
          .Form();
  AddedObjects added(form.Parser());
  FontResources fonts(&added);
  ZAcroForm::Field& widget = *form.Fields().Get("own")->GetAt(0);
  ZAcroForm::Field& odd = *form.Fields().Get("odd");
  const struct {
    ZAcroForm::Field& field;
    const char* name;
    const char* expected;  // name, font, and the object
  } cases[] = {
      {widget, "Both", "Both Times-Roman 21.0R"},
      {odd, "Both", "Both Helvetica 20.0R"},
      {widget, "Direct", "Direct Times-Bold {/Subtype /Type1; /BaseFont /Times-Bold}"},
      {widget, "Form", "Form Helvetica 20.0R"},
      {widget, "Own", "Own Symbol 22.0R"},
      {odd, "Again", "Again Helvetica 20.0R"},
      {odd, "Own", "Own Helvetica 26.0R"},
      {odd, "Wrong", "Wrong Helvetica 26.0R"},
      {widget, "Loop", "Loop Helvetica 26.0R"},
      {odd, "", "Helv Helvetica 26.0R"},
      {widget, "", "Helv Times-Roman 21.0R"},
      {odd, "HeBo", "HeBo Helvetica-Bold 27.0R"},
      {odd, "TimesNewRoman,Italic", "TimesNewRoman,Italic Times-Italic 28.0R"},
      {odd, "ZaDb", "ZaDb ZapfDingbats 29.0R"},
      {odd, "HeBo", "HeBo Helvetica-Bold 27.0R"},
  };
  for (const auto& each : cases) {
    ResourceFont* const found = fonts.Find(each.field, each.name);
    const NodePtr value(found->AllocResource());
    EXPECT_EQ(
        found->ResourceName().ToString() + " " + std::string(found->Codes().Like().name) + " " + Dump(value.get()),
        each.expected);
    EXPECT_EQ(fonts.Find(each.field, each.name), found);
  }
  ASSERT_EQ(added.Used().size(), 4U);
  EXPECT_EQ(ObjectOf(form, 26), "<</Type/Font/Subtype/Type1/BaseFont/Helvetica/Encoding/WinAnsiEncoding>>");
  EXPECT_EQ(ObjectOf(form, 29), "<</Type/Font/Subtype/Type1/BaseFont/ZapfDingbats>>");
  const auto stand_in = [&](const char* name, std::u32string_view text) {
    ResourceFont* const found = fonts.StandInFor(*fonts.Find(widget, name), text);
    return found == nullptr ? "none" : found->ResourceName().ToString();
  };
  EXPECT_EQ(stand_in("Both", U"\u00C9t\u00E9"), "ZTimes-Roman");
  EXPECT_EQ(stand_in("Direct", U"\u0416"), "none");
  EXPECT_EQ(stand_in("Own", U"A"), "none");
  // A font that nothing refers to is not added.
  EXPECT_EQ(added.Used().size(), 4U);
  // A dictionary is read once, even if several names refer to it.
  EXPECT_EQ(&fonts.Find(odd, "Both")->Codes(), &fonts.Find(odd, "Again")->Codes());
}

}  // namespace
}  // namespace zforms
