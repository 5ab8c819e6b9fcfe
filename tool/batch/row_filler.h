#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "tool/batch/batch_plan.h"
#include "zforms/filling/form_press.h"
#include "zforms/filling/row.h"

namespace zforms::tool {

// RowFiller fills a copy of the form from one row after the other. It is created on the thread that uses the form, then
// used by one thread. The plan and the guard are shared and must outlive it.
class RowFiller {
 public:
  // Draws the fields with `fonts`; without fonts, asks viewers to draw them. Uses the options that concern forms, such
  // as `flatten`.
  RowFiller(const ZAcroForm& form, const BatchPlan& plan, const FillingGuard& guard,
            const std::optional<ZDrawingFonts>& fonts, const BatchOptions& options);

  // The form filled with the values of the row. `messages` gets what could not be drawn. Precondition: the fields
  // accept the values.
  Chaine Fill(const Row& row, ZFormMessages* messages);
  // Like Fill, but returns the form filled and flattened, as a document: see FormPress::FillFlatDocument.
  std::unique_ptr<ZAcroForm> FillFlat(const Row& row, ZFormMessages* messages);

 private:
  void TakeValues(const Row& row);

  const BatchPlan& plan_;
  BatchPlan::Match match_;
  FormPress press_;
  std::vector<FormPress::Value> values_;
};

}  // namespace zforms::tool
