#include "zforms/appearance/fonts/fallback_fonts.h"

#include <utility>

#include "zforms/platform/base/number.h"

namespace zforms {

FallbackFonts::FallbackFonts(AddedObjects* added, std::shared_ptr<FontLibrary> library)
    : added_(added), library_(std::move(library)) {}

FallbackFonts::~FallbackFonts() = default;

TextFont* FallbackFonts::Find(const ZFontStyle& style, std::u32string_view characters) {
  std::shared_ptr<const FontProgram> program = library_->Find(style, characters);
  if (program == nullptr) return nullptr;
  for (const auto& [known, font] : fonts_) {
    if (known == program.get()) return font.get();
  }
  // A name that no form gives to its own fonts, since the appearance may use these as well.
  const Chaine name = "ZFb" + FormatUInt(fonts_.size() + 1);
  const FontProgram* const key = program.get();
  fonts_.emplace_back(key, std::make_unique<EmbeddedFont>(added_, std::move(program), name));
  return fonts_.back().second.get();
}

bool FallbackFonts::Finish() {
  bool is_whole = true;
  for (const auto& [program, font] : fonts_) is_whole = font->Complete() && is_whole;
  return is_whole;
}

}  // namespace zforms
