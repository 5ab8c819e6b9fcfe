#include "apps/zforms/row_filler.h"

#include "platform/text.h"

namespace zforms::tool {
namespace {

Chaine Text(const std::string& text) {
  return text.find_first_of("\r\n") == std::string::npos ? Chaine(text) : WithLineEnds(text, "\r\n");
}

}  // namespace

RowFiller::RowFiller(const ZAcroForm& form, const BatchPlan& plan)
    : plan_(plan), match_(plan), press_(form, plan.FieldNames()), targets_(plan.Fields().size(), nullptr) {}

void RowFiller::SetValue(size_t field, const Cell& value, bool in_place) {
  if (in_place && value.more.empty() && targets_[field]->Values().size() == 1) {
    *targets_[field] = ZVariant(Text(value.text));
    return;
  }
  PTableau<Chaine> texts = {Text(value.text)};
  for (const std::string& more : value.more) texts.push_back(Text(more));
  targets_[field]->SetValues(texts);
}

Chaine RowFiller::Fill(const Row& row) {
  const size_t count = plan_.Fields().size();
  // The document is made anew when other fields than last time have a value.
  bool same = true;
  for (size_t i = 0; i < count; i++) same = same && (match_.ValueOf(row, i) != nullptr) == (targets_[i] != nullptr);
  if (!same) data_.Fields().Free();
  for (size_t i = 0; i < count; i++) {
    const Cell* value = match_.ValueOf(row, i);
    if (!same) targets_[i] = value == nullptr ? nullptr : &data_.Fields().AddField(plan_.Fields()[i].name);
    if (value != nullptr) SetValue(i, *value, same);
  }
  return press_.Fill(data_);
}

}  // namespace zforms::tool
