#include "zforms/acroform/field_collection.h"

#include "zforms/acroform/field.h"
#include "zforms/acroform/field_tree.h"

namespace zforms {

struct ZAcroFormFieldCollection::Members {
  PTableau<std::unique_ptr<Field>> fields;
  FDictionnary<Field*> by_name;
};

ZAcroFormFieldCollection::ZAcroFormFieldCollection() = default;
ZAcroFormFieldCollection::ZAcroFormFieldCollection(const ZAcroFormFieldCollection&) = default;
ZAcroFormFieldCollection& ZAcroFormFieldCollection::operator=(const ZAcroFormFieldCollection&) = default;
ZAcroFormFieldCollection::~ZAcroFormFieldCollection() = default;

ZAcroFormFieldCollection::ZAcroFormFieldCollection(ZPDFNodeArray* array) {
  FieldTreeBuilder(nullptr, nullptr).Build(*this, array, nullptr);
}

bool ZAcroFormFieldCollection::Append(std::unique_ptr<Field> field, Naming naming) {
  if (members_ == nullptr) members_ = std::make_shared<Members>();
  bool is_first = true;
  if (const Chaine name = field->Name(); !name.IsEmpty()) {
    Field*& named = members_->by_name[name];
    is_first = named == nullptr;
    if (is_first || naming == Naming::kTake) named = field.get();
  }
  members_->fields.push_back(std::move(field));
  return is_first;
}

uint32_t ZAcroFormFieldCollection::Size() const {
  return members_ == nullptr ? 0 : static_cast<uint32_t>(members_->fields.size());
}

ZAcroFormField* ZAcroFormFieldCollection::GetAt(uint32_t index) {
  return index < Size() ? members_->fields[index].get() : nullptr;
}

const ZAcroFormField* ZAcroFormFieldCollection::GetAt(uint32_t index) const {
  return const_cast<ZAcroFormFieldCollection*>(this)->GetAt(index);
}

ZAcroFormField* ZAcroFormFieldCollection::Get(const Chaine& name) {
  ZAcroFormFieldCollection* level = this;
  for (Chaine rest = name; level->members_ != nullptr;) {
    if (Field* const* member = level->members_->by_name.Find(rest)) return *member;
    const size_t period = rest.View().find('.');
    if (period == std::string_view::npos) return nullptr;
    Field* const* head = level->members_->by_name.Find(rest.View().substr(0, period));
    if (head == nullptr) return nullptr;
    level = *head;
    rest = rest.Mid(period + 1);
  }
  return nullptr;
}

const ZAcroFormField* ZAcroFormFieldCollection::Get(const Chaine& name) const {
  return const_cast<ZAcroFormFieldCollection*>(this)->Get(name);
}

PUniqueT<Chaine> ZAcroFormFieldCollection::FieldNames() const {
  PUniqueT<Chaine> names;
  if (members_ == nullptr) return names;
  for (const auto& [name, field] : members_->by_name) names.Add(name);
  return names;
}

void ZAcroFormFieldCollection::SetReadOnly(bool read_only) {
  for (uint32_t i = 0; i < Size(); i++) GetAt(i)->SetReadOnly(read_only);
}

}  // namespace zforms
