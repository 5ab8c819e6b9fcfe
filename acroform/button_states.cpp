#include "acroform/button_states.h"

#include <utility>

#include "acroform/field.h"
#include "acroform/node_access.h"
#include "platform/text.h"

namespace zforms {
namespace {

constexpr char kOff[] = "Off";

// The widget's appearances by state; null when it has none.
const ZPDFNodeDictionary* StateDictionary(const ZAcroFormField& widget) {
  const ZPDFNodeDictionary* appearances = DictionaryAt(*widget.Dico(), "/AP");
  return appearances == nullptr ? nullptr : DictionaryAt(*appearances, "/N");
}

// Every state of the widget but "Off".
PTableau<Chaine> OnStates(const ZAcroFormField& widget) {
  PTableau<Chaine> states;
  const ZPDFNodeDictionary* dictionary = StateDictionary(widget);
  for (size_t i = 0; dictionary != nullptr && i < dictionary->Size(); i++) {
    const Chaine state = WithoutSlashes(Chaine(dictionary->KeyAt(i)));
    if (!state.IsEmpty() && state != kOff) states.push_back(state);
  }
  return states;
}

// The state of the widget at the place of the export value; empty without one.
Chaine StateOfExportValue(const ZAcroFormField& field, const Chaine& value) {
  const PTableau<ZAcroFormFieldOption> options = field.Options();
  const PTableau<const ZAcroFormField*> widgets = field.Widgets();
  for (size_t i = 0; i < options.size() && i < widgets.size(); i++) {
    if (PDFTextToUTF8(options[i].ExportValue()) != value) continue;
    const PTableau<Chaine> states = OnStates(*widgets[i]);
    if (!states.empty()) return states[0];
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

void ShowButtonState(ZAcroFormField& field, const Chaine& state) {
  for (ZAcroFormField* widget : field.Widgets()) {
    const ZPDFNodeDictionary* states = StateDictionary(*widget);
    const Chaine name = "/" + (states != nullptr && states->Exist("/" + state) ? state : Chaine(kOff));
    if (widget->Dico()->GetIdentifier("/AS") != name) widget->Dico()->SetIdentifier("/AS", name);
  }
}

}  // namespace zforms
