#pragma once

#include "zforms/platform/base/chaine.h"
#include "zforms/platform/base/containers.h"

namespace zforms {

class ZAcroFormField;

// The value of the field, as readers show it and as it is exported: "/V" of the field or of an ancestor; else "/V" of a
// widget without a name, where some producers write it; else the state that "/AS" of a check box or radio button shows.
// UTF-8. Several values are those of an array; empty for a field without a value.
PTableau<Chaine> FieldValues(const ZAcroFormField& field);

}  // namespace zforms
