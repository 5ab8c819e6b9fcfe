#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "zforms/appearance/content_writer.h"
#include "zforms/appearance/field_fonts.h"
#include "zforms/appearance/text_layout.h"
#include "zforms/appearance/widget_style.h"

namespace zforms {

class ZAcroFormField;

// The input for drawing one widget of any kind of field, and the results to report. Lives for one widget.
struct WidgetDrawing {
  const ZAcroFormField& widget;
  const WidgetStyle& style;
  const TextLook& look;
  TextBox box;  // the box of the text, with the size and the quadding of the look

  // The content that is drawn.
  ContentWriter out;
  // How many characters of the value there are, and how many of them do not fit.
  size_t characters = 0;
  size_t left_out = 0;
  // Characters that no font has.
  std::u32string missing;
  // The fonts of the text that was shown, each once.
  std::vector<TextFont*> fonts;

  void AddFont(TextFont* font);
  // Adds the fonts of the lines of a layout.
  void AddFonts(const std::vector<TextParagraph>& paragraphs, const TextLayout& layout);
  // Clips the content that follows to the inside of the border.
  void Clip();
  // Writes "BT", the colour, the spacing, the lines and "ET".
  void ShowText(std::vector<TextParagraph>& paragraphs, const TextLayout& layout);
  // The spacing that the look asks for. When the size is automatic, only the scaling is applied.
  TextSpacing Spacing() const;
};

}  // namespace zforms
