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

void WidgetDrawing::ShowText(std::vector<TextParagraph>& paragraphs, const TextLayout& layout) {
  if (layout.lines.empty()) return;
  out.BeginText();
  if (!look.color.IsEmpty()) out.Raw(look.color).Raw("\n");
  ShowLines(paragraphs, layout, out);
  out.EndText();
  AddFonts(paragraphs, layout);
}

}  // namespace zforms
