#pragma once

#include <string>
#include <vector>

#include "apps/zforms/batch_plan.h"
#include "apps/zforms/form_press.h"
#include "apps/zforms/row.h"
#include "xfdf/xfdf.h"

namespace zforms::tool {

// Text as an XFDF document holds it: its lines end in CR LF, whatever they ended with.
std::string WithCRLF(std::string_view text);

// RowFiller fills the form from one row after the other. Owned and used by one thread;
// the form and the plan are shared and outlive it.
class RowFiller {
 public:
  RowFiller(const ZAcroForm& form, const BatchPlan& plan);

  // A fault, and the field that it is about; no text when there is none.
  struct Fault {
    std::string field;
    std::string text;
  };
  Fault Check(const Row& row);
  // The form with the values of the row. Precondition: Check found no fault.
  Chaine Fill(const Row& row);

 private:
  const Cell* ValueOf(const Row& row, size_t field);
  void Match(const RowNames& names);

  const BatchPlan& plan_;
  FormPress press_;
  RowNames names_;
  std::vector<size_t> places_;  // of the fields' columns among the names
  ZXFDF data_;
  std::vector<ZXFDF::Field*> targets_;  // in the document; null for a field that is left alone
};

}  // namespace zforms::tool
