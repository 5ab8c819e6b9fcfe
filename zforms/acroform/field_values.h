#pragma once

#include "zforms/platform/base/chaine.h"
#include "zforms/platform/base/containers.h"

namespace zforms {

class ZAcroFormField;

// What the field holds, as readers show it and as its data are exported: "/V" of the field
// or of an ancestor; without one, that of a widget without a name, as some producers put it
// there; without any, the state that "/AS" of a check box or radio button shows. UTF-8.
// Several values are those of an array; empty for a field without a value.
PTableau<Chaine> FieldValues(const ZAcroFormField& field);

}  // namespace zforms
