#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "zforms/appearance/fonts/text_font.h"

namespace zforms {

class ZPDFNodeDictionary;

// The glyphs of a font program in the file, and how codes and names lead to them. It owns a copy of the program. One
// thread at a time. Glyph 0 always means "no glyph".
class ProgramGlyphs {
 public:
  // The program that the font descriptor has in "/FontFile", "/FontFile2" or "/FontFile3" (ISO 32000-1 9.9). Null when
  // there is none, its filters are not known, or it cannot be read.
  static std::unique_ptr<ProgramGlyphs> Read(const ZPDFNodeDictionary& descriptor);
  ~ProgramGlyphs();
  ProgramGlyphs(const ProgramGlyphs&) = delete;
  ProgramGlyphs& operator=(const ProgramGlyphs&) = delete;

  // True when the program has the tables of TrueType and OpenType.
  bool HasTables() const;
  bool HasSymbolMap() const;

  uint32_t OfName(std::string_view name) const;
  // The glyph of a character, by the map from Unicode.
  uint32_t OfCharacter(char32_t c) const;
  // The glyph of a code, by the map of symbol fonts or the Macintosh map, as in a TrueType font without encoding
  // (9.6.6.4).
  uint32_t OfCode(uint8_t code) const;
  uint32_t OfMacCode(uint8_t code) const;
  // The glyph of a CID, by the character collection of a CID-keyed program; the CID itself in any other program.
  uint32_t OfCid(uint32_t cid) const;
  // The CID of a glyph: the inverse of the function above.
  uint32_t CidOf(uint32_t glyph) const;
  // The name of the glyph that the encoding built into the program has for the code; empty for none.
  std::string BuiltInName(uint8_t code) const;

  // Whether the glyph has an outline.
  bool Draws(uint32_t glyph) const;
  // The advance of the glyph in 1/1000 of the font size.
  double Width(uint32_t glyph) const;
  TextFontMetrics Metrics() const;

 private:
  struct Face;
  explicit ProgramGlyphs(std::unique_ptr<Face> face);

  std::unique_ptr<Face> face_;
};

}  // namespace zforms
