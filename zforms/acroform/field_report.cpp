#include "zforms/acroform/field_report.h"

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

constexpr uint32_t kComboFlag = 0x20000;

struct FlagName {
  uint32_t mask;
  std::string_view types;  // the types for which the bit has this meaning; empty for all
  std::string_view word;
};

// ISO 32000-1 tables 221, 226, 228 and 230.
constexpr FlagName kFlagNames[] = {
    {0x1, "", "read-only"},
    {0x2, "", "required"},
    {0x4, "", "no-export"},
    {0x1000, "text", "multi-line"},
    {0x2000, "text", "password"},
    {0x100000, "text", "file"},
    {0x1000000, "text", "comb"},
    {0x2000000, "text", "rich"},
    {0x4000, "radio", "no-toggle-to-off"},
    {0x2000000, "radio", "in-unison"},
    {0x40000, "combo", "editable"},
    {0x80000, "combo list", "sorted"},
    {0x200000, "list", "multi-select"},
};

std::string UTF8(const Chaine& text) { return PDFTextToUTF8(text).ToString(); }

std::string TypeName(const ZAcroFormField& field) {
  switch (field.InheritedType()) {
    case ZAcroFormField::ePushButton: return "push";
    case ZAcroFormField::eCheckBox: return "check";
    case ZAcroFormField::eRadioButton: return "radio";
    case ZAcroFormField::eText: return "text";
    case ZAcroFormField::eChoice: return (field.InheritedFlags() & kComboFlag) != 0 ? "combo" : "list";
    case ZAcroFormField::eOtherField: break;
  }
  return field.IsSignature() ? "sig" : "none";
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

bool HasNamedKids(const ZAcroFormField& field) {
  for (uint32_t i = 0; i < field.Size(); i++) {
    if (field.GetAt(i)->HasName()) return true;
  }
  return false;
}

class Reporter {
 public:
  explicit Reporter(ZAcroForm& form) : form_(form), pages_(*form.Parser()) {
    form.Fields();  // loads the objects that contain the fields
    objects_ = ObjectsByValue(*form.Parser());
    const PTableau<const ZAcroFormField*> unlisted = form.PageFields();
    unlisted_.insert(unlisted.begin(), unlisted.end());
  }

  std::vector<FieldReport> Run() {
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
    FieldReport report;
    report.is_listed = is_listed;
    report.field = &field;
    report.name = field.FullNameUTF8().ToString();
    report.type = TypeName(field);
    report.flags = field.InheritedFlags();
    ReadValues(field, &report);
    ReadWidgets(field, &report);
    if (const auto found = objects_.find(field.Dico()); found != objects_.end()) report.object = found->second;
    report.tool_tip = UTF8(field.Dico()->GetStringValue("/TU"));
    const ZPDFNode* max_length = Inherited(field, "/MaxLen");
    report.max_length = max_length == nullptr ? 0 : max_length->GetUIntValue();
    reports_.push_back(std::move(report));
  }

  static void ReadValues(const ZAcroFormField& field, FieldReport* report) {
    const ZPDFNode* value = Inherited(field, "/V");
    report->value_is_array = NodeCast<ZPDFNodeArray>(value) != nullptr;
    for (const Chaine& text : FieldValues(field)) report->values.push_back(text.ToString());
    const ZPDFNode* default_value = Inherited(field, "/DV");
    report->default_is_array = NodeCast<ZPDFNodeArray>(default_value) != nullptr;
    if (default_value != nullptr) report->defaults = Texts(default_value, field.DefaultValueUTF8());
    for (const ZAcroFormFieldOption& option : field.Options()) {
      report->options.emplace_back(UTF8(option.ExportValue()), UTF8(option.DisplayName()));
    }
  }

  void ReadWidgets(const ZAcroFormField& field, FieldReport* report) {
    const PTableau<const ZAcroFormField*> widgets = field.Widgets();
    report->widgets = widgets.size();
    for (const ZAcroFormField* widget : widgets) {
      if (report->page == 0) report->page = pages_.PageOf(widget->Dico());
    }
    if (report->type != "check" && report->type != "radio" && report->type != "push") return;
    for (const Chaine& state : ButtonStates(field)) report->states.push_back(PDFNameToUTF8(state).ToString());
  }

  ZAcroForm& form_;
  PageIndex pages_;
  std::unordered_map<const ZPDFNode*, ZPDFObjectIdentifier> objects_;
  std::unordered_set<const ZAcroFormField*> unlisted_;
  std::vector<FieldReport> reports_;
};

}  // namespace

std::vector<FieldReport> ReportFields(ZAcroForm& form) { return Reporter(form).Run(); }

std::unordered_map<const ZPDFNode*, ZPDFObjectIdentifier> ObjectsByValue(const ZPDFParser& parser) {
  std::unordered_map<const ZPDFNode*, ZPDFObjectIdentifier> objects;
  for (const ZPDFObjectLocation& location : parser.ObjectLocations()) {
    if (location.object == nullptr || location.object->Size() == 0) continue;
    objects.emplace(std::as_const(*location.object).GetDirectAt(0), location.id);
  }
  return objects;
}

std::string FlagWords(const FieldReport& field) {
  std::string words;
  for (const FlagName& flag : kFlagNames) {
    if ((field.flags & flag.mask) == 0) continue;
    if (!flag.types.empty() && flag.types.find(field.type) == std::string_view::npos) continue;
    if (!words.empty()) words += ", ";
    words += flag.word;
  }
  return words;
}

}  // namespace zforms
