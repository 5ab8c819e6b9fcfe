#pragma once

#include <memory>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "zforms/appearance/fonts/embedded_font.h"
#include "zforms/appearance/fonts/font_library.h"

namespace zforms {

class AddedObjects;
class ZPDFNodeDictionary;
class ZPDFNodeIndirectObject;

// The fonts of a library in one document, each embedded at most once. The document outlives it. One thread at a time.
class FallbackFonts {
 public:
  FallbackFonts(AddedObjects* added, std::shared_ptr<FontLibrary> library);
  ~FallbackFonts();

  // Call this before a widget is drawn. Fonts that earlier updates embedded for its present appearance are used again,
  // so that drawing the same text again does not enlarge the document. Null means that none are used.
  void Begin(const ZPDFNodeDictionary* widget);
  // True when the fonts that are used again lack a glyph that was needed since Begin: then no text may be shown in
  // them.
  bool LacksGlyphs() const { return lacks_glyphs_; }

  // A font that has all the characters, null when there is none. It belongs to this object.
  TextFont* Find(const ZFontStyle& style, std::u32string_view characters);
  // Writes the fonts with all the glyphs that were shown. More text may follow; then call this again. False when one of
  // them cannot be written.
  bool Finish();

 private:
  struct Former {
    const FontProgram* program;
    std::unique_ptr<EmbeddedFont> font;  // null when the object was not made from that program
  };

  void FindFormers();
  EmbeddedFont* FormerOf(const std::shared_ptr<const FontProgram>& program);

  AddedObjects* added_;
  std::shared_ptr<FontLibrary> library_;
  // The fonts that are embedded, in the order in which they were first needed. Their objects have the same order.
  std::vector<std::pair<const FontProgram*, std::unique_ptr<EmbeddedFont>>> fonts_;
  const ZPDFNodeDictionary* widget_ = nullptr;  // null for no widget, or when of_widget_ lists its fonts
  // The names and objects of the fonts that earlier updates embedded for the widget that is being drawn.
  std::vector<std::pair<Chaine, ZPDFNodeIndirectObject*>> of_widget_;
  // Maps each font object of an earlier update to the programs that it was compared with. The font is null unless it
  // was made from that program.
  std::unordered_map<const ZPDFNodeIndirectObject*, std::vector<Former>> formers_;
  bool lacks_glyphs_ = false;
};

}  // namespace zforms
