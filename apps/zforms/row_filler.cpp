#include "apps/zforms/row_filler.h"

namespace zforms::tool {
namespace {

Chaine Text(const std::string& text) {
  return text.find_first_of("\r\n") == std::string::npos ? Chaine(text) : Chaine(WithCRLF(text));
}

}  // namespace

std::string WithCRLF(std::string_view text) {
  std::string result;
  for (size_t i = 0; i < text.size(); i++) {
    const char c = text[i];
    if (c == '\r' && i + 1 < text.size() && text[i + 1] == '\n') continue;
    if (c == '\r' || c == '\n') {
      result += "\r\n";
    } else {
      result += c;
    }
  }
  return result;
}

RowFiller::RowFiller(const ZAcroForm& form, const BatchPlan& plan)
    : plan_(plan), press_(form, plan.FieldNames()), targets_(plan.Fields().size(), nullptr) {}

void RowFiller::Match(const RowNames& names) {
  if (names == names_) return;
  places_ = plan_.Places(*names);
  names_ = names;
}

// Null for a field that the row says nothing of.
const Cell* RowFiller::ValueOf(const Row& row, size_t field) {
  if (plan_.Fields()[field].is_constant) return &plan_.Fields()[field].constant;
  const size_t place = places_[field];
  return place == BatchPlan::kNone || row.cells[place].is_null ? nullptr : &row.cells[place];
}

RowFiller::Fault RowFiller::Check(const Row& row) {
  Match(row.names);
  for (size_t i = 0; i < plan_.Fields().size(); i++) {
    const BatchField& field = plan_.Fields()[i];
    const Cell* value = field.is_constant ? nullptr : ValueOf(row, i);
    if (value == nullptr) continue;
    if (std::string fault = field.rule.FaultOf(*value); !fault.empty()) return {field.name, std::move(fault)};
  }
  return {};
}

Chaine RowFiller::Fill(const Row& row) {
  Match(row.names);
  const size_t count = plan_.Fields().size();
  // The document is made anew when other fields than last time have a value.
  bool same = true;
  for (size_t i = 0; i < count; i++) same = same && (ValueOf(row, i) != nullptr) == (targets_[i] != nullptr);
  if (!same) data_.Fields().Free();
  for (size_t i = 0; i < count; i++) {
    const Cell* value = ValueOf(row, i);
    if (!same) targets_[i] = value == nullptr ? nullptr : &data_.Fields().AddField(plan_.Fields()[i].name);
    if (value == nullptr) continue;
    if (value->more.empty() && same && targets_[i]->Values().size() == 1) {
      *targets_[i] = ZVariant(Text(value->text));
      continue;
    }
    PTableau<Chaine> texts = {Text(value->text)};
    for (const std::string& more : value->more) texts.push_back(Text(more));
    targets_[i]->SetValues(texts);
  }
  return press_.Fill(data_);
}

}  // namespace zforms::tool
