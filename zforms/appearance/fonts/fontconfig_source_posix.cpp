#include <fontconfig/fontconfig.h>

#include <algorithm>
#include <array>
#include <map>
#include <string_view>

#include "zforms/appearance/fonts/font_source.h"

namespace zforms {
namespace {

template <class Type, void (*Destroy)(Type*)>
struct Destroyer {
  void operator()(Type* object) const { Destroy(object); }
};
using Pattern = std::unique_ptr<FcPattern, Destroyer<FcPattern, FcPatternDestroy>>;
using Config = std::unique_ptr<FcConfig, Destroyer<FcConfig, FcConfigDestroy>>;
using FontSet = std::unique_ptr<FcFontSet, Destroyer<FcFontSet, FcFontSetDestroy>>;

// How many fonts are offered for one text.
constexpr size_t kMostFonts = 8;

bool IsTrue(const FcPattern* font, const char* property) {
  FcBool value = FcFalse;
  return FcPatternGetBool(font, property, 0, &value) == FcResultMatch && value == FcTrue;
}

// False for bitmap, colour and variable fonts: only TrueType and CFF outlines can be embedded as a subset.
bool IsUsable(const FcPattern* font) {
  FcChar8* format = nullptr;
  if (FcPatternGetString(font, FC_FONTFORMAT, 0, &format) != FcResultMatch) return false;
  const std::string_view name(reinterpret_cast<const char*>(format));
  return (name == "TrueType" || name == "CFF") && IsTrue(font, FC_OUTLINE) && !IsTrue(font, FC_COLOR) &&
         !IsTrue(font, FC_VARIABLE);
}

bool HasAll(const FcPattern* font, std::u32string_view characters) {
  FcCharSet* set = nullptr;
  if (FcPatternGetCharSet(font, FC_CHARSET, 0, &set) != FcResultMatch) return false;
  return std::all_of(characters.begin(), characters.end(),
                     [set](char32_t c) { return FcCharSetHasChar(set, c) == FcTrue; });
}

// The fonts of fontconfig, which are loaded by the first search. They are sorted once for each style; a search then
// selects those that have all the characters.
class FontconfigSource final : public ZFontSource {
 public:
  PTableau<ZFontFile> Find(const ZFontStyle& style, std::u32string_view characters) override {
    PTableau<ZFontFile> files;
    const FcFontSet* fonts = Sorted(style);
    for (int i = 0; fonts != nullptr && i < fonts->nfont && files.size() < kMostFonts; i++) {
      const FcPattern* font = fonts->fonts[i];
      FcChar8* path = nullptr;
      int face = 0;
      if (!IsUsable(font) || !HasAll(font, characters)) continue;
      if (FcPatternGetString(font, FC_FILE, 0, &path) != FcResultMatch) continue;
      FcPatternGetInteger(font, FC_INDEX, 0, &face);
      // Keeps the lower 16 bits, the face. The upper ones name an instance of a variable font.
      files.push_back({Chaine(reinterpret_cast<const char*>(path)), static_cast<uint32_t>(face) & 0xFFFF});
    }
    return files;
  }

 private:
  const FcFontSet* Sorted(const ZFontStyle& style) {
    FontSet& fonts = sorted_[style];
    if (config_ == nullptr) config_.reset(FcInitLoadConfigAndFonts());
    if (fonts != nullptr || config_ == nullptr) return fonts.get();
    constexpr std::array<const char*, 3> kFamilies = {"sans-serif", "serif", "monospace"};
    const Pattern pattern(FcPatternCreate());
    FcPatternAddString(pattern.get(), FC_FAMILY,
                       reinterpret_cast<const FcChar8*>(kFamilies[static_cast<size_t>(style.family)]));
    FcPatternAddInteger(pattern.get(), FC_WEIGHT, style.is_bold ? FC_WEIGHT_BOLD : FC_WEIGHT_REGULAR);
    FcPatternAddInteger(pattern.get(), FC_SLANT, style.is_italic ? FC_SLANT_ITALIC : FC_SLANT_ROMAN);
    FcPatternAddBool(pattern.get(), FC_OUTLINE, FcTrue);
    FcConfigSubstitute(config_.get(), pattern.get(), FcMatchPattern);
    FcDefaultSubstitute(pattern.get());
    FcResult result = FcResultNoMatch;
    fonts.reset(FcFontSort(config_.get(), pattern.get(), FcFalse, nullptr, &result));
    return fonts.get();
  }

  Config config_;
  std::map<ZFontStyle, FontSet> sorted_;
};

}  // namespace

ZFontSource::~ZFontSource() = default;

std::unique_ptr<ZFontSource> ZFontSource::OfSystem() { return std::make_unique<FontconfigSource>(); }

}  // namespace zforms
