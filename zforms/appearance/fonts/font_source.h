#pragma once

#include <cstdint>
#include <memory>
#include <string_view>

#include "zforms/platform/base/chaine.h"
#include "zforms/platform/base/containers.h"

namespace zforms {

// The style of a font: what a replacement should have in common with it.
struct ZFontStyle {
  enum class Family : uint8_t { kSans, kSerif, kMono };

  Family family = Family::kSans;
  bool is_bold = false;
  bool is_italic = false;

  auto operator<=>(const ZFontStyle&) const = default;
};

// A face in a font file; files such as .ttc hold several.
struct ZFontFile {
  Chaine path;
  uint32_t face = 0;
};

// Finds fonts of the system for characters that a form's own fonts lack. One thread at a time.
class ZFontSource {
 public:
  virtual ~ZFontSource();

  // Outline fonts (TrueType or CFF, no colour fonts and no variable fonts) that have all the characters, the most
  // similar style first. Empty when no installed font has them.
  virtual PTableau<ZFontFile> Find(const ZFontStyle& style, std::u32string_view characters) = 0;

  // The fonts that fontconfig lists; on Windows those in the registry and in the fonts folder.
  static std::unique_ptr<ZFontSource> OfSystem();
};

}  // namespace zforms
