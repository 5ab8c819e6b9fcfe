#include "zforms/acroform/field_report.h"

#include <algorithm>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <utility>

#include "zforms/acroform/acro_form.h"
#include "zforms/acroform/button_states.h"
#include "zforms/acroform/field.h"
#include "zforms/acroform/field_values.h"
#include "zforms/acroform/page_index.h"
#include "zforms/pdf/array_node.h"
#include "zforms/pdf/dictionary_node.h"
#include "zforms/pdf/indirect_object.h"
#include "zforms/pdf/parser/parser.h"
#include "zforms/platform/text/text.h"

namespace zforms {
namespace {

std::string UTF8(const Chaine& text) { return PDFTextToUTF8(text).ToString(); }

ZFormField::Kind KindOf(const ZAcroFormField& field) {
  using Kind = ZFormField::Kind;
  switch (field.InheritedType()) {
    case ZAcroFormField::ePushButton: return Kind::kPushButton;
    case ZAcroFormField::eCheckBox: return Kind::kCheckBox;
    case ZAcroFormField::eRadioButton: return Kind::kRadioButton;
    case ZAcroFormField::eText: return Kind::kText;
    case ZAcroFormField::eChoice:
      return (field.InheritedFlags() & ZAcroFormField::kComboFlag) != 0 ? Kind::kComboBox : Kind::kListBox;
    case ZAcroFormField::eOtherField: break;
  }
  return field.IsSignature() ? Kind::kSignature : Kind::kNone;
}

// The nearest value of a key: of the field or else of an ancestor.
const ZPDFNode* Inherited(const ZAcroFormField& field, std::string_view key) {
  for (const ZAcroFormField* at = &field; at != nullptr; at = at->Parent()) {
    if (const ZPDFNode* value = at->Dico()->GetTarget(key)) return value;
  }
  return nullptr;
}

// The texts of an array; `single` for a value that is not an array.
std::vector<std::string> Texts(const ZPDFNode* value, const Chaine& single) {
  const auto* array = NodeCast<ZPDFNodeArray>(value);
  if (array == nullptr) return {single.ToString()};
  std::vector<std::string> texts;
  for (size_t i = 0; i < array->Size(); i++) {
    if (const ZPDFNode* element = array->GetTargetAt(i)) texts.push_back(UTF8(element->GetStringValue()));
  }
  return texts;
}

ZFormField::Widget WidgetOf(const ZAcroFormField& field, uint32_t page) {
  const auto* const rectangle = NodeCast<ZPDFNodeArray>(field.Dico()->GetTarget("/Rect"));
  if (rectangle == nullptr || rectangle->Size() != 4) return {page};
  double at[4];
  for (size_t i = 0; i < 4; i++) {
    const ZPDFNode* const number = rectangle->GetTargetAt(i);
    at[i] = number == nullptr ? 0 : number->GetDoubleValue();
  }
  return {page, std::min(at[0], at[2]), std::min(at[1], at[3]), std::max(at[0], at[2]), std::max(at[1], at[3])};
}

class Reporter {
 public:
  Reporter(ZAcroForm& form, std::vector<const ZAcroFormField*>* sources)
      : form_(form), pages_(*form.Parser()), sources_(sources) {
    form.Fields();  // loads the objects that contain the fields
    objects_ = ObjectsByValue(*form.Parser());
    const PTableau<const ZAcroFormField*> unlisted = form.PageFields();
    unlisted_.insert(unlisted.begin(), unlisted.end());
  }

  std::vector<ZFormField> Run() {
    for (uint32_t i = 0; i < form_.Fields().Size(); i++) Walk(*form_.Fields().GetAt(i), true);
    return std::move(reports_);
  }

 private:
  void Walk(ZAcroFormField& field, bool is_listed) {
    is_listed = is_listed && !unlisted_.contains(&field);
    if (!HasNamedKids(field)) {
      Report(field, is_listed);
      return;
    }
    for (uint32_t i = 0; i < field.Size(); i++) {
      if (field.GetAt(i)->HasName()) Walk(*field.GetAt(i), is_listed);
    }
  }

  void Report(ZAcroFormField& field, bool is_listed) {
    ZFormField report;
    report.is_listed = is_listed;
    report.name = field.FullNameUTF8().ToString();
    report.kind = KindOf(field);
    report.flags = field.InheritedFlags();
    ReportValues(field, &report);
    ReadDefaults(field, &report);
    ReadWidgets(field, &report);
    if (const auto found = objects_.find(field.Dico()); found != objects_.end()) {
      report.object_number = found->second.Number();
      report.generation = found->second.Generation();
    }
    report.label = UTF8(field.Dico()->GetStringValue("/TU"));
    const ZPDFNode* max_length = Inherited(field, "/MaxLen");
    report.max_length = max_length == nullptr ? 0 : max_length->GetUIntValue();
    reports_.push_back(std::move(report));
    if (sources_ != nullptr) sources_->push_back(&field);
  }

  static void ReadDefaults(const ZAcroFormField& field, ZFormField* report) {
    const ZPDFNode* default_value = Inherited(field, "/DV");
    report->default_is_array = NodeCast<ZPDFNodeArray>(default_value) != nullptr;
    if (default_value != nullptr) report->defaults = Texts(default_value, field.DefaultValueUTF8());
    for (const ZAcroFormFieldOption& option : field.Options()) {
      report->options.push_back({UTF8(option.ExportValue()), UTF8(option.DisplayName())});
    }
  }

  void ReadWidgets(const ZAcroFormField& field, ZFormField* report) {
    const PTableau<const ZAcroFormField*> widgets = field.Widgets();
    for (const ZAcroFormField* widget : widgets) {
      report->widgets.push_back(WidgetOf(*widget, pages_.PageOf(widget->Dico())));
    }
    using Kind = ZFormField::Kind;
    const Kind kind = report->kind;
    if (kind != Kind::kCheckBox && kind != Kind::kRadioButton && kind != Kind::kPushButton) return;
    for (const Chaine& state : ButtonStates(field)) report->states.push_back(PDFNameToUTF8(state).ToString());
  }

  ZAcroForm& form_;
  PageIndex pages_;
  std::vector<const ZAcroFormField*>* sources_;
  std::unordered_map<const ZPDFNode*, ZPDFObjectIdentifier> objects_;
  std::unordered_set<const ZAcroFormField*> unlisted_;
  std::vector<ZFormField> reports_;
};

}  // namespace

bool HasNamedKids(const ZAcroFormField& field) {
  for (uint32_t i = 0; i < field.Size(); i++) {
    if (field.GetAt(i)->HasName()) return true;
  }
  return false;
}

std::vector<ZFormField> ReportFields(ZAcroForm& form, std::vector<const ZAcroFormField*>* sources) {
  return Reporter(form, sources).Run();
}

void ReportValues(const ZAcroFormField& field, ZFormField* report) {
  report->value_is_array = NodeCast<ZPDFNodeArray>(Inherited(field, "/V")) != nullptr;
  report->values.clear();
  for (const Chaine& text : FieldValues(field)) report->values.push_back(text.ToString());
}

std::unordered_map<const ZPDFNode*, ZPDFObjectIdentifier> ObjectsByValue(const ZPDFParser& parser) {
  std::unordered_map<const ZPDFNode*, ZPDFObjectIdentifier> objects;
  for (const ZPDFObjectLocation& location : parser.ObjectLocations()) {
    if (location.object == nullptr || location.object->Size() == 0) continue;
    objects.emplace(std::as_const(*location.object).GetDirectAt(0), location.id);
  }
  return objects;
}

}  // namespace zforms
