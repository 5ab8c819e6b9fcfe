#include "zforms/appearance/choice_drawing.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "zforms/acroform/field.h"
#include "zforms/appearance/inherited_entry.h"
#include "zforms/appearance/value_text.h"
#include "zforms/pdf/array_node.h"
#include "zforms/platform/text/text.h"

namespace zforms {
namespace {

// The figures of docs/appearances.md, in parts of the font size where no unit is named.
constexpr double kRowHeight = 1.35;
constexpr double kBaselineInRow = 1.175;  // from the top of the row
constexpr double kUsualSize = 12;         // in points
constexpr double kLeastSize = 4;          // in points
constexpr WidgetColor kSelectedGround{3, {0.6, 0.757, 0.855}};

// The options that are visible.
struct Rows {
  size_t first = 0;
  size_t end = 0;
};

// Begins with the option in "/TI". When no selected option would be visible then, begins with the first selected one.
Rows VisibleRows(const ZAcroFormField& widget, size_t count, const std::vector<size_t>& selected, double rows) {
  const auto whole = static_cast<size_t>(std::max(std::floor(rows + 0.01), 1.0));
  const ZPDFNode* top = InheritedEntry(widget, "/TI");
  size_t first = top == nullptr ? 0 : static_cast<size_t>(std::max(top->GetIntValue(), 0));
  const size_t last_first = count > whole ? count - whole : 0;
  first = std::min(first, last_first);
  const auto is_seen = [&](size_t index) { return index >= first && index < first + whole; };
  if (!selected.empty() && std::none_of(selected.begin(), selected.end(), is_seen)) {
    first = std::min(selected.front(), last_first);
  }
  return {first, std::min(count, first + static_cast<size_t>(std::ceil(std::max(rows, 1.0))))};
}

}  // namespace

const ChoiceDrawer::Options& ChoiceDrawer::OptionsOf(const ZAcroFormField& widget) {
  const auto [found, is_new] = options_.try_emplace(InheritedEntry(widget, "/Opt"));
  Options& options = found->second;
  if (!is_new) return options;
  for (const ZAcroFormFieldOption& option : widget.Options()) {
    const Chaine value = PDFTextToUTF8(option.ExportValue());
    options.by_value.try_emplace(value.ToString(), options.shown.size());
    options.shown.push_back(option.DisplayName().IsEmpty() ? value : PDFTextToUTF8(option.DisplayName()));
  }
  return options;
}

Chaine ChoiceDrawer::ShownText(const ZAcroFormField& widget) {
  Chaine value = widget.ValueUTF8();
  const Options& options = OptionsOf(widget);
  const auto found = options.by_value.find(value.ToString());
  return found == options.by_value.end() ? value : options.shown[found->second];
}

// The selected options in rising order: by "/V", or by "/I" when there is no value.
std::vector<size_t> ChoiceDrawer::SelectedOf(const ZAcroFormField& widget, const Options& options) {
  std::vector<size_t> selected;
  for (const Chaine& value : widget.Values()) {
    const auto found = options.by_value.find(PDFTextToUTF8(value).ToString());
    if (found != options.by_value.end()) selected.push_back(found->second);
  }
  const auto* indices = widget.HasValue() ? nullptr : NodeCast<ZPDFNodeArray>(InheritedEntry(widget, "/I"));
  for (size_t i = 0; indices != nullptr && i < std::min(indices->Size(), options.shown.size()); i++) {
    const ZPDFNode* index = indices->GetTargetAt(i);
    if (index != nullptr && index->GetUIntValue() < options.shown.size()) selected.push_back(index->GetUIntValue());
  }
  std::sort(selected.begin(), selected.end());
  selected.erase(std::unique(selected.begin(), selected.end()), selected.end());
  return selected;
}

void ChoiceDrawer::DrawList(WidgetDrawing& drawing) {
  const Options& options = OptionsOf(drawing.widget);
  if (options.shown.empty() || drawing.look.font == nullptr) return;
  drawing.Clip();
  ShowRows(drawing, options, SelectedOf(drawing.widget, options));
}

void ChoiceDrawer::ShowRows(WidgetDrawing& drawing, const Options& options, const std::vector<size_t>& selected) {
  const TextBox& box = drawing.box;
  const double height = box.height - 2 * box.edge;
  double size = box.size > 0 ? box.size : kUsualSize;
  const Rows rows = VisibleRows(drawing.widget, options.shown.size(), selected, height / (size * kRowHeight));
  std::vector<TextParagraph> paragraphs;
  for (size_t i = rows.first; i < rows.end; i++) {
    std::u32string missing;
    paragraphs.push_back(fonts_.MakeParagraph(LineOfText(options.shown[i], &missing), drawing.look.font, &missing));
    drawing.missing += missing;
    paragraphs.back().Space(drawing.Spacing());
    const double room = (box.width - 2 * box.padding) * 1000;
    const double width = paragraphs.back().Width();
    if (box.size <= 0 && width * size > room) size = std::max(std::floor(room / width * 100) / 100, kLeastSize);
  }

  TextLayout layout;
  layout.size = size;
  const double top = box.height - box.edge;
  const double row_height = size * kRowHeight;
  SetFillColor(drawing.out, kSelectedGround);
  for (size_t i = rows.first; i < rows.end; i++) {
    const double row_top = top - static_cast<double>(i - rows.first) * row_height;
    if (std::binary_search(selected.begin(), selected.end(), i)) {
      drawing.out.Operator("re", {box.edge, row_top - row_height, box.width - 2 * box.edge, row_height}).Operator("f");
    }
    TextBox row = box;
    row.size = size;
    const TextLayout line = LayOutLine(paragraphs[i - rows.first], row);
    for (TextLine shown : line.lines) {
      shown.paragraph = i - rows.first;
      shown.y = row_top - kBaselineInRow * size;
      layout.lines.push_back(shown);
    }
  }
  // The text is black unless "/DA" says otherwise.
  drawing.out.Operator("g", {0});
  drawing.ShowText(paragraphs, layout);
}

}  // namespace zforms
