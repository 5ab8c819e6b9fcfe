#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "zforms/appearance/widget_drawing.h"
#include "zforms/platform/base/chaine.h"

namespace zforms {

// Draws the texts of text fields (ISO 32000-1 12.7.4.3) and of combo boxes. It keeps the value that was drawn last, for
// further widgets with the same value. Lives as long as fields of one form are drawn. One thread at a time.
class TextDrawer {
 public:
  // Bits of "/Ff" (table 228).
  static constexpr uint32_t kMultilineFlag = 0x1000;
  static constexpr uint32_t kPasswordFlag = 0x2000;
  static constexpr uint32_t kFileSelectFlag = 0x100000;
  static constexpr uint32_t kCombFlag = 0x1000000;
  static constexpr uint32_t kRichTextFlag = 0x2000000;
  // A field with more cells than this is not drawn as a comb.
  static constexpr uint32_t kMostCells = 256;

  // `work` is the remaining budget; see WidgetDrawer.
  TextDrawer(FieldFonts& fonts, size_t* work) : fonts_(fonts), work_(work) {}

  // The number of cells of a comb; 0 when the field is not a comb.
  static size_t CellsOf(uint32_t flags, uint32_t max_length);
  // Draws a value, in UTF-8, according to the flags of the field.
  void Draw(WidgetDrawing& drawing, const Chaine& utf8, uint32_t flags, uint32_t max_length);
  // Forgets the text that was drawn last. Otherwise the next widget with the same text is drawn with the same fonts.
  void Forget() { font_ = nullptr; }

 private:
  enum class Kind : uint8_t { kLine, kLines, kPassword };

  // Sets paragraphs_ to the paragraphs of the value.
  void Prepare(const WidgetDrawing& drawing, const Chaine& utf8, Kind kind, const TextSpacing& spacing);
  TextLayout LayOut(const TextBox& box, Kind kind, size_t cells);

  FieldFonts& fonts_;
  size_t* work_;
  // The input from which paragraphs_ were made.
  Chaine text_;
  TextFont* font_ = nullptr;
  Kind kind_ = Kind::kLine;
  TextSpacing spacing_;
  std::vector<TextParagraph> paragraphs_;
  size_t characters_ = 0;
  std::u32string missing_;
};

}  // namespace zforms
