#include "tool/batch/row_filler.h"

namespace zforms::tool {

RowFiller::RowFiller(const ZAcroForm& form, const BatchPlan& plan, const FillingGuard& guard)
    : plan_(plan), match_(plan), press_(form, plan.FieldNames(), guard) {}

Chaine RowFiller::Fill(const Row& row) {
  values_.clear();
  for (size_t i = 0; i < plan_.Fields().size(); i++) {
    if (const Cell* value = match_.ValueOf(row, i)) values_.push_back({i, TextsOf(*value)});
  }
  return press_.Fill(values_);
}

}  // namespace zforms::tool
