#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "zforms/appearance/text_paragraph.h"
#include "zforms/platform/base/chaine.h"

namespace zforms {

class TextFont;
class ZPDFNode;
class ZAcroFormField;

// What a widget's text looks like according to its "/DA" (ISO 32000-1 12.7.3.3).
struct TextLook {
  TextFont* font = nullptr;
  double size = 0;    // 0: automatic
  Chaine color = {};  // the operators that set the colour; empty for black
  // The resource of "/ColorSpace" that the operators name, without slash, and its value, which the document owns; null
  // when they name none.
  Chaine color_space = {};
  const ZPDFNode* color_space_value = nullptr;
  // Character and word spacing (Tc and Tw) in points, and horizontal scaling (Tz) as a factor.
  double character_spacing = 0;
  double word_spacing = 0;
  double scaling = 1;
};

// A glyph of ZapfDingbats that marks a button.
struct MarkGlyph {
  TextFont* font = nullptr;
  ShapedGlyph glyph;
};

// The source of fonts for drawing fields: the form's own fonts and, for characters that these lack, others. It owns the
// fonts. One object serves one document; one thread at a time.
class FieldFonts {
 public:
  virtual ~FieldFonts() = default;

  // Call this before a widget is drawn, so that the fonts of its present appearance are used again. Null means that no
  // fonts are used again.
  virtual void Begin(const ZAcroFormField* widget) { static_cast<void>(widget); }
  // True when the fonts of the present appearance lack a glyph that was needed: the widget must then be drawn again
  // without them.
  virtual bool LacksGlyphs() const { return false; }

  virtual TextLook LookOf(const ZAcroFormField& widget) = 0;
  // Shapes the text, which has no line ends, in the given font if it has all the characters, else in others. Characters
  // that no font has are added to `missing` and shown by a replacement.
  virtual TextParagraph MakeParagraph(std::u32string text, TextFont* font, std::u32string* missing) = 0;
  // The mark with that code in ZapfDingbats, as "/CA" of a button has it; nothing when there is none.
  virtual std::optional<MarkGlyph> MarkOf(const ZAcroFormField& widget, uint8_t code) = 0;
  // Completes the objects of embedded fonts with all the glyphs that were shown. More text may follow; then call this
  // again. False when a font cannot be written.
  virtual bool Finish() = 0;
};

}  // namespace zforms
