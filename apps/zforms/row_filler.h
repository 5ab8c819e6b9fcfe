#pragma once

#include <string>
#include <vector>

#include "apps/zforms/batch_plan.h"
#include "apps/zforms/form_press.h"
#include "apps/zforms/row.h"
#include "xfdf/xfdf.h"

namespace zforms::tool {

// RowFiller fills a copy of the form from one row after the other. Made by the thread
// that has the form, then used by one; the plan is shared and outlives it.
class RowFiller {
 public:
  RowFiller(const ZAcroForm& form, const BatchPlan& plan);

  // The form with the values of the row, which the fields take.
  Chaine Fill(const Row& row);

 private:
  void SetValue(size_t field, const Cell& value, bool in_place);

  const BatchPlan& plan_;
  BatchPlan::Match match_;
  FormPress press_;
  ZXFDF data_;
  std::vector<ZXFDF::Field*> targets_;  // in the document; null for a field that is left alone
};

}  // namespace zforms::tool
