#pragma once

#include "zforms/appearance/appearance_store.h"
#include "zforms/appearance/widget_drawing.h"

namespace zforms {

class ZAcroFormField;

// Draws the buttons that have no appearance (ISO 32000-1 12.7.4.2). Existing appearances do not change. One thread at a
// time.
class ButtonDrawer {
 public:
  ButtonDrawer(FieldFonts& fonts, AppearanceStore& store) : fonts_(fonts), store_(store) {}

  // The first is true when a button has no appearance, the second when it has none for a state other than "Off".
  static bool LacksLook(const ZAcroFormField& widget);
  static bool LacksStates(const ZAcroFormField& widget);
  // Draws a push button with its caption centred.
  void DrawPush(WidgetDrawing& drawing);
  // Draws a check box or a radio button in the states on and off; an existing appearance for off is kept. Sets "/AS"
  // when it is absent. `widget` is the widget of the drawing, `index` its place among the widgets of its field.
  void DrawStates(ZAcroFormField& widget, WidgetDrawing& drawing, size_t index);
  // Sets an absent "/AS" of a widget that has appearances for states to its value, or to "Off" when it has no
  // appearance for its value. Without "/AS", some viewers show the only state (ISO 32000-1 table 164 requires the
  // entry).
  static void NameState(ZAcroFormField& widget);

 private:
  void DrawMark(WidgetDrawing& drawing, bool is_radio);
  void StoreState(ZAcroFormField& widget, WidgetDrawing& drawing, const Chaine& state);

  FieldFonts& fonts_;
  AppearanceStore& store_;
};

}  // namespace zforms
