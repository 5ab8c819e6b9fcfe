#pragma once

#include <cstddef>

#include "zforms/appearance/appearance_store.h"
#include "zforms/appearance/button_drawing.h"
#include "zforms/appearance/choice_drawing.h"
#include "zforms/appearance/field_drawer.h"
#include "zforms/appearance/field_fonts.h"
#include "zforms/appearance/text_drawing.h"

namespace zforms {

class ZAcroFormField;
class ZDiagnostics;

// Draws the widgets of one document, whatever kind of field they show, and says what was left out. The document and the
// fonts outlive it. One thread at a time.
class WidgetDrawer {
 public:
  // The function, which may be null or empty, says what is shown in place of values.
  WidgetDrawer(AddedObjects* added, FieldFonts& fonts, ZDiagnostics* notes,
               const ZFieldDrawer::ShownValueOf* shown_of = nullptr);

  // Draws a widget; `index` is its place among those of its field. False, with a warning, when it is not drawn
  // completely.
  bool Draw(ZAcroFormField& widget, size_t index);

 private:
  WidgetDrawing Begin(const ZAcroFormField& widget, const WidgetStyle& style, const TextLook& look,
                      const KeptLook* kept) const;
  bool DrawValue(ZAcroFormField& widget, const WidgetStyle& style, bool reuses_fonts = true);
  bool DrawButton(ZAcroFormField& widget, const WidgetStyle& style, size_t index);
  void DrawContent(WidgetDrawing& drawing, uint32_t flags, const Chaine& text);
  // What a text field or combo box shows, in UTF-8; its colour may change.
  Chaine TextOf(const ZAcroFormField& widget, uint32_t flags, TextLook* look);
  // The value that a text field shows, in UTF-8; false when it cannot be read.
  bool ReadValue(const ZAcroFormField& widget, Chaine* utf8);
  bool Report(const WidgetDrawing& drawing);
  bool Fail(const ZAcroFormField& widget, const char* what);

  // The remaining budget, in bytes read, characters laid out and, counted sixteen times, bytes written. It keeps a
  // small file, in which many widgets share one long value or one stream, from becoming a large one.
  size_t work_;
  FieldFonts& fonts_;
  ZDiagnostics* notes_;
  const ZFieldDrawer::ShownValueOf* shown_of_;
  AppearanceStore store_;
  TextDrawer texts_;
  ChoiceDrawer choices_;
  ButtonDrawer buttons_;
};

}  // namespace zforms
