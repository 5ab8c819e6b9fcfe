#include "zforms/appearance/form_fonts.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "zforms/acroform/field.h"
#include "zforms/acroform/node_access.h"
#include "zforms/appearance/fonts/added_objects.h"
#include "zforms/appearance/fonts/font_encodings.h"
#include "zforms/appearance/fonts/glyph_list.h"
#include "zforms/appearance/paragraph_maker.h"
#include "zforms/pdf/parser/parser.h"

namespace zforms {
namespace {

// The style that a replacement for this font should have.
ZFontStyle StyleOf(const StandardFont& font) {
  ZFontStyle style;
  if (font.family == FontFamily::kTimes) style.family = ZFontStyle::Family::kSerif;
  if (font.family == FontFamily::kCourier) style.family = ZFontStyle::Family::kMono;
  style.is_bold = font.bold;
  style.is_italic = font.italic;
  return style;
}

const ZPDFNode* ColorSpaceIn(const ZPDFNodeDictionary& holder, std::string_view key) {
  const ZPDFNodeDictionary* resources = DictionaryAt(holder, "/DR");
  const ZPDFNodeDictionary* spaces = resources == nullptr ? nullptr : DictionaryAt(*resources, "/ColorSpace");
  return spaces == nullptr ? nullptr : spaces->GetDirect(key);
}

// The colour space of that name in "/DR" of the field, of one of its parents, or of the form; null when there is none.
const ZPDFNode* ColorSpaceOf(const ZAcroFormField& widget, std::string_view key, const ZPDFParser& document) {
  for (const ZAcroFormField* field = &widget; field != nullptr; field = field->Parent()) {
    if (const ZPDFNode* space = ColorSpaceIn(*field->Dico(), key)) return space;
  }
  const ZPDFNodeDictionary* form = document.AcroForm();
  return form == nullptr ? nullptr : ColorSpaceIn(*form, key);
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

void FormFonts::Begin(const ZAcroFormField* widget) {
  widget_ = widget == nullptr ? nullptr : widget->Dico();
  if (fallback_ != nullptr) fallback_->Begin(widget_);
}

TextLook FormFonts::LookOf(const ZAcroFormField& widget) {
  const DefaultAppearance& appearance = AppearanceOf(widget.DefaultAppearance());
  TextLook look;
  look.font = resources_.Find(widget, appearance.font);
  look.size = appearance.size;
  look.character_spacing = appearance.character_spacing;
  look.word_spacing = appearance.word_spacing;
  look.scaling = appearance.horizontal_scaling / 100;
  if (!appearance.color_space.IsEmpty()) {
    look.color_space = appearance.color_space;
    look.color_space_value = ColorSpaceOf(widget, "/" + appearance.color_space, *added_->Document());
    // Leaves the text black: a colour without its colour space cannot be used.
    if (look.color_space_value == nullptr) return look;
  }
  look.color = appearance.color;
  return look;
}

TextParagraph FormFonts::MakeParagraph(std::u32string text, TextFont* font, std::u32string* missing) {
  if (!std::all_of(text.begin(), text.end(), [font](char32_t c) { return font->Has(c); })) {
    ResourceFont* const like = resources_.StandInFor(*static_cast<const ResourceFont*>(font), text, widget_);
    if (like != nullptr) return {std::move(text), like};
  }
  if (fallback_ == nullptr) {
    fallback_ = std::make_unique<FallbackFonts>(added_, library_);
    fallback_->Begin(widget_);
  }
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
