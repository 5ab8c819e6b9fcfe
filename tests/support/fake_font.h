#pragma once

#include <string>
#include <vector>

#include "zforms/acroform/field.h"
#include "zforms/appearance/field_fonts.h"
#include "zforms/pdf/identifier_node.h"

namespace zforms {

// A font for tests of layout. Each character is 500 wide, capitals are 700 high; the ascent is 750 and the descent
// -250, or 1100 and -350 when the font shapes text. It has the characters below U+0100 except "~", and U+0301.
class FakeFont : public TextFont {
 public:
  explicit FakeFont(bool shapes = false) : shapes_(shapes) {}
  bool Has(char32_t c) const override { return (c < 0x100 && c != U'~') || c == 0x301; }
  bool Shapes() const override { return shapes_; }
  TextFontMetrics Metrics() const override { return {shapes_ ? 1100.0 : 750.0, shapes_ ? -350.0 : -250.0, 700}; }
  void Shape(std::u32string_view paragraph, size_t from, size_t count, bool right_to_left,
             std::vector<ShapedGlyph>* glyphs) override {
    for (size_t i = 0; i < count; i++) {
      const size_t at = right_to_left ? from + count - 1 - i : from + i;
      ShapedGlyph glyph;
      glyph.code = static_cast<uint32_t>(paragraph[at]);
      glyph.width = glyph.advance = 500;
      glyph.cluster = static_cast<uint32_t>(at);
      glyphs->push_back(glyph);
    }
  }
  Chaine ResourceName() const override { return "F"; }
  ZPDFNode* AllocResource() override { return new ZPDFNodeIdentifier("/TheFont"); }

 private:
  bool shapes_;
};

// Gives every field the fake font in blue. Its size is "/DA", which in these tests is only a number.
class FakeFonts : public FieldFonts {
 public:
  TextLook LookOf(const ZAcroFormField& widget) override {
    return {&font_, std::strtod(widget.DefaultAppearance().ToString().c_str(), nullptr), "0 0 1 rg"};
  }
  TextParagraph MakeParagraph(std::u32string text, TextFont* font, std::u32string* missing) override {
    for (const char32_t c : text) {
      if (!font->Has(c)) *missing += c;
    }
    return {std::move(text), font};
  }
  std::optional<MarkGlyph> MarkOf(const ZAcroFormField&, uint8_t code) override {
    MarkGlyph mark;
    mark.font = &font_;
    mark.glyph.code = code;
    mark.glyph.width = mark.glyph.advance = 500;
    return mark;
  }
  bool Finish() override { return true; }

 private:
  FakeFont font_;
};

}  // namespace zforms
