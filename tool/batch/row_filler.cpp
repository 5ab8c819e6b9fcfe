#include "tool/batch/row_filler.h"

#include "tool/batch/batch_options.h"

namespace zforms::tool {

RowFiller::RowFiller(const ZAcroForm& form, const BatchPlan& plan, const FillingGuard& guard,
                     const std::optional<ZDrawingFonts>& fonts, const BatchOptions& options)
    : plan_(plan), match_(plan), press_(form, plan.FieldNames(), guard, fonts) {
  if (options.flatten) press_.Flatten();
  if (!options.calculate) press_.LeaveScripts();
}

void RowFiller::TakeValues(const Row& row) {
  values_.clear();
  for (size_t i = 0; i < plan_.Fields().size(); i++) {
    if (const Cell* value = match_.ValueOf(row, i)) values_.push_back({i, TextsOf(*value)});
  }
}

Chaine RowFiller::Fill(const Row& row, ZFormMessages* messages) {
  TakeValues(row);
  return press_.Fill(values_, messages);
}

std::unique_ptr<ZAcroForm> RowFiller::FillFlat(const Row& row, ZFormMessages* messages) {
  TakeValues(row);
  return press_.FillFlatDocument(values_, messages);
}

}  // namespace zforms::tool
