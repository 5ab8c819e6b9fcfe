#pragma once

#include "zforms/appearance/element_removal.h"

namespace zforms {

class ZAcroForm;

// Removes the fields in `gone`, and the groups that become empty, from the form's tree and from "/CO". Adds these
// groups to `gone`. The widgets stay on the pages. When no signature field is left, removes "/SigFlags" of the form and
// "/DocMDP" of the catalog's permissions. When no field is left, removes the form, unless `keeps_fonts` says that other
// annotations use its "/DR" and "/DA".
void RemoveFields(ZAcroForm& form, DictionarySet* gone, bool keeps_fonts);

}  // namespace zforms
