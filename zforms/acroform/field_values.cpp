#include "zforms/acroform/field_values.h"

#include "zforms/acroform/button_states.h"
#include "zforms/acroform/field.h"
#include "zforms/acroform/node_access.h"
#include "zforms/platform/text/text.h"

namespace zforms {
namespace {

bool IsButton(const ZAcroFormField& field) {
  const ZAcroFormField::eFieldType type = field.InheritedType();
  return type == ZAcroFormField::eCheckBox || type == ZAcroFormField::eRadioButton;
}

// The field or the widget whose "/V" counts; null when none has one.
const ZAcroFormField* HolderOfValue(const ZAcroFormField& field) {
  if (field.HasValue()) return &field;
  const ZAcroFormField* holder = nullptr;
  for (const ZAcroFormField* widget : field.Widgets()) {
    if (!widget->HasOwnValue()) continue;
    // Among several buttons, the value of the one that is on takes precedence.
    if (holder == nullptr || (IsButton(field) && holder->Value() == "Off")) holder = widget;
  }
  return holder;
}

const ZPDFNode* ValueNode(const ZAcroFormField& field) {
  for (const ZAcroFormField* at = &field; at != nullptr; at = at->Parent()) {
    if (const ZPDFNode* value = EntryAt(*at->Dico(), "/V")) return value;
  }
  return nullptr;
}

}  // namespace

PTableau<Chaine> FieldValues(const ZAcroFormField& field) {
  const ZAcroFormField* const holder = HolderOfValue(field);
  if (holder == nullptr) {
    const Chaine shown = IsButton(field) ? ShownState(field) : Chaine();
    return shown.IsEmpty() ? PTableau<Chaine>() : PTableau<Chaine>{PDFNameToUTF8(shown)};
  }
  const auto* array = NodeCast<ZPDFNodeArray>(ValueNode(*holder));
  if (array == nullptr) return {holder->ValueUTF8()};
  PTableau<Chaine> values;
  for (size_t i = 0; i < array->Size(); i++) {
    if (const ZPDFNode* value = array->GetTargetAt(i)) values.push_back(PDFTextToUTF8(BestText(value)));
  }
  return values;
}

}  // namespace zforms
