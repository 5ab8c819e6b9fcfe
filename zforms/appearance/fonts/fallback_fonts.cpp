#include "zforms/appearance/fonts/fallback_fonts.h"

#include <utility>

#include "zforms/platform/base/number.h"

namespace zforms {

FallbackFonts::FallbackFonts(ZPDFParser* document, std::shared_ptr<FontLibrary> library)
    : document_(document), library_(std::move(library)) {}

FallbackFonts::~FallbackFonts() = default;

TextFont* FallbackFonts::Find(const ZFontStyle& style, std::u32string_view characters) {
  std::shared_ptr<const FontProgram> program = library_->Find(style, characters);
  if (program == nullptr) return nullptr;
  std::unique_ptr<EmbeddedFont>& font = fonts_[program.get()];
  // A name that no form gives to its own fonts, since the appearance may use these as well.
  if (font == nullptr) font = std::make_unique<EmbeddedFont>(document_, program, "ZFb" + FormatUInt(fonts_.size()));
  return font.get();
}

bool FallbackFonts::Finish() {
  bool is_whole = true;
  for (const auto& [program, font] : fonts_) is_whole = font->Complete() && is_whole;
  return is_whole;
}

}  // namespace zforms
