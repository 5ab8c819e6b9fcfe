#include "zforms/acroform/field.h"

#include <utility>

#include "zforms/acroform/field_tree.h"
#include "zforms/acroform/form_infos.h"
#include "zforms/acroform/node_access.h"
#include "zforms/pdf/identifier_node.h"
#include "zforms/pdf/string_node.h"
#include "zforms/platform/text/text.h"

namespace zforms {

ZAcroFormField::ZAcroFormField(ZPDFNodeDictionary* dictionary, const ZAcroFormFormInfos* form,
                               const ZAcroFormField* parent, Bare)
    : dictionary_(dictionary), form_(form), parent_(parent) {}

ZAcroFormField::ZAcroFormField(ZPDFNodeDictionary* dictionary, const ZAcroFormFormInfos* form,
                               const ZAcroFormField* parent)
    : ZAcroFormField(dictionary, form, parent, Bare()) {
  FieldTreeBuilder(form, nullptr).Build(*this, ArrayAt(*dictionary, "/Kids"), this);
}

ZAcroFormField::ZAcroFormField(const ZAcroFormField&) = default;
ZAcroFormField& ZAcroFormField::operator=(const ZAcroFormField&) = default;
ZAcroFormField::~ZAcroFormField() = default;

// The nearest value of the key: of this field or else of its nearest ancestor that has the key.
ZAcroFormField::Inherited ZAcroFormField::Nearest(std::string_view key) const {
  for (const ZAcroFormField* field = this; field != nullptr; field = field->parent_) {
    if (const ZPDFNode* value = EntryAt(*field->dictionary_, key)) return {field, value};
  }
  return {};
}

// --- names ---

Chaine ZAcroFormField::Name() const { return dictionary_->StringText("/T"); }

bool ZAcroFormField::HasName() const { return HasEntry(*dictionary_, "/T"); }

Chaine ZAcroFormField::MappingName() const { return dictionary_->GetStringValue("/TM"); }

bool ZAcroFormField::HasMappingName() const { return HasEntry(*dictionary_, "/TM"); }

// Appends the names of the ancestors, then the name of this field. Recursion is safe: FieldTreeBuilder bounds the depth
// of the tree.
template <class NameOf>
void ZAcroFormField::JoinNames(Chaine* full_name, NameOf name_of) const {
  if (parent_ != nullptr) parent_->JoinNames(full_name, name_of);
  if (HasName()) AppendPartialName(full_name, true, name_of(Name()));
}

Chaine ZAcroFormField::FullName() const {
  Chaine full_name;
  JoinNames(&full_name, [](const Chaine& name) -> const Chaine& { return name; });
  return full_name;
}

Chaine ZAcroFormField::FullNameUTF8() const {
  Chaine full_name;
  JoinNames(&full_name, [](const Chaine& name) { return PDFTextToUTF8(name); });
  return full_name;
}

// --- type and flags ---

ZAcroFormField::NearestType ZAcroFormField::TypeName() const {
  for (const ZAcroFormField* field = this; field != nullptr; field = field->parent_) {
    const std::string_view name = field->dictionary_->IdentifierText("/FT");
    if (name.starts_with('/') || field->HasOwnType()) return {field, name};
  }
  return {};
}

// Calls `flags_of` only for buttons, whose kinds the flags distinguish.
template <class FlagsOf>
ZAcroFormField::eFieldType ZAcroFormField::TypeOf(std::string_view type, FlagsOf flags_of) {
  if (type == "/Tx") return eText;
  if (type == "/Btn") {
    const uint32_t flags = flags_of();
    if ((flags & kRadioFlag) != 0) return eRadioButton;
    return (flags & kPushButtonFlag) != 0 ? ePushButton : eCheckBox;
  }
  return type == "/Ch" ? eChoice : eOtherField;
}

ZAcroFormField::eFieldType ZAcroFormField::Type() const {
  const NearestType type = TypeName();
  return TypeOf(type.name, [&] { return type.holder->Flags(); });
}

ZAcroFormField::eFieldType ZAcroFormField::InheritedType() const {
  return TypeOf(TypeName().name, [&] { return InheritedFlags(); });
}

bool ZAcroFormField::HasType() const { return HasNearest("/FT"); }

bool ZAcroFormField::HasOwnType() const { return HasEntry(*dictionary_, "/FT"); }

bool ZAcroFormField::IsSignature() const { return TypeName().name == "/Sig"; }

uint32_t ZAcroFormField::Flags() const { return dictionary_->GetUIntValue("/Ff"); }

bool ZAcroFormField::HasFlags() const { return HasNearest("/Ff"); }

bool ZAcroFormField::HasOwnFlags() const { return HasEntry(*dictionary_, "/Ff"); }

uint32_t ZAcroFormField::InheritedFlags() const {
  const Inherited flags = Nearest("/Ff");
  return flags.holder == nullptr ? 0 : flags.value->GetUIntValue();
}

void ZAcroFormField::SetFlags(uint32_t flags) {
  if (flags != Flags()) dictionary_->SetValue("/Ff", flags);
}

void ZAcroFormField::SetReadOnly(bool read_only) {
  SetFlags(read_only ? Flags() | kReadOnlyFlag : Flags() & ~kReadOnlyFlag);
  ZAcroFormFieldCollection::SetReadOnly(read_only);
}

// --- values ---

// The nearest value of the key, as text.
Chaine ZAcroFormField::TextAt(const char* key) const { return BestText(Nearest(key).value); }

Chaine ZAcroFormField::UTF8At(const char* key) const {
  if (const Chaine own = dictionary_->StringText(key); !own.IsEmpty()) return PDFTextToUTF8(own);
  const ZPDFNode* value = Nearest(key).value;
  const bool is_name = NodeCast<ZPDFNodeIdentifier>(value) != nullptr;
  return is_name ? PDFNameToUTF8(BestText(value)) : PDFTextToUTF8(BestText(value));
}

void ZAcroFormField::SetTextAt(const char* key, const Chaine& value, eFieldType type, bool as_name) {
  if (as_name) {
    dictionary_->SetIdentifier(key, "/" + value);
  } else {
    dictionary_->SetValue(key, value);
  }
  if (type == eChoice) dictionary_->RemoveValue("/I");
}

Chaine ZAcroFormField::Value() const { return TextAt("/V"); }

Chaine ZAcroFormField::ValueUTF8() const { return UTF8At("/V"); }

bool ZAcroFormField::HasValue() const { return HasNearest("/V"); }

bool ZAcroFormField::HasOwnValue() const { return HasEntry(*dictionary_, "/V"); }

PTableau<Chaine> ZAcroFormField::Values() const {
  PTableau<Chaine> values;
  const ZPDFNode* value = Nearest("/V").value;
  if (value == nullptr) return values;
  const auto* array = NodeCast<ZPDFNodeArray>(value);
  if (array == nullptr) values.push_back(BestText(value));
  for (size_t i = 0; array != nullptr && i < array->Size(); i++) values.push_back(BestText(array->GetTargetAt(i)));
  return values;
}

void ZAcroFormField::SetValue(const Chaine& value) {
  if (value == Value()) return;
  const eFieldType type = Type();
  SetTextAt("/V", value, type, type == eCheckBox || type == eRadioButton);
}

void ZAcroFormField::SetValueUTF8(const Chaine& text) {
  const eFieldType type = Type();
  const bool is_name = type == eCheckBox || type == eRadioButton;
  SetValue(is_name ? UTF8ToPDFName(text) : UTF8ToPDFText(text));
}

void ZAcroFormField::SetValues(const PTableau<Chaine>& values) {
  if (values.size() <= 1) {
    SetValue(values.empty() ? Chaine() : values[0]);
    return;
  }
  if (values == Values()) return;
  auto* array = new ZPDFNodeArray(dictionary_->ObjectProvider());
  for (const Chaine& value : values) array->AppendValue(value);
  dictionary_->SetValue("/V", array);
  dictionary_->RemoveValue("/I");
}

Chaine ZAcroFormField::DefaultValue() const { return TextAt("/DV"); }

Chaine ZAcroFormField::DefaultValueUTF8() const { return UTF8At("/DV"); }

bool ZAcroFormField::HasDefaultValue() const { return HasNearest("/DV"); }

bool ZAcroFormField::HasOwnDefaultValue() const { return HasEntry(*dictionary_, "/DV"); }

void ZAcroFormField::SetDefaultValue(const Chaine& value) {
  if (value == DefaultValue()) return;
  const eFieldType type = Type();
  SetTextAt("/DV", value, type, type == eCheckBox);
}

Chaine ZAcroFormField::ValueRichText() const { return BestText(dictionary_->GetTarget("/RV")); }

bool ZAcroFormField::HasValueRichText() const { return HasNearest("/RV"); }

bool ZAcroFormField::HasOwnValueRichText() const { return HasEntry(*dictionary_, "/RV"); }

void ZAcroFormField::SetValueRichText(const Chaine& value) {
  if (value != Value()) dictionary_->SetValue("/RV", value);
}

PTableau<ZAcroFormFieldOption> ZAcroFormField::Options() const {
  PTableau<Option> options;
  const auto* array = NodeCast<ZPDFNodeArray>(Nearest("/Opt").value);
  for (size_t i = 0; array != nullptr && i < array->Size(); i++) {
    const ZPDFNode* element = array->GetTargetAt(i);
    if (const auto* pair = NodeCast<ZPDFNodeArray>(element)) {
      options.emplace_back(BestText(pair->GetTargetAt(0)), BestText(pair->GetTargetAt(1)));
    } else {
      options.emplace_back(BestText(element), Chaine());
    }
  }
  return options;
}

bool ZAcroFormField::HasOptions() const { return HasNearest("/Opt"); }

bool ZAcroFormField::HasOwnOptions() const { return HasEntry(*dictionary_, "/Opt"); }

// --- appearance ---

Chaine ZAcroFormField::DefaultAppearance() const {
  if (const ZPDFNode* own = Nearest("/DA").value) return own->GetStringValue();
  const ZAcroFormFormInfos* form = NearestForm();
  return form == nullptr ? Chaine() : form->DefaultDefaultAppearance();
}

bool ZAcroFormField::HasOwnDefaultAppearance() const { return HasEntry(*dictionary_, "/DA"); }

int32_t ZAcroFormField::Quadding() const {
  if (const ZPDFNode* own = Nearest("/Q").value) return own->GetIntValue();
  const ZAcroFormFormInfos* form = NearestForm();
  return form == nullptr ? 0 : form->DefaultQuadding();
}

bool ZAcroFormField::HasOwnQuadding() const { return HasEntry(*dictionary_, "/Q"); }

const ZAcroFormFormInfos* ZAcroFormField::NearestForm() const {
  const ZAcroFormField* field = this;
  while (field->form_ == nullptr && field->parent_ != nullptr) field = field->parent_;
  return field->form_;
}

ZAcroFormAction* ZAcroFormField::GetAction() { return action_.Over(DictionaryAt(*dictionary_, "/A")); }

const ZAcroFormAction* ZAcroFormField::GetAction() const { return action_.Over(DictionaryAt(*dictionary_, "/A")); }

bool ZAcroFormField::HasOwnAction() const { return HasEntry(*dictionary_, "/A"); }

bool ZAcroFormField::IsSubmitFormButton() const {
  if (Type() != ePushButton) return false;
  const ZAcroFormAction* action = GetAction();
  return action != nullptr && action->IsSubmitForm();
}

ZAcroFormAnnotation* ZAcroFormField::GetAnnotation() { return annotation_.Over(dictionary_); }

const ZAcroFormAnnotation* ZAcroFormField::GetAnnotation() const { return annotation_.Over(dictionary_); }

bool ZAcroFormField::HasOwnAnnotation() const {
  return annotation_.IsBuilt() || dictionary_->GetIdentifier("/Subtype") == "/Widget";
}

// "/Subtype" does not decide by itself: some producers omit it, others write it in fields whose widgets are their kids.
bool ZAcroFormField::IsWidget() const {
  const bool is_placed = HasEntry(*dictionary_, "/Rect") || HasEntry(*dictionary_, "/AP");
  const std::string_view subtype = dictionary_->IdentifierText("/Subtype");
  if (!subtype.starts_with('/') && !HasEntry(*dictionary_, "/Subtype")) return is_placed;
  return subtype == "/Widget" && (is_placed || Size() == 0);
}

void ZAcroFormField::CollectWidgets(PTableau<ZAcroFormField*>* widgets) {
  if (IsWidget()) widgets->push_back(this);
  for (uint32_t i = 0; i < Size(); i++) {
    if (GetAt(i)->Name().IsEmpty()) GetAt(i)->CollectWidgets(widgets);
  }
}

PTableau<ZAcroFormField*> ZAcroFormField::Widgets() {
  PTableau<ZAcroFormField*> widgets;
  CollectWidgets(&widgets);
  return widgets;
}

PTableau<const ZAcroFormField*> ZAcroFormField::Widgets() const {
  const PTableau<ZAcroFormField*> widgets = const_cast<ZAcroFormField*>(this)->Widgets();
  return {widgets.begin(), widgets.end()};
}

void ZAcroFormField::Hide(bool hide) {
  GetAnnotation()->Hide(hide);
  for (ZAcroFormField* widget : Widgets()) widget->GetAnnotation()->Hide(hide);
}

void ZAcroFormField::SetCaption(CaptionSetter setter, const Chaine& caption) {
  const PTableau<ZAcroFormField*> widgets = Widgets();
  for (ZAcroFormField* widget : widgets) (widget->GetAnnotation()->*setter)(caption);
  // A field that only groups its widgets gets no "/MK".
  if (widgets.empty() || GetAnnotation()->HasAppearanceCharacteristics()) (GetAnnotation()->*setter)(caption);
}

void ZAcroFormField::SetNormalCaption(const Chaine& caption) {
  SetCaption(&ZAcroFormAnnotation::SetNormalCaption, caption);
}

void ZAcroFormField::SetRolloverCaption(const Chaine& caption) {
  SetCaption(&ZAcroFormAnnotation::SetRolloverCaption, caption);
}

void ZAcroFormField::SetAlternateCaption(const Chaine& caption) {
  SetCaption(&ZAcroFormAnnotation::SetAlternateCaption, caption);
}

}  // namespace zforms
