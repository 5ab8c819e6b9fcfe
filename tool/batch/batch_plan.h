#pragma once

#include <memory>
#include <set>
#include <string>
#include <unordered_map>
#include <vector>

#include "tool/data/rubrics.h"
#include "zforms/acroform/field_report.h"
#include "zforms/filling/checked_filler.h"
#include "zforms/filling/row.h"

namespace zforms::tool {

struct BatchOptions;
class FormGuard;

// One field that a batch fills.
struct BatchField {
  std::string name;
  std::shared_ptr<const ZFieldRule> rule;
  std::string column;       // the column that feeds it
  std::string full_column;  // looked for first: the same with its rubric, empty without maps
  bool is_constant = false;
  Cell constant;  // what every form gets, with a fixed rubric
};

// BatchPlan says which columns of the data feed which fields of the form. Made before
// the work begins, then read by all threads.
class BatchPlan {
 public:
  // The form outlives the plan. False, and said, when the maps or the rubric files cannot be read. Fields that
  // maps name and the form has not, and such things, are warned of.
  bool Make(const BatchOptions& options, ZAcroForm& form, const FormGuard& guard, Console& console);

  const std::vector<BatchField>& Fields() const { return fields_; }
  std::vector<std::string> FieldNames() const;
  // The place of each field's column among the names, kNone where there is none.
  static constexpr size_t kNone = SIZE_MAX;
  std::vector<size_t> Places(const std::vector<std::string>& names) const;
  // What the row has for each field; null for a field that it says nothing of.
  class Match {
   public:
    explicit Match(const BatchPlan& plan) : plan_(plan) {}
    const Cell* ValueOf(const Row& row, size_t field);

   private:
    const BatchPlan& plan_;
    RowNames names_;
    std::vector<size_t> places_;  // of the fields' columns among the names
  };
  // Whether a row of these names can fill anything.
  bool Feeds(const std::vector<std::string>& names) const;
  // Which of the names feed no field.
  std::vector<std::string> Unused(const std::vector<std::string>& names) const;
  // What to say of such a name; for the thread that reads the rows.
  std::string WhyUnused(const std::string& name) const;

 private:
  using Reports = std::unordered_map<std::string, const FieldReport*>;

  void TakeAllFields(const Reports& reports, const std::vector<FieldReport>& order);
  bool TakeMaps(const BatchOptions& options, const Reports& reports, Console& console);
  bool ReadRubrics(const BatchOptions& options, const std::string& section, std::string* own);
  void TakeMap(const ZXFDFMapper& mapper, const FieldReport& report, const ZXFDFMapper::DataFieldRef& reference,
               Console& console);

  std::unique_ptr<ZCheckedFiller> filler_;  // over the form that the plan was made for
  Rubrics rubrics_;
  std::set<std::string> fixed_;  // the rubrics of files, in small letters
  std::vector<BatchField> fields_;
  bool mapped_ = false;
};

}  // namespace zforms::tool
