#pragma once

#include "zforms/appearance/element_removal.h"

namespace zforms {

class ZAcroForm;

// Removes the fields from the form's tree and from "/CO", and the groups that become empty. Removes the form with its
// last field; `keeps_fonts` keeps its "/DR" and "/DA", which other annotations use. With the last signature field it
// removes "/SigFlags", and "/DocMDP" from the catalog's permissions. The widgets stay on the pages. Adds the removed
// groups to `gone`.
void RemoveFields(ZAcroForm& form, DictionarySet* gone, bool keeps_fonts);

}  // namespace zforms
