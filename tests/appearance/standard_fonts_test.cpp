#include "zforms/appearance/fonts/standard_fonts.h"

#include <gtest/gtest.h>

#include <string>

#include "zforms/appearance/fonts/font_encodings.h"
#include "zforms/appearance/fonts/glyph_list.h"
#include "zforms/platform/text/text.h"

namespace zforms {
namespace {

TEST(GlyphList, NamesStandForCharacters) {
  const struct {
    const char* name;
    char32_t character;
  } cases[] = {{"A", 'A'},           {"space", ' '},      {"Euro", 0x20AC}, {"zukatakana", 0x30BA}, {"zeta", 0x3B6},
               {"afii10017", 0x410}, {"AE", 0xC6},        {"a", 'a'},       {"Zdotaccent", 0x17B},  {"a.sc", 'a'},
               {"uni20AC", 0x20AC},  {"u1F600", 0x1F600}, {"u0041", 'A'},   {"uni0041.alt", 'A'},   {"Delta", 0x2206}};
  for (const auto& each : cases) EXPECT_EQ(GlyphCharacter(each.name), each.character) << each.name;
  for (const char* name : {"uni20ac", "uniD800", "u110000", "uni20AC0041", "u41", ".notdef", "", "g23", "a20", "AEs",
                           "0", "A:41", "Euro 20AC", "~", "dotlessj"}) {
    EXPECT_EQ(GlyphCharacter(name), 0U) << name;
  }
  EXPECT_EQ(GlyphCharacter("a20", GlyphNames::kDingbats), 0x2714U);
  EXPECT_EQ(GlyphCharacter("a71", GlyphNames::kDingbats), 0x25CFU);
  for (char32_t c = 0; c < 0x3000; c++) {
    const char32_t same = SameGlyphCharacter(c);
    if (c != 0x00A0 && c != 0x00AD && c != 0x2010 && c != 0x2011 && same != 0) {
      EXPECT_EQ(SameGlyphCharacter(same), c);
    }
  }
}

// Each code gives the same character as the text module, which does not use these tables.
TEST(FontEncodings, AgreeWithTheTextModule) {
  const auto text_of = [](const FontEncoding& encoding, size_t code) {
    Chaine text;
    if (const char32_t c = GlyphCharacter(encoding[code])) AppendUTF8(&text, c);
    return text;
  };
  for (size_t code = 32; code < 256; code++) {
    const char byte = static_cast<char>(code);
    const Chaine windows = text_of(WinAnsiEncoding(), code);
    const Chaine document = text_of(*EncodingNamed("/PDFDocEncoding"), code);
    if (!windows.IsEmpty()) {
      EXPECT_EQ(windows, Windows1252ToUTF8({&byte, 1})) << code;
    }
    if (!document.IsEmpty()) {
      EXPECT_EQ(document, PDFTextToUTF8({&byte, 1})) << code;
    }
  }
  // How many codes have a glyph: ISO 32000-1 Annex D.
  const auto count = [](const FontEncoding& encoding) {
    size_t glyphs = 0;
    for (const std::string_view name : encoding) glyphs += name.empty() ? 0 : 1;
    return glyphs;
  };
  EXPECT_EQ(count(StandardEncoding()), 149U);
  EXPECT_EQ(count(WinAnsiEncoding()), 216U);
  EXPECT_EQ(count(*EncodingNamed("/PDFDocEncoding")), 229U);
  EXPECT_EQ(count(ZapfDingbatsEncoding()), 188U);
  const struct {
    const FontEncoding& encoding;
    size_t code;
    const char* name;
  } cases[] = {{StandardEncoding(), 0x27, "quoteright"}, {StandardEncoding(), 0xAE, "fi"},
               {StandardEncoding(), 0xFB, "germandbls"}, {StandardEncoding(), 0x80, ""},
               {WinAnsiEncoding(), 0x95, "bullet"},      {WinAnsiEncoding(), 0x7F, ""},
               {WinAnsiEncoding(), 0xFF, "ydieresis"},   {MacRomanEncoding(), 0x80, "Adieresis"},
               {MacRomanEncoding(), 0xDE, "fi"},         {MacRomanEncoding(), 0xFF, "caron"},
               {SymbolEncoding(), 0x61, "alpha"},        {SymbolEncoding(), 0xA0, "Euro"},
               {ZapfDingbatsEncoding(), 0x34, "a20"},    {ZapfDingbatsEncoding(), 0x6C, "a71"},
               {ZapfDingbatsEncoding(), 0xFE, "a191"}};
  for (const auto& each : cases) EXPECT_EQ(each.encoding[each.code], each.name) << each.code;
}

TEST(StandardFonts, HaveThePublishedFigures) {
  const struct {
    const char* font;
    const char* glyph;
    int width;  // -1 for no such glyph
  } cases[] = {
      {"Helvetica", "A", 667},        {"Helvetica", "a", 556},         {"Helvetica", "space", 278},
      {"Helvetica", "at", 1015},      {"Helvetica-Oblique", "W", 944}, {"Helvetica-Bold", "A", 722},
      {"Helvetica-Bold", "a", 556},   {"Times-Roman", "A", 722},       {"Times-Roman", "a", 444},
      {"Times-Bold", "a", 500},       {"Times-Italic", "A", 611},      {"Times-Italic", "space", 250},
      {"Times-BoldItalic", "A", 667}, {"Courier", "A", 600},           {"Courier-BoldOblique", "Euro", 600},
      {"Helvetica", "Euro", 556},     {"Times-Roman", "Euro", 500},    {"Symbol", "alpha", 631},
      {"Symbol", "Omega", 768},       {"ZapfDingbats", "a20", 846},    {"ZapfDingbats", "a19", 755},
      {"ZapfDingbats", "a71", 791},   {"ZapfDingbats", "a73", 761},    {"Helvetica", "zcaron", 500},
      {"Helvetica", "afii10017", -1}, {"Courier", "alpha", -1},        {"ZapfDingbats", "A", -1},
      {"Helvetica", "", -1},          {"Helvetica", "~", -1},
  };
  for (const auto& each : cases) {
    const StandardFont* const font = StandardFontNamed(each.font);
    ASSERT_NE(font, nullptr) << each.font;
    EXPECT_EQ(font->name, each.font);
    const std::optional<uint16_t> width = font->Width(each.glyph);
    EXPECT_EQ(width ? int{*width} : -1, each.width) << each.font << " " << each.glyph;
    // Every code of the built-in encoding has its glyph.
    for (const std::string_view glyph : font->Encoding()) EXPECT_TRUE(glyph.empty() || font->Width(glyph)) << glyph;
  }
  EXPECT_EQ(StandardFontNamed("Helvetica")->metrics.ascent, 718);
  EXPECT_EQ(StandardFontNamed("Times-Italic")->metrics.cap_height, 653);
  EXPECT_EQ(StandardFontNamed("Courier-Bold")->metrics.descent, -157);
}

TEST(StandardFonts, AreKnownByOtherNames) {
  const struct {
    const char* name;
    const char* font;
  } cases[] = {
      {"Arial", "Helvetica"},
      {"ArialMT", "Helvetica"},
      {"Arial,Bold", "Helvetica-Bold"},
      {"Arial-BoldItalicMT", "Helvetica-BoldOblique"},
      {"ABCDEF+Arial-BoldMT", "Helvetica-Bold"},
      {"TimesNewRoman,Bold", "Times-Bold"},
      {"TimesNewRomanPS-BoldItalicMT", "Times-BoldItalic"},
      {"TimesNewRomanPSMT", "Times-Roman"},
      {"Times New Roman", "Times-Roman"},
      {"Times-Roman", "Times-Roman"},
      {"Courier New,Italic", "Courier-Oblique"},
      {"CourierNewPS-BoldMT", "Courier-Bold"},
      {"Symbol", "Symbol"},
  };
  for (const auto& each : cases) {
    const StandardFont* const font = StandardFontNamed(each.name);
    EXPECT_EQ(font == nullptr ? "none" : font->name, each.font) << each.name;
  }
  for (const char* name : {"ArialNarrow", "Arial-Black", "HelveticaNeue", "Verdana", ""}) {
    EXPECT_EQ(StandardFontNamed(name), nullptr) << name;
  }
  EXPECT_EQ(StandardFontOfResource("HeBo")->name, "Helvetica-Bold");
  EXPECT_EQ(StandardFontOfResource("ZaDb")->name, "ZapfDingbats");
  EXPECT_EQ(StandardFontOfResource("CourierNew")->name, "Courier");
  EXPECT_EQ(StandardFontOfResource("F1"), nullptr);
  EXPECT_EQ(StandardFontLike("Verdana-Bold", 32).name, "Helvetica-Bold");
  EXPECT_EQ(StandardFontLike("Garamond", 0).name, "Times-Roman");
  EXPECT_EQ(StandardFontLike("F1", 1 | 64).name, "Courier-Oblique");
  EXPECT_EQ(StandardFontLike("F1", 2 | 1 << 18).name, "Times-Bold");
  EXPECT_EQ(StandardFontLike("OpenSans", 2).name, "Helvetica");
}

}  // namespace
}  // namespace zforms
