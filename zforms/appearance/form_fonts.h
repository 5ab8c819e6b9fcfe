#pragma once

#include <memory>
#include <string>
#include <unordered_map>

#include "zforms/appearance/default_appearance.h"
#include "zforms/appearance/field_fonts.h"
#include "zforms/appearance/fonts/fallback_fonts.h"
#include "zforms/appearance/fonts/font_resources.h"

namespace zforms {

// The fonts of a document's fields: the fonts that "/DA" names and, for characters that these lack, fonts of a library.
// It reads each default appearance and each font once. The document outlives it. One thread at a time.
class FormFonts final : public FieldFonts {
 public:
  FormFonts(AddedObjects* added, std::shared_ptr<FontLibrary> library)
      : added_(added), resources_(added, library->OfForm()), library_(std::move(library)) {}

  void Begin(const ZAcroFormField* widget) override;
  bool LacksGlyphs() const override { return fallback_ != nullptr && fallback_->LacksGlyphs(); }
  TextLook LookOf(const ZAcroFormField& widget) override;
  // `font` must be the font of a TextLook from LookOf.
  TextParagraph MakeParagraph(std::u32string text, TextFont* font, std::u32string* missing) override;
  std::optional<MarkGlyph> MarkOf(const ZAcroFormField& widget, uint8_t code) override;
  // Forgets the fonts that were added to the document. Call it before these are destroyed.
  void Restart() {
    resources_.Restart();
    fallback_.reset();
    widget_ = nullptr;
  }
  bool Finish() override { return fallback_ == nullptr || fallback_->Finish(); }

 private:
  const DefaultAppearance& AppearanceOf(const Chaine& text);

  AddedObjects* added_;
  const ZPDFNodeDictionary* widget_ = nullptr;  // the widget whose fonts are used again; may be null
  FontResources resources_;
  std::shared_ptr<FontLibrary> library_;
  std::unique_ptr<FallbackFonts> fallback_;
  // Default appearances by the text of "/DA", and the one that was used last.
  std::unordered_map<std::string, DefaultAppearance> appearances_;
  Chaine last_text_;
  const DefaultAppearance* last_ = nullptr;
};

}  // namespace zforms
