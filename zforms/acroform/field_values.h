#pragma once

#include "zforms/platform/base/chaine.h"
#include "zforms/platform/base/containers.h"

namespace zforms {

class ZAcroFormField;

// The values of the field in UTF-8, as viewers show them and as they are exported. They are taken from "/V" of the
// field or of an ancestor; else from "/V" of a widget without a name, where some producers write it; else from the
// state in "/AS" of a check box or radio button. An array gives several values, a field without a value gives none.
PTableau<Chaine> FieldValues(const ZAcroFormField& field);

}  // namespace zforms
