#include "zforms/appearance/widget_drawing.h"

#include <algorithm>

namespace zforms {

void WidgetDrawing::AddFont(TextFont* font) {
  if (std::find(fonts.begin(), fonts.end(), font) == fonts.end()) fonts.push_back(font);
}

void WidgetDrawing::AddFonts(const std::vector<TextParagraph>& paragraphs, const TextLayout& layout) {
  for (const TextLine& line : layout.lines) {
    const TextParagraph& paragraph = paragraphs[line.paragraph];
    if (paragraph.Runs().size() == 1) {
      AddFont(paragraph.Runs()[0].font);
    } else {
      for (const TextRun& run : paragraph.VisualRuns(line.from, line.to)) AddFont(run.font);
    }
  }
}

void WidgetDrawing::Clip() {
  const double edge = box.edge;
  if (edge <= 0 || box.width <= 2 * edge || box.height <= 2 * edge) return;
  out.Operator("re", {edge, edge, box.width - 2 * edge, box.height - 2 * edge}).Operator("W").Operator("n");
}

TextSpacing WidgetDrawing::Spacing() const {
  TextSpacing spacing;
  spacing.scaling = look.scaling;
  if (look.size > 0) {
    spacing.character = look.character_spacing * 1000 / look.size;
    spacing.word = look.word_spacing * 1000 / look.size;
  }
  return spacing;
}

void WidgetDrawing::ShowText(std::vector<TextParagraph>& paragraphs, const TextLayout& layout) {
  if (layout.lines.empty()) return;
  out.BeginText();
  if (!look.color.IsEmpty()) out.Raw(look.color).Raw("\n");
  const TextSpacing& spacing = paragraphs[layout.lines[0].paragraph].Spacing();
  if (spacing.character != 0) out.Operator("Tc", {spacing.character * layout.size / 1000});
  if (spacing.word != 0) out.Operator("Tw", {spacing.word * layout.size / 1000});
  if (spacing.scaling != 1) out.Operator("Tz", {spacing.scaling * 100});
  ShowLines(paragraphs, layout, out);
  out.EndText();
  AddFonts(paragraphs, layout);
}

}  // namespace zforms
