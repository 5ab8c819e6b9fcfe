#pragma once

#include <cstddef>
#include <vector>

#include "zforms/appearance/text_paragraph.h"

namespace zforms {

class ContentWriter;

// The box in which a text is laid out. The rules of the layout are in docs/appearances.md.
struct TextBox {
  double width = 0;  // the whole box, in points
  double height = 0;
  double padding = 0;  // between the sides of the box and the text
  double edge = 0;     // how far the border reaches into the box
  int quadding = 0;    // 0 left, 1 centred, 2 right
  double size = 0;     // the size of the font; 0 means as large as fits
};

// A part of a paragraph on one baseline: the characters [from, to). They start at (x, y), measured from the box's lower
// left corner.
struct TextLine {
  size_t paragraph = 0;
  size_t from = 0;
  size_t to = 0;
  double x = 0;
  double y = 0;
};

struct TextLayout {
  double size = 0;  // the size of the font
  std::vector<TextLine> lines;
  size_t left_out = 0;  // how many characters do not fit
};

// Lays out one line, centred in the height of the box.
TextLayout LayOutLine(const TextParagraph& paragraph, const TextBox& box);
// Lays out several lines from the top, broken between words.
TextLayout LayOutLines(const std::vector<TextParagraph>& paragraphs, const TextBox& box);
// Lays out one cluster in each of `cells` cells of the same width.
TextLayout LayOutComb(const TextParagraph& paragraph, const TextBox& box, size_t cells);

// Writes the lines. Call it between "BT" and "ET".
void ShowLines(std::vector<TextParagraph>& paragraphs, const TextLayout& layout, ContentWriter& out);

}  // namespace zforms
