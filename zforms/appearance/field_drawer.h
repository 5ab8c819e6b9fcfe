#pragma once

#include <functional>
#include <memory>
#include <span>

#include "zforms/appearance/drawing_fonts.h"
#include "zforms/platform/base/chaine.h"
#include "zforms/platform/base/export.h"

namespace zforms {

class ZAcroForm;
class ZAcroFormField;
class ZDiagnostics;
class ZPDFNodeIndirectObject;

// What a widget shows in place of its field's value, in a form that formats values.
struct ZShownValue {
  Chaine text;  // UTF-8
  bool is_red = false;
};

// ZFieldDrawer draws the values of a form's fields, so that every viewer shows them: each widget gets an appearance
// stream ("/AP" "/N", ISO 32000-1 12.7.3.3 and 12.5.5) from "/Rect", "/MK", "/BS" or "/Border", "/DA", "/Q", "/MaxLen"
// and its field's value.
//
// Text fields, combo boxes and list boxes get a new appearance. If the old one can be read, its content outside
// "/Tx BMC ... EMC" is kept. Buttons keep the appearances that they have; a button without one is drawn. Signatures are
// never touched. Hidden widgets are drawn as well, since they may be shown later. Values do not change.
//
// Call Draw for the fields that changed and then Finish, or call DrawAll; then save the form. The drawer does not own
// or save the form. The form must outlive the drawer and must not be loaded again meanwhile. One thread at a time.
class ZFORMS_API ZFieldDrawer {
 public:
  explicit ZFieldDrawer(ZAcroForm& form, const ZDrawingFonts& fonts = {});
  ~ZFieldDrawer();
  ZFieldDrawer(const ZFieldDrawer&) = delete;
  ZFieldDrawer& operator=(const ZFieldDrawer&) = delete;

  // Sets a function that formats values: it gets the value of a text field or combo box in UTF-8 and sets the text that
  // the widget shows, or returns false when the widget shows the value itself. When a formatted text has more
  // characters than the field has comb cells, the value itself is shown.
  using ShownValueOf = std::function<bool(const ZAcroFormField& widget, const Chaine& value, ZShownValue* shown)>;
  void SetShownValues(ShownValueOf shown_of);

  // Draws each widget of the field. False when one was not drawn completely, because no font has a character of its
  // value or the value cannot be read; "/NeedAppearances" should then stay set (ISO 32000-1 table 218). Text that does
  // not fit into the widget only gives a warning.
  bool Draw(ZAcroFormField& field);
  // Draws every field of the form and calls Finish. False when one was not drawn completely.
  bool DrawAll();
  // Writes the fonts that were embedded for characters that the form's own fonts lack. More fields may be drawn later;
  // then call this again. False when one of them cannot be written.
  bool Finish();

  // The objects that were added to the document, in the order of their numbers.
  std::span<ZPDFNodeIndirectObject* const> Added() const;
  // Call this after undoing the changes of filling and drawing: forgets what was drawn, but not what was read from the
  // form: its fonts, and the sizes, borders, colours and appearances of its widgets. Objects that were added become
  // empty, and the next drawing uses their numbers again.
  void Restart();

  // What was left out, such as `field "name": 14 of 60 characters do not fit`. Names are UTF-8.
  const ZDiagnostics& Diagnostics() const;

 private:
  struct Hidden;
  std::unique_ptr<Hidden> hidden_;
};

}  // namespace zforms
