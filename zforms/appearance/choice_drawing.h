#pragma once

#include <cstddef>
#include <string>
#include <unordered_map>
#include <vector>

#include "zforms/appearance/widget_drawing.h"
#include "zforms/platform/base/chaine.h"

namespace zforms {

class ZPDFNode;

// Draws choice fields (ISO 32000-1 12.7.4.4). It lives as long as fields of one form are drawn. It keeps the options of
// each field, so these must not change meanwhile. One thread at a time.
class ChoiceDrawer {
 public:
  explicit ChoiceDrawer(FieldFonts& fonts) : fonts_(fonts) {}

  // The text that a combo box shows, in UTF-8: the text of the option with its value, else the value itself.
  Chaine ShownText(const ZAcroFormField& widget);
  // Draws the visible options of a list box, usually from "/TI" on. The selected ones get a coloured background.
  void DrawList(WidgetDrawing& drawing);

 private:
  struct Options {
    std::vector<Chaine> shown;  // UTF-8
    std::unordered_map<std::string, size_t> by_value;
  };

  const Options& OptionsOf(const ZAcroFormField& widget);
  static std::vector<size_t> SelectedOf(const ZAcroFormField& widget, const Options& options);
  void ShowRows(WidgetDrawing& drawing, const Options& options, const std::vector<size_t>& selected);

  FieldFonts& fonts_;
  // The key is "/Opt", which several fields may share.
  std::unordered_map<const ZPDFNode*, Options> options_;
};

}  // namespace zforms
