#include "zforms/acroform/button_states.h"

#include <algorithm>
#include <utility>

#include "zforms/acroform/field.h"
#include "zforms/acroform/node_access.h"
#include "zforms/platform/text/text.h"

namespace zforms {
namespace {

constexpr char kOff[] = "Off";

// The widget's appearances by state; null when it has none.
const ZPDFNodeDictionary* StateDictionary(const ZAcroFormField& widget) {
  const ZPDFNodeDictionary* appearances = DictionaryAt(*widget.Dico(), "/AP");
  return appearances == nullptr ? nullptr : DictionaryAt(*appearances, "/N");
}

// Every state of the widget except "Off".
PTableau<Chaine> OnStates(const ZAcroFormField& widget) {
  PTableau<Chaine> states;
  const ZPDFNodeDictionary* dictionary = StateDictionary(widget);
  for (size_t i = 0; dictionary != nullptr && i < dictionary->Size(); i++) {
    const Chaine state = WithoutSlashes(Chaine(dictionary->KeyAt(i)));
    if (!state.IsEmpty() && state != kOff) states.push_back(state);
  }
  return states;
}

// The state of the widget with the same index as the export value in "/Opt"; empty without one.
Chaine StateOfExportValue(const ZAcroFormField& field, const Chaine& value) {
  const PTableau<ZAcroFormFieldOption> options = field.Options();
  const PTableau<Chaine> states = FirstStates(field);
  for (size_t i = 0; i < options.size() && i < states.size(); i++) {
    if (!states[i].IsEmpty() && PDFTextToUTF8(options[i].ExportValue()) == value) return states[i];
  }
  return {};
}

}  // namespace

PTableau<Chaine> ButtonStates(const ZAcroFormField& field) {
  PUniqueT<Chaine> states;
  for (const ZAcroFormField* widget : field.Widgets()) {
    for (const Chaine& state : OnStates(*widget)) states.Add(state);
  }
  return {states.begin(), states.end()};
}

PTableau<Chaine> FirstStates(const ZAcroFormField& field) {
  PTableau<Chaine> first;
  for (const ZAcroFormField* widget : field.Widgets()) {
    const PTableau<Chaine> states = OnStates(*widget);
    first.push_back(states.empty() ? Chaine() : states[0]);
  }
  return first;
}

Chaine ButtonStateFor(const ZAcroFormField& field, const Chaine& value, bool* known) {
  *known = true;
  if (value.IsEmpty() || value == kOff) return kOff;
  const PTableau<Chaine> states = ButtonStates(field);
  for (const Chaine& state : states) {
    if (state == value) return state;
  }
  for (const Chaine& state : states) {
    if (PDFNameToUTF8(state) == value) return state;
  }
  Chaine state = StateOfExportValue(field, value);
  if (!state.IsEmpty()) return state;
  if (value == "false") return kOff;
  if (value == "true" && states.size() == 1) return states[0];
  *known = false;
  return UTF8ToPDFName(value);
}

namespace {

Chaine NamedState(const ZAcroFormField& widget) { return WithoutSlashes(widget.Dico()->GetIdentifier("/AS")); }

bool HasOnStates(const ZAcroFormField& widget) {
  const ZPDFNodeDictionary* states = StateDictionary(widget);
  if (states == nullptr) return false;
  return states->Size() > (states->Exist("/Off") ? 1U : 0U);
}

bool HasState(const ZAcroFormField& widget, const Chaine& state) {
  const ZPDFNodeDictionary* states = StateDictionary(widget);
  return states != nullptr && states->Exist("/" + state);
}

// True when only one of several radio buttons with the same state may be on.
bool IsOneByOne(const ZAcroFormField& radio) {
  return (radio.InheritedFlags() & ZAcroFormField::kRadiosInUnisonFlag) == 0;
}

// A widget, with what it shows and whether it can show the wanted state.
struct ShownWidget {
  ZAcroFormField* widget;
  Chaine named;
  bool can_show;
};

PTableau<ShownWidget> WidgetsFor(const PTableau<ZAcroFormField*>& fields, const Chaine& state, bool is_radio) {
  PTableau<ShownWidget> shown;
  for (ZAcroFormField* field : fields) {
    for (ZAcroFormField* widget : field->Widgets()) shown.push_back({widget, NamedState(*widget), true});
  }
  for (ShownWidget& each : shown) {
    if (HasOnStates(*each.widget)) {
      each.can_show = HasState(*each.widget, state);
    } else {
      each.can_show = !is_radio || shown.size() == 1 || each.named == state;
    }
  }
  return shown;
}

}  // namespace

void ShowButtonState(const PTableau<ZAcroFormField*>& fields, const Chaine& state) {
  const bool is_radio = !fields.empty() && fields[0]->InheritedType() == ZAcroFormField::eRadioButton;
  const PTableau<ShownWidget> widgets = WidgetsFor(fields, state, is_radio);
  const ShownWidget* chosen = nullptr;  // the only widget to switch on; null when several may be on
  if (is_radio && state != kOff && IsOneByOne(*fields[0])) {
    for (const ShownWidget& each : widgets) {
      if (!each.can_show) continue;
      if (chosen == nullptr || (each.named == state && chosen->named != state)) chosen = &each;
    }
  }
  for (const ShownWidget& each : widgets) {
    const bool goes_on = each.can_show && (chosen == nullptr || chosen == &each);
    // Leaves the widget unchanged when "/AS" already is the state, even if the widget has no appearance for it.
    if (!each.can_show && each.named == state) continue;
    const Chaine shown = goes_on ? state : Chaine(kOff);
    if (each.named == shown) continue;
    if (each.named.IsEmpty() && shown == kOff && !HasOnStates(*each.widget)) continue;
    each.widget->Dico()->SetIdentifier("/AS", "/" + shown);
  }
}

void ShowButtonState(ZAcroFormField& field, const Chaine& state) {
  ShowButtonState(PTableau<ZAcroFormField*>{&field}, state);
}

Chaine ShownState(const ZAcroFormField& field) {
  for (const ZAcroFormField* widget : field.Widgets()) {
    Chaine state = NamedState(*widget);
    if (!state.IsEmpty() && state != kOff && HasState(*widget, state)) return state;
  }
  return {};
}

PTableau<Chaine> StatesWithoutAppearance(const ZAcroFormField& field) {
  PUniqueT<Chaine> states;
  for (const ZAcroFormField* widget : field.Widgets()) {
    const Chaine shown = NamedState(*widget);
    if (!HasOnStates(*widget) && !shown.IsEmpty() && shown != kOff) states.Add(shown);
  }
  return {states.begin(), states.end()};
}

}  // namespace zforms
