#pragma once

#include <memory>

#include "zforms/platform/base/chaine.h"
#include "zforms/platform/base/containers.h"
#include "zforms/platform/base/export.h"

namespace zforms {

class ZAcroForm;
class ZDiagnostics;

// ZFormFlattener makes what the fields of a form show part of its pages (ISO 32000-1 12.5.5), and takes the fields out:
// their widgets leave "/Annots", they leave the form, and the structure tree no longer refers to them. When no field is
// left, the form itself is removed; when no signature field is left, the keys of the form that concern signatures are
// removed. Other annotations stay.
//
// A page gets what viewers show on the screen: widgets that are hidden or have the flag NoView are removed and leave
// nothing on the page, even if they would be printed. Widgets without an appearance are drawn first; if the form asks
// viewers to draw its fields ("/NeedAppearances"), all widgets are drawn. The content streams that a page has do not
// change, and neither do resources that pages share.
//
// It does not ask whether the form is signed; signatures are no longer valid afterwards. Nothing is saved. It does not
// own the form, which outlives it. Fields and infos that were read from the form before still show the old state: save
// the document and load it again to read the new one. One thread at a time.
class ZFORMS_API ZFormFlattener {
 public:
  explicit ZFormFlattener(ZAcroForm& form);
  ~ZFormFlattener();
  ZFormFlattener(const ZFormFlattener&) = delete;
  ZFormFlattener& operator=(const ZFormFlattener&) = delete;

  // Flattens every field, and the widgets on the pages that belong to none.
  bool FlattenAll();
  // Flattens the fields of these full names, in UTF-8, and the fields below them.
  //
  // Both return false when nothing changed, with the reason in Diagnostics(): the document has no form, or no field of
  // one of the names, or too many pages share the same annotations.
  bool Flatten(const PTableau<Chaine>& names);

  // Why the last call failed, and what could not be drawn (see ZFieldDrawer).
  const ZDiagnostics& Diagnostics() const;

 private:
  struct Hidden;
  std::unique_ptr<Hidden> hidden_;
};

}  // namespace zforms
