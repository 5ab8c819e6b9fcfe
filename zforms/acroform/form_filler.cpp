#include "zforms/acroform/form_filler.h"

#include <algorithm>

#include "zforms/acroform/button_states.h"
#include "zforms/acroform/field.h"
#include "zforms/acroform/field_filling.h"
#include "zforms/acroform/node_access.h"
#include "zforms/platform/base/ascii.h"
#include "zforms/platform/base/diagnostics.h"
#include "zforms/platform/text/characters.h"
#include "zforms/platform/text/text.h"
#include "zforms/platform/xml/xml.h"
#include "zforms/xfdf/field.h"

namespace zforms {
namespace {

bool IsToggle(ZAcroFormField::eFieldType type) {
  return type == ZAcroFormField::eCheckBox || type == ZAcroFormField::eRadioButton;
}

// The options that the given values, or the lines of a single one, select in a choice field with multiple selection.
// Empty when there are fewer than two, or when one of them is not an option.
PTableau<Chaine> SelectedOptions(const ZAcroFormField& field, const PTableau<Chaine>& given) {
  if ((field.InheritedFlags() & ZAcroFormField::kMultiSelectFlag) == 0) return {};
  PTableau<Chaine> values = given.size() == 1 ? LinesOf(given[0]) : given;
  if (values.size() < 2) return {};
  FDictionnary<Chaine> options;
  for (const ZAcroFormFieldOption& option : field.Options()) {
    options.Set(PDFTextToUTF8(option.ExportValue()), option.ExportValue());
  }
  for (Chaine& value : values) {
    const Chaine* option = options.Find(value);
    if (option == nullptr) return {};
    value = *option;
  }
  return values;
}

}  // namespace

FormFiller::FormFiller(ZAcroFormFieldCollection& fields, Target target, ZDiagnostics* diagnostics)
    : fields_(fields), target_(target), diagnostics_(diagnostics) {}

void FormFiller::Fill(const ZXFDFFieldCollection& from, const Chaine& above) {
  for (unsigned i = 0; i < from.Size(); i++) {
    const ZXFDFField& field = from[i];
    if (skips_empty_ && field.Size() == 0 && !field.HasValue() && !field.HasValueRichText()) continue;
    Chaine name = above;
    AppendPartialName(&name, true, field.Name());
    if (name.size() > ZXFDFFieldCollection::kMaxFullName) {
      diagnostics_->Warn(
          "a field name is too long; the field and the fields below it are left out: " + name.Mid(0, 60) + "...");
      continue;
    }
    FillField(field, name);
    Fill(field, name);
  }
}

void FormFiller::FillField(const ZXFDFField& from, const Chaine& name) {
  const bool rich = from.HasValueRichText() && target_ == Target::kValue;
  const bool is_group = from.Size() != 0 && !from.HasValue() && !rich;
  if (is_group) return;
  ZAcroFormField* field = Find(name);
  if (field == nullptr) {
    unmatched_.Add(name);
    return;
  }
  if (!from.HasValue() && !rich) return;
  if (IsRefused(*field, from)) {
    if (!from.Value().IsEmpty()) refused_.Add(name);
    return;
  }
  filled_++;
  if (rich) SetRichText(*field, from);
  if (!from.HasValue()) return;
  if (target_ == Target::kDefaultValue) {
    SetDefaultValue(*field, from.Value().AsChaine());
  } else {
    SetValue(*field, from.Values(), rich);
  }
}

// A name in ASCII has the same bytes in every encoding. Other names are compared by characters first, then by bytes,
// because some forms contain UTF-8 names.
ZAcroFormField* FormFiller::Find(const Chaine& name) {
  if (IsASCII(name)) {
    if (ZAcroFormField* field = fields_.Get(name)) return field;
  }
  if (index_ == nullptr) {
    index_ = std::make_unique<NameIndex>();
    AddToIndex(fields_, Chaine(), index_.get());
  }
  if (ZAcroFormField* const* found = index_->Find(name)) return *found;
  return fields_.Get(name);
}

void FormFiller::AddToIndex(ZAcroFormFieldCollection& fields, const Chaine& above, NameIndex* index) {
  for (uint32_t i = 0; i < fields.Size(); i++) {
    ZAcroFormField* field = fields.GetAt(i);
    Chaine name = above;
    AppendPartialName(&name, field->HasName(), PDFTextToUTF8(field->Name()));
    if (!field->Name().IsEmpty()) index->Set(name, field);
    AddToIndex(*field, name, index);
  }
}

// Signatures are made only by signing, and push buttons have no value.
bool FormFiller::IsRefused(const ZAcroFormField& field, const ZXFDFField& from) const {
  const ZAcroFormField::eFieldType type = field.InheritedType();
  if (type == ZAcroFormField::ePushButton) return true;
  if (type == ZAcroFormField::eOtherField && field.IsSignature()) return true;
  const bool holds_signature = NodeCast<ZPDFNodeDictionary>(field.Dico()->GetTarget("/V")) != nullptr;
  return holds_signature && from.HasValue();
}

void FormFiller::SetRichText(ZAcroFormField& field, const ZXFDFField& from) {
  field.SetValueRichText(UTF8ToPDFText(from.ValueRichText().AsChaine()));
}

Chaine FormFiller::ButtonState(const ZAcroFormField& field, const Chaine& value) {
  bool known = false;
  Chaine state = ButtonStateFor(field, value, &known);
  if (!known)
    diagnostics_->Warn("field \"" + field.FullNameUTF8() + "\": \"" + value + "\" is not a state of the button");
  return state;
}

void FormFiller::SetValue(ZAcroFormField& field, const PTableau<Chaine>& values, bool has_rich_text) {
  const Chaine& value = values.front();
  const ZAcroFormField::eFieldType type = field.Type();
  if (IsToggle(type)) {
    const Chaine state = ButtonState(field, value);
    // Does not write an empty value where there is none: both mean that nothing is chosen.
    if (!value.IsEmpty() || field.HasValue()) field.SetValue(state);
    ShowButtonState(field, state);
    return;
  }
  if (type == ZAcroFormField::eChoice) {
    const PTableau<Chaine> selected = SelectedOptions(field, values);
    if (!selected.empty()) {
      field.SetValues(selected);
      return;
    }
  }
  if (values.size() > 1) {
    diagnostics_->Warn("field \"" + field.FullNameUTF8() +
                       "\": the data contain several values; only the first is used");
  }
  FillText(field, value, has_rich_text, LineEnds::kWritten);
}

void FormFiller::SetDefaultValue(ZAcroFormField& field, const Chaine& value) {
  if (IsToggle(field.Type())) {
    field.SetDefaultValue(ButtonState(field, value));
  } else if (field.DefaultValueUTF8() != value) {
    field.SetDefaultValue(UTF8ToPDFText(value));
  }
}

}  // namespace zforms
