#pragma once

#include <string>
#include <vector>

#include "tool/batch/batch_plan.h"
#include "zforms/filling/form_press.h"
#include "zforms/filling/row.h"

namespace zforms::tool {

// RowFiller fills a copy of the form from one row after the other. Created by the thread of the form, then used by one
// thread; the plan and the guard are shared and must outlive it.
class RowFiller {
 public:
  RowFiller(const ZAcroForm& form, const BatchPlan& plan, const FillingGuard& guard);

  // The form filled with the values of the row, which the fields must accept.
  Chaine Fill(const Row& row);

 private:
  const BatchPlan& plan_;
  BatchPlan::Match match_;
  FormPress press_;
  std::vector<FormPress::Value> values_;
};

}  // namespace zforms::tool
