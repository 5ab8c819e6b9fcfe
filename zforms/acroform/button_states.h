#pragma once

#include "zforms/platform/base/chaine.h"
#include "zforms/platform/base/containers.h"

namespace zforms {

class ZAcroFormField;

// The states of check boxes and radio groups: the names, without slash, of the appearances in "/AP" "/N" of a field's
// widgets (ISO 32000-1 12.7.4.2.3 and 12.7.4.2.4).

// Every state of the field's widgets except "Off", each once, in order.
PTableau<Chaine> ButtonStates(const ZAcroFormField& field);
// The first state of each widget except "Off"; empty for a widget without one.
PTableau<Chaine> FirstStates(const ZAcroFormField& field);

// The state for a value, as bytes of a name. `value` is UTF-8 and is tried, in this order, as: "Off", also for the
// empty value; a state of one of the widgets; an export value in "/Opt", which selects the state of the widget with the
// same index; "false" for "Off"; "true" for the state of a button that has only one. Any other value is returned as a
// name, and `*known` becomes false.
Chaine ButtonStateFor(const ZAcroFormField& field, const Chaine& value, bool* known);

// Sets "/AS" of the widgets of the fields, which share one full name, so that they show the state. Writes only changes.
//
// A widget with appearances for states is switched on when it has one for this state, else off. A widget without them
// accepts any state; but if it is one of several radio buttons, only the one that already shows the state is switched
// on. Of radio buttons with the same state that are not in unison (ISO 32000-1 table 226), only one is switched on: the
// one that was on, else the first. An absent "/AS" is not set to "/Off".
void ShowButtonState(const PTableau<ZAcroFormField*>& fields, const Chaine& state);
void ShowButtonState(ZAcroFormField& field, const Chaine& state);

// The first state other than "Off" that "/AS" of a widget of the field names and that the widget
// has an appearance for; empty when there is none.
Chaine ShownState(const ZAcroFormField& field);

// The values of "/AS" except "Off" of the widgets without appearances for states.
PTableau<Chaine> StatesWithoutAppearance(const ZAcroFormField& field);

}  // namespace zforms
