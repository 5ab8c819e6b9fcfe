#include "tool/batch/batch_plan.h"

#include <utility>

#include "tool/batch/batch_options.h"
#include "tool/forms/form_messages.h"
#include "tool/forms/open_form.h"
#include "zforms/acroform/acro_form.h"
#include "zforms/filling/form_export.h"
#include "zforms/platform/text/letter_case.h"

namespace zforms::tool {
namespace {

std::string Folded(std::string_view text) { return FoldCase(text).ToString(); }

}  // namespace

bool BatchPlan::Make(const BatchOptions& options, ZAcroForm& form, const FillingGuard& guard, Console& console) {
  const std::vector<ZFormField> order = ReportFields(form);
  filler_ = std::make_unique<ZCheckedFiller>(form);
  filler_->SetLocks([&guard](const Chaine& name) { return LockOf(guard, name); });
  if (options.calculate) {
    scripts_ = std::make_unique<FieldScripts>(form);
    filler_->SetScripts(scripts_.get());
    if (const std::string skipped = scripts_->Skipped(); !skipped.empty()) console.Note(skipped);
  }
  Reports reports;
  for (const ZFormField& report : order) {
    if (!report.name.empty()) reports.emplace(report.name, &report);
  }
  mapped_ = !options.maps.empty();
  if (mapped_) return TakeMaps(options, reports, console);
  if (!options.rubrics.empty()) {
    console.Fail("--rubric needs --map");
    return false;
  }
  TakeAllFields(reports, order);
  return true;
}

void BatchPlan::TakeAllFields(const Reports& reports, const std::vector<ZFormField>& order) {
  for (const ZFormField& report : order) {
    const auto found = reports.find(report.name);
    if (found == reports.end() || found->second != &report) continue;  // a further widget
    BatchField field{report.name, filler_->RuleOf(report.name), report.name, {}, false, {}};
    if (field.rule != nullptr && field.rule->IsFillable()) fields_.push_back(std::move(field));
  }
}

// Reads the groups of values (rubrics) that files give, and adds empty groups for the other names in the maps. `own`
// gets the name of the group of the rows: a column "x" counts as "own.x".
bool BatchPlan::ReadRubrics(const BatchOptions& options, const std::string& section, std::string* own) {
  for (const std::string& text : options.rubrics) {
    const RubricOption rubric = ParseRubric(text);
    if (rubric.file.empty()) {
      *own = rubric.name;
      continue;
    }
    if (!rubrics_.Read(rubric)) return false;
    fixed_.insert(Folded(rubric.name));
  }
  std::vector<std::string> others;
  for (std::string& name : RubricsOfMaps(options.maps, section)) {
    if (!rubrics_.Has(name)) others.push_back(std::move(name));
  }
  if (own->empty()) *own = others.size() == 1 ? others.front() : "row";
  for (const std::string& name : others) rubrics_.AddEmpty(name);
  if (!rubrics_.Has(*own)) rubrics_.AddEmpty(*own);
  return true;
}

bool BatchPlan::TakeMaps(const BatchOptions& options, const Reports& reports, Console& console) {
  const std::string section = SectionOf(options.maps, options.section);
  std::string own;
  if (!ReadRubrics(options, section, &own)) return false;
  ZXFDFMapper mapper;
  rubrics_.RegisterIn(mapper);
  if (!ReadMaps(options.maps, section, own, mapper)) return false;
  for (const auto& [name, reference] : mapper.Maps()) {
    const auto found = reports.find(name.ToString());
    if (found == reports.end()) {
      console.Warn("the maps name a field \"" + name.ToString() + "\", which the form does not have" +
                   filler_->NearNamesOf(name).ToString());
    } else if (reference.IsMapped()) {
      const size_t before = fields_.size();
      TakeMap(mapper, *found->second, reference, console);
      if (fields_.size() > before && FoldCase(reference.rubric) != FoldCase(own)) fields_.back().column.clear();
    }
  }
  return true;
}

void BatchPlan::TakeMap(const ZXFDFMapper& mapper, const ZFormField& report, const ZXFDFMapper::DataFieldRef& reference,
                        Console& console) {
  const std::string full = reference.rubric.ToString() + "." + reference.field.ToString();
  BatchField field{report.name, filler_->RuleOf(report.name), reference.field.ToString(), full, false, {}};
  if (field.rule == nullptr || !field.rule->IsFillable()) {
    const std::string why = field.rule == nullptr ? "" : ": " + field.rule->WhyNotFilled().ToString();
    console.Warn("the maps name field \"" + field.name + "\", which cannot be filled" + why);
    return;
  }
  if (fixed_.contains(Folded(reference.rubric))) {
    const ZField* data = mapper.Rubric(reference.rubric)->Find(reference.field);
    if (data == nullptr) {
      console.Warn("field \"" + field.name + "\": the rubric has no value named \"" + full + "\"");
      return;
    }
    field.is_constant = true;
    field.constant.text = data->Value().AsChaine().ToString();
    for (const Chaine& fault : field.rule->Judge(TextsOf(field.constant)).faults) {
      console.Warn("field \"" + field.name + "\": " + fault.ToString());
    }
  }
  fields_.push_back(std::move(field));
}

std::vector<std::string> BatchPlan::FieldNames() const {
  std::vector<std::string> names;
  for (const BatchField& field : fields_) names.push_back(field.name);
  return names;
}

// Finds the columns that the maps name. Letter case is ignored, as for the fields of a rubric.
std::vector<size_t> BatchPlan::Places(const std::vector<std::string>& names) const {
  std::unordered_map<std::string, size_t> exact;
  std::unordered_map<std::string, size_t> folded;
  for (size_t i = 0; i < names.size(); i++) {
    exact[names[i]] = i;
    if (mapped_) folded.emplace(Folded(names[i]), i);
  }
  const auto place_of = [&](const std::string& column) {
    if (column.empty()) return kNone;
    if (const auto found = exact.find(column); found != exact.end()) return found->second;
    if (!mapped_) return kNone;
    const auto found = folded.find(Folded(column));
    return found == folded.end() ? kNone : found->second;
  };
  std::vector<size_t> places;
  for (const BatchField& field : fields_) {
    size_t place = field.is_constant ? kNone : place_of(field.full_column);
    if (place == kNone && !field.is_constant) place = place_of(field.column);
    places.push_back(place);
  }
  return places;
}

// Looks up the columns only when the row has other names than the row before.
const Cell* BatchPlan::Match::ValueOf(const Row& row, size_t field) {
  if (plan_.fields_[field].is_constant) return &plan_.fields_[field].constant;
  if (row.names != names_) {
    places_ = plan_.Places(*row.names);
    names_ = row.names;
  }
  const size_t place = places_[field];
  return place == kNone || row.cells[place].is_null ? nullptr : &row.cells[place];
}

bool BatchPlan::Feeds(const std::vector<std::string>& names) const {
  const std::vector<size_t> places = Places(names);
  for (size_t i = 0; i < fields_.size(); i++) {
    if (fields_[i].is_constant || places[i] != kNone) return true;
  }
  return false;
}

std::vector<std::string> BatchPlan::Unused(const std::vector<std::string>& names) const {
  std::vector<bool> used(names.size());
  for (const size_t place : Places(names)) {
    if (place != kNone) used[place] = true;
  }
  std::vector<std::string> unused;
  for (size_t i = 0; i < names.size(); i++) {
    const bool is_file = i == 0 && IsFileColumn(names[i]);
    if (!used[i] && !names[i].empty() && !is_file) unused.push_back(names[i]);
  }
  return unused;
}

std::string BatchPlan::WhyUnused(const std::string& name) const {
  const std::string what = "column \"" + name + "\" fills no field and is ignored";
  if (mapped_) return what;
  const std::shared_ptr<const ZFieldRule> rule = filler_->RuleOf(name);
  if (rule == nullptr) return what + filler_->NearNamesOf(name).ToString();
  return rule->IsFillable() ? what : what + ": " + rule->WhyNotFilled().ToString();
}

}  // namespace zforms::tool
