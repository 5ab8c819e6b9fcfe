#pragma once

#include <cstdint>
#include <memory>
#include <optional>

#include "zforms/appearance/fonts/standard_fonts.h"
#include "zforms/appearance/fonts/text_font.h"
#include "zforms/pdf/node.h"

namespace zforms {

class ProgramGlyphs;
class ZPDFNodeDictionary;

// How a font is written: the code for a character, in `size` bytes, and its width in 1/1000 of the font size. Plain is
// a code that readers take for that very character, by "/ToUnicode" or the encoding.
struct FontCode {
  uint32_t code;
  uint8_t size;
  double width;
  bool is_plain = true;
};

// What a font dictionary says of its codes, read once for all the names that lead to it. It refers to no node.
class FontCodes {
 public:
  virtual ~FontCodes();
  FontCodes(const FontCodes&) = delete;
  FontCodes& operator=(const FontCodes&) = delete;

  // By the dictionary of a simple font or of a Type 0 font (ISO 32000-1 9.6, 9.7). Of what is malformed or unknown no
  // character is found.
  static std::unique_ptr<FontCodes> Read(const ZPDFNodeDictionary& font);

  // The code that shows the character; nothing where the font has no glyph for it, or one without width.
  virtual std::optional<FontCode> Find(char32_t c) const = 0;
  const TextFontMetrics& Metrics() const { return metrics_; }
  // The standard font that is most like it in family, weight and slope.
  const StandardFont& Like() const { return *like_; }
  // Whether the file has the glyphs, so that a viewer needs no other font in the place of this one.
  bool IsEmbedded() const { return is_embedded_; }

  // No width or height of a font that is meant to be read is larger, in 1/1000 of the font size.
  static constexpr double kLargest = 10000;
  static bool IsSaneWidth(double width) { return width > 0 && width <= kLargest; }

 protected:
  FontCodes() = default;
  // From the base font's name, without slash, and the descriptor; each may be absent.
  void SetLike(std::string_view base_font, const ZPDFNodeDictionary* descriptor);
  // From "/Ascent", "/Descent" and "/CapHeight"; what is not there or makes no sense from the program, else from the
  // standard font.
  void SetMetrics(const ZPDFNodeDictionary* descriptor, const ProgramGlyphs* program);
  void SetMetrics(const TextFontMetrics& metrics) { metrics_ = metrics; }
  void SetEmbedded(bool is_embedded) { is_embedded_ = is_embedded; }

 private:
  const StandardFont* like_ = &StandardFontLike({}, 0);
  TextFontMetrics metrics_ = like_->metrics;
  bool is_embedded_ = false;
};

// A font of the form's own resources, or one that is made in their place. It keeps a copy of the entry's value. One
// thread at a time.
class ResourceFont final : public TextFont {
 public:
  // The name without slash, and the value of that entry in the resources: the dictionary or a reference to it.
  ResourceFont(std::shared_ptr<const FontCodes> codes, Chaine name, const ZPDFNode& value);
  ~ResourceFont() override;

  bool Has(char32_t c) const override;
  bool Shapes() const override { return false; }
  TextFontMetrics Metrics() const override { return codes_->Metrics(); }
  void Shape(std::u32string_view paragraph, size_t from, size_t count, bool right_to_left,
             std::vector<ShapedGlyph>* glyphs) override;
  Chaine ResourceName() const override { return name_; }
  ZPDFNode* AllocResource() override;

  const FontCodes& Codes() const { return *codes_; }

 private:
  std::shared_ptr<const FontCodes> codes_;
  Chaine name_;
  std::unique_ptr<ZPDFNode> value_;
};

}  // namespace zforms
