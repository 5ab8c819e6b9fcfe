#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

#include "zforms/platform/base/chaine.h"

namespace zforms {

class ZPDFNode;

// One glyph of a shaped text, in the order in which it is shown from left to right.
struct ShapedGlyph {
  uint32_t code = 0;  // the character code in the content stream, big-endian in `code_size` bytes
  uint8_t code_size = 1;
  double width = 0;      // the advance that the font's "/Widths" or "/W" give, in 1/1000 of the font size
  double advance = 0;    // the advance that shaping asks for, in the same unit; usually the width
  double x = 0, y = 0;   // the offset of the glyph from the pen, in the same unit
  uint32_t cluster = 0;  // the index in the paragraph of the first character of its cluster
  // True when the font's "/ToUnicode" or encoding gives the text of the cluster for its glyphs. Otherwise the text is
  // also written as "/ActualText".
  bool is_plain = true;
};

// Distances from the baseline in 1/1000 of the font size; ascent and cap height above it, descent below it (negative).
struct TextFontMetrics {
  double ascent = 0;
  double descent = 0;
  double cap_height = 0;
};

// A font for the text of appearance streams: one of the form's own resources, or one that is embedded because the
// form's own lacks a character. Characters are code points. One thread at a time.
class TextFont {
 public:
  virtual ~TextFont() = default;

  // True when the font has a glyph for the character.
  virtual bool Has(char32_t c) const = 0;
  // True when the font can show scripts that need shaping (Arabic, the Indic scripts, ...).
  virtual bool Shapes() const = 0;
  virtual TextFontMetrics Metrics() const = 0;

  // Appends the glyphs of the characters [from, from + count) of the paragraph in visual order. The font has all of
  // them, and they have one direction. A font that does not shape gives one glyph for each character.
  virtual void Shape(std::u32string_view paragraph, size_t from, size_t count, bool right_to_left,
                     std::vector<ShapedGlyph>* glyphs) = 0;

  // The name of the font in the dictionary "/Font" of the resources, without slash.
  virtual Chaine ResourceName() const = 0;
  // The entry with this name: a reference to the font's object, owned by the caller. For an embedded font, the first
  // call adds an empty object; the font program is written into it after all texts were drawn.
  virtual ZPDFNode* AllocResource() = 0;
};

}  // namespace zforms
