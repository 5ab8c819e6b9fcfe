#pragma once

#include <memory>
#include <set>
#include <string>
#include <unordered_map>
#include <vector>

#include "tool/data/rubrics.h"
#include "zforms/acroform/field_report.h"
#include "zforms/calculation/field_scripts.h"
#include "zforms/filling/checked_filler.h"
#include "zforms/filling/filling_guard.h"
#include "zforms/filling/row.h"

namespace zforms::tool {

struct BatchOptions;

// One field that a batch fills.
struct BatchField {
  std::string name;
  std::shared_ptr<const ZFieldRule> rule;
  std::string column;       // the column with its values
  std::string full_column;  // "RUBRIC.COLUMN", which is tried before `column`; empty without maps
  bool is_constant = false;
  Cell constant;  // the value for every form, when it does not come from the rows
};

// BatchPlan assigns the columns of the data to the fields of the form. Made before the work begins, then read by all
// threads.
class BatchPlan {
 public:
  // The form must outlive the plan. When the maps or the files with values cannot be read, prints the reason and
  // returns false. Prints warnings, for example about a field that the maps name and the form does not have.
  bool Make(const BatchOptions& options, ZAcroForm& form, const FillingGuard& guard, Console& console);

  const std::vector<BatchField>& Fields() const { return fields_; }
  std::vector<std::string> FieldNames() const;
  // For each field, the index of its column in `names`; kNone when it has none.
  static constexpr size_t kNone = SIZE_MAX;
  std::vector<size_t> Places(const std::vector<std::string>& names) const;
  // Finds the cell of a row for a field; null when the row has no value for it.
  class Match {
   public:
    explicit Match(const BatchPlan& plan) : plan_(plan) {}
    const Cell* ValueOf(const Row& row, size_t field);

   private:
    const BatchPlan& plan_;
    RowNames names_;
    std::vector<size_t> places_;  // the result of Places for `names_`
  };
  // True when a row with these names can fill at least one field.
  bool Feeds(const std::vector<std::string>& names) const;
  // The names that match no field, except empty names and a first column with file names.
  std::vector<std::string> Unused(const std::vector<std::string>& names) const;
  // The message about a name that matches no field. Only the thread that reads the rows may call it.
  std::string WhyUnused(const std::string& name) const;

 private:
  using Reports = std::unordered_map<std::string, const ZFormField*>;

  void TakeAllFields(const Reports& reports, const std::vector<ZFormField>& order);
  bool TakeMaps(const BatchOptions& options, const Reports& reports, Console& console);
  bool ReadRubrics(const BatchOptions& options, const std::string& section, std::string* own);
  void TakeMap(const ZXFDFMapper& mapper, const ZFormField& report, const ZXFDFMapper::DataFieldRef& reference,
               Console& console);

  std::unique_ptr<FieldScripts> scripts_;   // null when scripts are ignored
  std::unique_ptr<ZCheckedFiller> filler_;  // for the form of the plan
  Rubrics rubrics_;
  std::set<std::string> fixed_;  // the names of the rubrics (groups of values) from files, in lower case
  std::vector<BatchField> fields_;
  bool mapped_ = false;
};

}  // namespace zforms::tool
