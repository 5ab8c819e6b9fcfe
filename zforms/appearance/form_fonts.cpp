#include "zforms/appearance/form_fonts.h"

#include <utility>
#include <vector>

#include "zforms/acroform/field.h"
#include "zforms/appearance/fonts/font_encodings.h"
#include "zforms/appearance/fonts/glyph_list.h"
#include "zforms/appearance/paragraph_maker.h"

namespace zforms {
namespace {

// The style of a font that replaces this one.
ZFontStyle StyleOf(const StandardFont& font) {
  ZFontStyle style;
  if (font.family == FontFamily::kTimes) style.family = ZFontStyle::Family::kSerif;
  if (font.family == FontFamily::kCourier) style.family = ZFontStyle::Family::kMono;
  style.is_bold = font.bold;
  style.is_italic = font.italic;
  return style;
}

}  // namespace

const DefaultAppearance& FormFonts::AppearanceOf(const Chaine& text) {
  if (last_ != nullptr && last_text_ == text) return *last_;
  const auto [found, is_new] = appearances_.try_emplace(text.ToString());
  if (is_new) found->second = ParseDefaultAppearance(text);
  last_text_ = text;
  last_ = &found->second;
  return *last_;
}

TextLook FormFonts::LookOf(const ZAcroFormField& widget) {
  const DefaultAppearance& appearance = AppearanceOf(widget.DefaultAppearance());
  return {resources_.Find(widget, appearance.font), appearance.size, appearance.color};
}

TextParagraph FormFonts::MakeParagraph(std::u32string text, TextFont* font, std::u32string* missing) {
  if (fallback_ == nullptr) fallback_ = std::make_unique<FallbackFonts>(added_, library_);
  const ZFontStyle style = StyleOf(static_cast<const ResourceFont*>(font)->Codes().Like());
  return zforms::MakeParagraph(std::move(text), font, style, fallback_.get(), missing);
}

std::optional<MarkGlyph> FormFonts::MarkOf(const ZAcroFormField& widget, uint8_t code) {
  const char32_t mark = GlyphCharacter(ZapfDingbatsEncoding()[code], GlyphNames::kDingbats);
  ResourceFont* font = resources_.Find(widget, "ZaDb");
  if (mark == 0 || !font->Has(mark)) return std::nullopt;
  std::vector<ShapedGlyph> glyphs;
  font->Shape({&mark, 1}, 0, 1, false, &glyphs);
  if (glyphs.size() != 1) return std::nullopt;
  return MarkGlyph{font, glyphs[0]};
}

}  // namespace zforms
