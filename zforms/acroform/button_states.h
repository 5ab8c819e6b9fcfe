#pragma once

#include "zforms/platform/base/chaine.h"
#include "zforms/platform/base/containers.h"

namespace zforms {

class ZAcroFormField;

// The states of check boxes and radio groups: the names, without slash, under
// which the widgets of a field have an appearance in "/AP" "/N" (ISO 32000-1
// 12.7.4.2.3 and 12.7.4.2.4).

// Every state of the field's widgets but "Off", each once, in their order.
PTableau<Chaine> ButtonStates(const ZAcroFormField& field);
// The first state of each widget but "Off"; empty for a widget without one.
PTableau<Chaine> FirstStates(const ZAcroFormField& field);

// The state that a value stands for, as bytes of a name. `value` is UTF-8 and
// means, in this order: "Off", which the empty value means too; a state of one of
// the widgets; an export value in "/Opt", which stands for the state of the widget
// at its place; "false", which is "Off", and "true", which is the state of a button
// that has only one. Any other value is its own name; `*known` becomes false then.
Chaine ButtonStateFor(const ZAcroFormField& field, const Chaine& value, bool* known);

// Sets "/AS" of the widgets of the fields, which have one full name, so that they show
// the state. Writes only what changes.
//
// A widget with appearances for states goes on when it has one for this state, else
// off. One without them takes any state, unless it is one of several radio buttons:
// then only the one that shows the state already. Of radio buttons with the same state
// that are not in unison (ISO 32000-1 table 226) a single one goes on: the one that
// was on, else the first. Two things stay as they are: an absent "/AS" that would
// become "/Off", and an "/AS" that is the state already.
void ShowButtonState(const PTableau<ZAcroFormField*>& fields, const Chaine& state);
void ShowButtonState(ZAcroFormField& field, const Chaine& state);

// Whether "/AS" of a widget of the field names the state, be there an appearance or not.
bool ShowsState(const ZAcroFormField& field, const Chaine& state);

// Whether a widget of the field shows an appearance of its own, other than "Off".
bool ShowsAState(const ZAcroFormField& field);

// The states that "/AS" names of the widgets without appearances for states, but "Off".
PTableau<Chaine> StatesWithoutAppearance(const ZAcroFormField& field);

}  // namespace zforms
