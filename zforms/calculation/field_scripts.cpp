#include "zforms/calculation/field_scripts.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "zforms/acroform/acro_form.h"
#include "zforms/acroform/field.h"
#include "zforms/calculation/form_scripts.h"
#include "zforms/calculation/script_call.h"
#include "zforms/pdf/array_node.h"
#include "zforms/pdf/dictionary_node.h"

namespace zforms {
namespace {

constexpr size_t kNamed = 5;
// Two numbers count as the same when their difference is at most this part of the greater one.
constexpr double kSame = 1e-9;

bool IsButton(const ZAcroFormField& field) {
  const ZAcroFormField::eFieldType type = field.InheritedType();
  return type == ZAcroFormField::eCheckBox || type == ZAcroFormField::eRadioButton;
}

// The nearest field with a name, at or above this one: for a widget, its field.
const ZAcroFormField* NamedOf(const ZAcroFormField* field) {
  while (field->Parent() != nullptr && !field->HasName()) field = field->Parent();
  return field;
}

// Adds the fields that can have a value, at and below this one: those without named kids.
void AddFieldsBelow(const ZAcroFormField& field, PTableau<const ZAcroFormField*>* fields) {
  bool is_group = false;
  for (uint32_t i = 0; i < field.Size(); i++) {
    if (!field.GetAt(i)->HasName()) continue;
    is_group = true;
    AddFieldsBelow(*field.GetAt(i), fields);
  }
  if (!is_group) fields->push_back(&field);
}

}  // namespace

FieldScripts::Host::~Host() = default;

FieldScripts::FieldScripts(ZAcroForm& form) {
  Read(form.Fields(), nullptr);
  if (!formulas_.empty()) AddSums(form);
}

FieldScripts::~FieldScripts() = default;

// Recursion is safe: the depth of the tree is bounded.
void FieldScripts::Read(ZAcroFormFieldCollection& fields, ZAcroFormField* named) {
  for (uint32_t i = 0; i < fields.Size(); i++) {
    ZAcroFormField& field = *fields.GetAt(i);
    ZAcroFormField* const own = named == nullptr || field.HasName() ? &field : named;
    if (field.Dico()->Exist("/AA")) ReadActions(field, own);
    Read(field, own);
  }
}

void FieldScripts::ReadActions(ZAcroFormField& field, ZAcroFormField* named) {
  const auto* actions = NodeCast<ZPDFNodeDictionary>(field.Dico()->GetTarget("/AA"));
  if (actions == nullptr) return;
  const auto skip = [&](const char* event) {
    skipped_.push_back("\"" + field.FullNameUTF8().ToString() + "\" (" + event + ")");
  };
  if (const auto script = ScriptAt(*actions, "/F")) {
    const auto call = ParseCall(WithoutComments(*script));
    auto format = call ? ValueFormat::Of(*call) : std::nullopt;
    if (format) formats_.emplace(&field, std::move(*format));
    if (!format) skip("format");
  }
  if (const auto script = ScriptAt(*actions, "/V")) {
    const auto call = ParseCall(WithoutComments(*script));
    const auto range = call ? ValueRange::Of(*call) : std::nullopt;
    if (range) ranges_.emplace(named, std::make_shared<const ValueRange>(*range));
    if (!range) skip("validate");
  }
  if (const auto script = ScriptAt(*actions, "/C")) {
    auto formula = FieldFormula::Of(*script);
    if (formula) formulas_.emplace(named, std::move(*formula));
    if (formula) by_dictionary_.emplace(field.Dico(), named);
    if (formula) by_dictionary_.emplace(named->Dico(), named);
    if (!formula) skip("calculate");
  }
}

// Adds the formulas of the fields that "/CO" of the form lists: viewers compute only these.
void FieldScripts::AddSums(ZAcroForm& form) {
  const auto* order =
      form.Infos() == nullptr ? nullptr : NodeCast<ZPDFNodeArray>(form.Infos()->Dico()->GetTarget("/CO"));
  if (order == nullptr) return;
  std::unordered_map<std::string, PTableau<const ZAcroFormField*>> by_name;
  for (const auto& [bytes, fields] : form.FlatFields()) {
    auto& all = by_name[fields.front()->FullNameUTF8().ToString()];
    for (const ZAcroFormField* field : fields) {
      if (NamedOf(field) == field) AddFieldsBelow(*field, &all);
    }
  }
  for (size_t i = 0; i < order->Size(); i++) {
    const auto found = by_dictionary_.find(order->GetTargetAt(i));
    if (found == by_dictionary_.end()) continue;
    const auto formula = formulas_.find(found->second);
    if (formula == formulas_.end()) continue;
    Sum sum{found->second, found->second->FullNameUTF8(), std::move(formula->second), {}};
    formulas_.erase(formula);
    for (const std::string& name : sum.formula.Names()) sum.operands.push_back(by_name[name]);
    sums_.push_back(std::move(sum));
  }
}

const ValueFormat* FieldScripts::FormatOf(const ZAcroFormField& widget) const {
  for (const ZAcroFormField* at = &widget; at != nullptr; at = at->HasName() ? nullptr : at->Parent()) {
    const auto found = formats_.find(at);
    if (found != formats_.end()) return &found->second;
  }
  return nullptr;
}

std::shared_ptr<const ValueRange> FieldScripts::RangeOf(const ZAcroFormField& field) const {
  const auto found = ranges_.find(&field);
  return found == ranges_.end() ? nullptr : found->second;
}

std::string FieldScripts::Skipped() const {
  if (skipped_.empty()) return {};
  std::string text =
      "the scripts of these fields were not run, because they do more than call a common "
      "function, such as AFNumber_Format: ";
  for (size_t i = 0; i < std::min(skipped_.size(), kNamed); i++) text += (i == 0 ? "" : ", ") + skipped_[i];
  if (skipped_.size() > kNamed) text += " and " + std::to_string(skipped_.size() - kNamed) + " more";
  return text;
}

std::set<Chaine> FieldScripts::Computed() const {
  std::set<Chaine> names;
  for (const Sum& sum : sums_) names.insert(sum.name);
  return names;
}

bool FieldScripts::Depends(const Sum& sum, const Host& host, const Given& computed) const {
  for (const auto& fields : sum.operands) {
    for (const ZAcroFormField* field : fields) {
      if (computed.contains(field) || host.IsGiven(*field)) return true;
    }
  }
  return false;
}

// The number that a field holds, 0 when it is empty or a button that is off; nothing for other texts.
std::optional<double> FieldScripts::NumberOf(const ZAcroFormField& field) const {
  const Chaine value = field.ValueUTF8();
  if (value.IsEmpty()) return 0;
  const ValueFormat* format = FormatOf(field);
  for (uint32_t i = 0; format == nullptr && i < field.Size(); i++) format = FormatOf(*field.GetAt(i));
  const auto number = ReadNumber(value, format == nullptr ? Separators::kComma : format->NumberSeparators());
  return !number && IsButton(field) ? 0 : number;
}

std::optional<double> FieldScripts::ResultOf(const Sum& sum, Host& host) const {
  std::vector<std::vector<double>> numbers;
  const std::string where = "field \"" + sum.name.ToString() + "\": not computed, because ";
  for (const auto& fields : sum.operands) {
    numbers.emplace_back();
    for (const ZAcroFormField* field : fields) {
      const auto number = NumberOf(*field);
      if (!number) {
        host.Warn(where + "field \"" + field->FullNameUTF8().ToString() + "\" holds \"" +
                  field->ValueUTF8().ToString() + "\", which is not a number");
        return std::nullopt;
      }
      numbers.back().push_back(*number);
    }
  }
  const auto result = sum.formula.Evaluate(numbers);
  if (!result) host.Warn(where + "the result is not a number");
  return result;
}

// Whether the field has this result: as its number, or as the text that its format shows.
bool FieldScripts::IsSame(const Sum& sum, double result) const {
  const Chaine value = sum.field->ValueUTF8();
  const auto number = NumberOf(*sum.field);
  if (number && std::abs(*number - result) <= kSame * std::max(std::abs(*number), std::abs(result))) return true;
  const ValueFormat* const format = FormatOf(*sum.field);
  const auto held = format == nullptr ? std::nullopt : format->Apply(value);
  const auto computed = format == nullptr ? std::nullopt : format->Apply(ValueOfNumber(result));
  return held && computed && !held->text.empty() && held->text == computed->text;
}

void FieldScripts::Compute(Host& host) const {
  Given computed;
  for (const Sum& sum : sums_) {
    if (!Depends(sum, host, computed)) continue;
    const auto result = ResultOf(sum, host);
    if (!result) continue;
    if (!host.IsGiven(*sum.field) || sum.field->ValueUTF8().IsEmpty()) {
      host.Write(sum.name, ValueOfNumber(*result));
      computed.insert(sum.field);
    } else if (!IsSame(sum, *result)) {
      host.Warn("field \"" + sum.name.ToString() + "\": the data contain \"" + sum.field->ValueUTF8().ToString() +
                "\", which is kept; the form computes " + ValueOfNumber(*result));
    }
  }
}

}  // namespace zforms
