#pragma once

#include <map>
#include <memory>
#include <string_view>
#include <vector>

#include "zforms/appearance/fonts/embedded_font.h"
#include "zforms/appearance/fonts/font_library.h"

namespace zforms {

class ZPDFParser;

// The fonts of a library in one document, each embedded at most once. The document outlives it. One thread at a time.
class FallbackFonts {
 public:
  FallbackFonts(ZPDFParser* document, std::shared_ptr<FontLibrary> library);
  ~FallbackFonts();

  // A font that has all the characters, null when there is none. It belongs to this object.
  TextFont* Find(const ZFontStyle& style, std::u32string_view characters);
  // Writes the fonts with all the glyphs that were shown; more may follow, and then this again. False when one of them
  // cannot be written.
  bool Finish();

 private:
  ZPDFParser* document_;
  std::shared_ptr<FontLibrary> library_;
  std::map<const FontProgram*, std::unique_ptr<EmbeddedFont>> fonts_;
};

}  // namespace zforms
