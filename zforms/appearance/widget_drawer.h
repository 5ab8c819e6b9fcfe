#pragma once

#include <cstddef>
#include <optional>
#include <unordered_map>

#include "zforms/appearance/appearance_store.h"
#include "zforms/appearance/button_drawing.h"
#include "zforms/appearance/choice_drawing.h"
#include "zforms/appearance/field_drawer.h"
#include "zforms/appearance/field_fonts.h"
#include "zforms/appearance/text_drawing.h"

namespace zforms {

class ZAcroFormField;
class ZDiagnostics;

// What drawing reads from a widget apart from its value and its font.
struct WidgetFacts {
  std::optional<WidgetStyle> style;
  bool knows_kept = false;
  std::optional<KeptLook> kept;
  size_t kept_work = 0;  // what reading `kept` took from the budget
};

// The facts of the widgets of a document, which is drawn again and again after its changes were undone.
using KnownWidgets = std::unordered_map<const ZPDFNodeDictionary*, WidgetFacts>;

// Draws the widgets of one document, of all kinds of fields. Reports what was left out in `notes`. The document and the
// fonts outlive it. One thread at a time.
class WidgetDrawer {
 public:
  // `shown_of` formats values, see ZFieldDrawer::SetShownValues. It may be null or empty. `known` keeps the facts of
  // the widgets for the next drawing; null when the document is drawn only once.
  WidgetDrawer(AddedObjects* added, FieldFonts& fonts, ZDiagnostics* notes,
               const ZFieldDrawer::ShownValueOf* shown_of = nullptr, KnownWidgets* known = nullptr);

  // Draws a widget; `index` is its place among the field's widgets. False, with a warning, when it is not drawn
  // completely.
  bool Draw(ZAcroFormField& widget, size_t index);

 private:
  WidgetDrawing Begin(const ZAcroFormField& widget, const WidgetStyle& style, const TextLook& look,
                      const KeptLook* kept) const;
  // What the new appearance keeps of the present one; null when it keeps nothing.
  const KeptLook* KeptOf(const ZAcroFormField& widget, WidgetFacts* facts);
  bool DrawValue(ZAcroFormField& widget, WidgetFacts* facts, bool reuses_fonts = true);
  bool DrawButton(ZAcroFormField& widget, const WidgetStyle& style, size_t index);
  void DrawContent(WidgetDrawing& drawing, uint32_t flags, const Chaine& text);
  // The text that a text field or combo box shows, in UTF-8. May change the colour in `look`.
  Chaine TextOf(const ZAcroFormField& widget, uint32_t flags, TextLook* look);
  // The value that a text field shows, in UTF-8; false when it cannot be read.
  bool ReadValue(const ZAcroFormField& widget, Chaine* utf8);
  bool Report(const WidgetDrawing& drawing);
  bool Fail(const ZAcroFormField& widget, const char* what);

  // The remaining budget: 1 for each byte that is read and each character that is laid out, 16 for each byte that is
  // written. Without a budget, a small file in which many widgets share one long value or stream could become a large
  // one.
  size_t work_;
  FieldFonts& fonts_;
  ZDiagnostics* notes_;
  const ZFieldDrawer::ShownValueOf* shown_of_;
  KnownWidgets* known_;
  AppearanceStore store_;
  TextDrawer texts_;
  ChoiceDrawer choices_;
  ButtonDrawer buttons_;
};

}  // namespace zforms
