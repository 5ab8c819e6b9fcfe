#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>

#include "zforms/appearance/fonts/standard_fonts.h"
#include "zforms/appearance/fonts/text_font.h"
#include "zforms/pdf/node.h"

namespace zforms {

class ProgramGlyphs;
class ZPDFNodeDictionary;

// The code for a character in a font, in `size` bytes, and its width in 1/1000 of the font size. A code is plain when
// readers get exactly this character from it, by "/ToUnicode" or the encoding.
struct FontCode {
  uint32_t code;
  uint8_t size;
  double width;
  bool is_plain = true;
};

// The codes of a font dictionary, which all resource names of the font share. Holds no pointers into the document. Any
// thread may use it.
class FontCodes {
 public:
  virtual ~FontCodes();
  FontCodes(const FontCodes&) = delete;
  FontCodes& operator=(const FontCodes&) = delete;

  // Reads the dictionary of a simple font or of a Type 0 font (ISO 32000-1 9.6, 9.7). A font that is malformed or
  // unknown has no characters.
  static std::unique_ptr<FontCodes> Read(const ZPDFNodeDictionary& font);

  // The code that shows the character; nothing when the font has no glyph for it, or one without width.
  virtual std::optional<FontCode> Find(char32_t c) const = 0;
  const TextFontMetrics& Metrics() const { return metrics_; }
  // The standard font that is most like it in family, weight and slope.
  const StandardFont& Like() const { return *like_; }
  // True when the file contains the glyphs, so that viewers do not replace this font.
  bool IsEmbedded() const { return is_embedded_; }

  // The largest plausible width or height of a font, in 1/1000 of the font size.
  static constexpr double kLargest = 10000;
  static bool IsSaneWidth(double width) { return width > 0 && width <= kLargest; }

 protected:
  FontCodes() = default;
  // Sets Like() by the base font's name, without slash, and the descriptor. Each may be absent.
  void SetLike(std::string_view base_font, const ZPDFNodeDictionary* descriptor);
  // Reads "/Ascent", "/Descent" and "/CapHeight". Missing or implausible values come from the font program, else from
  // the standard font.
  void SetMetrics(const ZPDFNodeDictionary* descriptor, const ProgramGlyphs* program);
  void SetMetrics(const TextFontMetrics& metrics) { metrics_ = metrics; }
  void SetEmbedded(bool is_embedded) { is_embedded_ = is_embedded; }

 private:
  const StandardFont* like_ = &StandardFontLike({}, 0);
  TextFontMetrics metrics_ = like_->metrics;
  bool is_embedded_ = false;
};

// A font of the form's own resources, or one that is added to them. One thread at a time.
class ResourceFont final : public TextFont {
 public:
  // Makes the value of the font's entry in the resources: the dictionary or a reference to it.
  using AllocValue = std::function<ZPDFNode*()>;

  // `name` has no slash. `value` is the value of the font's entry in the resources and is copied.
  ResourceFont(std::shared_ptr<const FontCodes> codes, Chaine name, const ZPDFNode& value);
  // A font that is added to the document when an appearance uses it: `alloc_value` then adds it.
  ResourceFont(std::shared_ptr<const FontCodes> codes, Chaine name, AllocValue alloc_value);
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
  AllocValue alloc_value_;
};

}  // namespace zforms
