#pragma once

#include "platform/chaine.h"
#include "platform/containers.h"
#include "platform/export.h"

namespace zforms {

class ZAcroFormField;

// The states of check boxes and radio groups: the names, without slash, under
// which the widgets of a field have an appearance in "/AP" "/N" (ISO 32000-1
// 12.7.4.2.3 and 12.7.4.2.4).

// Every state of the field's widgets but "Off", each once, in their order.
ZFORMS_API PTableau<Chaine> ButtonStates(const ZAcroFormField& field);

// The state that a value stands for, as bytes of a name. `value` is UTF-8 and
// means, in this order: "Off", which the empty value means too; a state of one of
// the widgets; an export value in "/Opt", which stands for the state of the widget
// at its place; "false", which is "Off", and "true", which is the state of a button
// that has only one. Any other value is its own name; `*known` becomes false then.
ZFORMS_API Chaine ButtonStateFor(const ZAcroFormField& field, const Chaine& value, bool* known);

// Sets "/AS" of each widget to the state where it has such an appearance, else to
// "/Off". Writes only what changes.
ZFORMS_API void ShowButtonState(ZAcroFormField& field, const Chaine& state);

}  // namespace zforms
