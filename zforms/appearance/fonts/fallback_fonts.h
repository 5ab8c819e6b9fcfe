#pragma once

#include <memory>
#include <string_view>
#include <utility>
#include <vector>

#include "zforms/appearance/fonts/embedded_font.h"
#include "zforms/appearance/fonts/font_library.h"

namespace zforms {

class AddedObjects;

// The fonts of a library in one document, each embedded at most once. The document outlives it. One thread at a time.
class FallbackFonts {
 public:
  FallbackFonts(AddedObjects* added, std::shared_ptr<FontLibrary> library);
  ~FallbackFonts();

  // A font that has all the characters, null when there is none. It belongs to this object.
  TextFont* Find(const ZFontStyle& style, std::u32string_view characters);
  // Writes the fonts with all the glyphs that were shown. More text may follow; then call this again. False when one of
  // them cannot be written.
  bool Finish();

 private:
  AddedObjects* added_;
  std::shared_ptr<FontLibrary> library_;
  // In the order in which they were first needed, which is the order of their objects.
  std::vector<std::pair<const FontProgram*, std::unique_ptr<EmbeddedFont>>> fonts_;
};

}  // namespace zforms
