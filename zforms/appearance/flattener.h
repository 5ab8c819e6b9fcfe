#pragma once

#include <memory>

#include "zforms/platform/base/chaine.h"
#include "zforms/platform/base/containers.h"
#include "zforms/platform/base/export.h"

namespace zforms {

class ZAcroForm;
class ZDiagnostics;

// ZFormFlattener adds the appearances of the fields of a form to the content of its pages (ISO 32000-1 12.5.5) and
// removes the fields: the widgets from "/Annots", the fields from the form, and the references to them from the
// structure tree. When no field is left, the form itself is removed; when no signature field is left, the keys of the
// form that concern signatures are removed. Other annotations stay.
//
// A page gets the appearances that viewers show on the screen. Widgets that are hidden or have the flag NoView are
// removed and leave nothing on the page, even if they would be printed. Widgets without an appearance are drawn first;
// if the form asks viewers to draw its fields ("/NeedAppearances"), all widgets are drawn. The content streams that a
// page has do not change, and neither do resources that pages share.
//
// It does not check whether the form is signed; signatures are no longer valid afterwards. It neither owns nor saves
// the form, which must outlive it. Fields and infos that were read from the form before still show the old state: save
// the document and load it again to read the new one. One thread at a time.
class ZFORMS_API ZFormFlattener {
 public:
  explicit ZFormFlattener(ZAcroForm& form);
  ~ZFormFlattener();
  ZFormFlattener(const ZFormFlattener&) = delete;
  ZFormFlattener& operator=(const ZFormFlattener&) = delete;

  // Flattens every field, and the widgets on the pages that belong to no field.
  bool FlattenAll();
  // Flattens the fields of these full names, in UTF-8, and the fields below them.
  //
  // Both return false when nothing changed, with the reason in Diagnostics(): the document has no form, a name has no
  // field, or the pages list too many annotations.
  bool Flatten(const PTableau<Chaine>& names);

  // Why the last call failed, and what could not be drawn (see ZFieldDrawer).
  const ZDiagnostics& Diagnostics() const;

 private:
  struct Hidden;
  std::unique_ptr<Hidden> hidden_;
};

}  // namespace zforms
