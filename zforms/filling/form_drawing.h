#pragma once

#include <cstdint>
#include <string>
#include <unordered_map>

#include "zforms/appearance/field_drawer.h"
#include "zforms/filling/form_message.h"
#include "zforms/platform/base/containers.h"
#include "zforms/platform/base/export.h"

namespace zforms {

class FieldScripts;
class FillingGuard;
class ZAcroForm;
class ZAcroFormField;
class ZAcroFormFieldCollection;

// FormDrawing draws the fields of a form after filling, and removes the request to viewers to draw them,
// "/NeedAppearances" (ISO 32000-1 table 218). When a form has this request, all its fields are drawn, as viewers would
// do. The request stays when a field could not be drawn completely, since a viewer may have the missing fonts. It is
// never added.
//
// The form and the guard outlive it, and the form stays loaded. After the form was saved, another drawing is needed.
// One thread at a time.
class ZFORMS_API FormDrawing {
 public:
  // Fields that the guard locks do not change. With the scripts of the form, values are shown in the formats of their
  // fields. Both may be null, and outlive this object.
  FormDrawing(ZAcroForm& form, const ZDrawingFonts& fonts, const FillingGuard* guard = nullptr,
              const FieldScripts* scripts = nullptr);
  ~FormDrawing();

  // Draws these fields, in the order of the form; draws all fields when the form has the request. False when one of
  // them was not drawn completely. `messages` gets what was left out.
  bool Draw(PTableau<ZAcroFormField*> changed, ZFormMessages* messages);
  bool DrawAll(ZFormMessages* messages);
  // See ZFieldDrawer.
  std::span<ZPDFNodeIndirectObject* const> Added() const { return drawer_.Added(); }
  void Restart();

  // Moves the existing "/NeedAppearances" of a form to the end of its dictionary.
  static void RenewRequest(ZAcroForm& form);

 private:
  void List(ZAcroFormFieldCollection& fields, bool are_kids);
  bool Format(const FieldScripts& scripts, const ZAcroFormField& widget, const Chaine& value, ZShownValue* shown);
  bool DrawEach(const PTableau<ZAcroFormField*>& fields, ZFormMessages* messages);

  ZAcroForm& form_;
  const FillingGuard* guard_;
  ZFieldDrawer drawer_;
  size_t said_ = 0;
  std::string unfit_;  // the warning about the last value to which its format does not apply
  ZFormMessages unfit_values_;
  // The fields, each with its place in the order of the form.
  PTableau<ZAcroFormField*> fields_;
  std::unordered_map<const ZAcroFormField*, size_t> places_;
};

}  // namespace zforms
