#include "zforms/filling/form_batch.h"

#include <algorithm>
#include <utility>

#include "zforms/acroform/field_report.h"
#include "zforms/calculation/field_scripts.h"
#include "zforms/filling/checked_filler.h"
#include "zforms/filling/form_export.h"
#include "zforms/filling/form_files.h"
#include "zforms/pdf/parser/parser.h"

namespace zforms {
namespace {

using About = ZFormMessage::About;
using Severity = ZFormMessage::Severity;

// The limit on the columns that are reported as unused: each row of JSON may have other columns.
constexpr size_t kMostUnused = 1000;

bool Fail(About about, std::string text, ZFormMessages* messages) {
  messages->push_back({Severity::kFailure, about, std::move(text)});
  return false;
}

}  // namespace

ZFormBatch::ZFormBatch(const ZAcroForm& form, const GuardOptions& options, std::optional<ZDrawingFonts> fonts)
    : form_(form), options_(options), fonts_(std::move(fonts)) {}

ZFormBatch::~ZFormBatch() = default;

bool ZFormBatch::Prepare(ZFormMessages* messages) {
  if (const std::string why = WhyNotFilled(form_); !why.empty()) return Fail(About::kForm, why, messages);
  guard_ = std::make_unique<FillingGuard>(form_, options_);
  if (!guard_->AllowsFilling(messages) || !MakeWhole(messages)) return false;
  guard_->SayWhatGoes(messages);
  filler_ = std::make_unique<ZCheckedFiller>(form_);
  filler_->SetLocks([this](const Chaine& name) { return guard_->LockOf(name); });
  if (calculates_) {
    scripts_ = std::make_unique<FieldScripts>(form_);
    filler_->SetScripts(scripts_.get());
    const std::string skipped = scripts_->Skipped();
    if (!skipped.empty()) messages->push_back({Severity::kNote, About::kForm, skipped});
  }
  for (const ZFormField& field : ReportFields(form_)) {
    if (field.name.empty() || index_.contains(field.name)) continue;
    const auto rule = filler_->RuleOf(field.name);
    if (rule == nullptr || !rule->IsFillable()) continue;
    index_.emplace(field.name, names_.size());
    names_.push_back(field.name);
  }
  press_ = std::make_unique<FormPress>(form_, names_, *guard_, fonts_);
  if (!calculates_) press_->LeaveScripts();
  return true;
}

// Saves the changes of the form once, so that each row can be appended to it.
bool ZFormBatch::MakeWhole(ZFormMessages* messages) {
  if (!form_.SavesAnew() && form_.Parser()->ModifiedObjects().empty()) return true;
  Chaine whole;
  return SaveForm(form_, {.anew = false, .force = options_.force}, &whole, messages);
}

ZFormBatch::Feed ZFormBatch::FeedOf(const std::string& column) {
  const auto found = index_.find(column);
  return found == index_.end() ? Feed() : Feed{found->second, filler_->RuleOf(column)};
}

bool ZFormBatch::Feeds(const std::vector<std::string>& columns) {
  return std::any_of(columns.begin(), columns.end(), [this](const std::string& name) { return index_.contains(name); });
}

// Rows usually share their columns, so these are looked up once.
void ZFormBatch::Match(const RowNames& columns) {
  if (columns == columns_) return;
  columns_ = columns;
  feeds_.clear();
  for (const std::string& column : *columns) feeds_.push_back(FeedOf(column));
}

void ZFormBatch::SayUnused(ZFormMessages* messages) {
  for (size_t i = 0; i < feeds_.size(); i++) {
    const std::string& column = (*columns_)[i];
    if (feeds_[i].rule != nullptr || column.empty() || unused_.size() >= kMostUnused) continue;
    if (i == 0 && IsFileColumn(column)) continue;
    if (!unused_.insert(column).second) continue;
    const auto rule = filler_->RuleOf(column);
    std::string text = "column \"" + column + "\" fills no field and is ignored";
    if (rule == nullptr) {
      text += filler_->NearNamesOf(column).ToString();
    } else if (!rule->IsFillable()) {
      text += ": " + rule->WhyNotFilled().ToString();
    }
    messages->push_back({Severity::kNote, About::kData, text});
  }
}

// Collects the values of the row; the result says which of them a field does not accept.
std::string ZFormBatch::FaultsOf(const Row& row) {
  values_.clear();
  std::string faults;
  for (size_t i = 0; i < feeds_.size(); i++) {
    if (feeds_[i].rule == nullptr || row.cells[i].is_null) continue;
    values_.push_back({feeds_[i].name, TextsOf(row.cells[i])});
    for (const Chaine& fault : feeds_[i].rule->Judge(values_.back().texts).faults) {
      faults += (faults.empty() ? "" : "; ") + ("field \"" + (*columns_)[i] + "\": ") + fault.ToString();
    }
  }
  return faults;
}

bool ZFormBatch::Fill(const Row& row, Chaine* bytes, ZFormMessages* messages) {
  std::string fault = row.fault;
  if (fault.empty()) {
    if (row.names != columns_) {
      Match(row.names);
      SayUnused(messages);
    }
    fault = FaultsOf(row);
  }
  if (!fault.empty()) {
    return Fail(About::kData, (row.line == 0 ? "" : "line " + std::to_string(row.line) + ": ") + fault, messages);
  }
  *bytes = press_->Fill(values_, messages);
  return !bytes->IsEmpty() || Fail(About::kForm, "the form cannot be filled", messages);
}

}  // namespace zforms
