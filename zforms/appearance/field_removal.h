#pragma once

#include "zforms/appearance/element_removal.h"

namespace zforms {

class ZAcroForm;

// Takes the fields out of the form's tree, with the groups that are empty then, and out of "/CO". With the last field,
// the form goes; `keeps_fonts` leaves "/DR" and "/DA" of it, which other annotations use. With the last signature
// field,
// "/SigFlags" goes, and "/DocMDP" of the catalog's permissions. The widgets on the pages stay. Adds groups that go to
// `gone`.
void RemoveFields(ZAcroForm& form, DictionarySet* gone, bool keeps_fonts);

}  // namespace zforms
