#pragma once

#include "zforms/platform/base/chaine.h"
#include "zforms/platform/base/containers.h"

namespace zforms {

class ZAcroFormField;

// The states of check boxes and radio groups: the names, without slash, of the appearances in "/AP" "/N" of a field's
// widgets (ISO 32000-1 12.7.4.2.3 and 12.7.4.2.4).

// Every state of the field's widgets except "Off", each once, in the order of the widgets.
PTableau<Chaine> ButtonStates(const ZAcroFormField& field);
// For each widget, its first state other than "Off"; empty for a widget without such a state.
PTableau<Chaine> FirstStates(const ZAcroFormField& field);

// Returns the state that a value selects, as bytes of a name. `value` is UTF-8 and is tried, in this order, as: "Off",
// also for the empty value; a state of one of the widgets; an export value in "/Opt", which selects the state of the
// widget with the same index; "false" for "Off"; "true" for the state of a button that has only one. Any other value is
// returned as a name, and `*known` becomes false.
Chaine ButtonStateFor(const ZAcroFormField& field, const Chaine& value, bool* known);

// Sets "/AS" of the widgets of the fields, which share one full name, so that they show the state. Writes only changes.
//
// A widget with appearances for states is switched on when it has one for this state, else off; it does not change when
// "/AS" already is this state. A widget without them is switched on for every state; but among several radio buttons,
// only one that already shows the state stays on. When several radio buttons that are not in unison (ISO 32000-1 table
// 226) have the state, only one is switched on: the one that was on, else the first. An absent "/AS" of a widget
// without appearances for states is not set to "/Off".
void ShowButtonState(const PTableau<ZAcroFormField*>& fields, const Chaine& state);
void ShowButtonState(ZAcroFormField& field, const Chaine& state);

// The value of "/AS" of the first widget that is on and has an appearance for this state; empty when there is none.
Chaine ShownState(const ZAcroFormField& field);

// The values of "/AS", except "Off", in the widgets that have no appearance for a state other than "Off".
PTableau<Chaine> StatesWithoutAppearance(const ZAcroFormField& field);

}  // namespace zforms
