#include "zforms/filling/form_press.h"

#include <algorithm>
#include <set>

#include "zforms/acroform/field.h"
#include "zforms/acroform/field_text.h"
#include "zforms/pdf/dictionary_node.h"
#include "zforms/pdf/indirect_object.h"
#include "zforms/pdf/parser/parser.h"

namespace zforms {
namespace {

void Restore(ZPDFNodeDictionary& dictionary, const ZPDFNodeDictionary& original, std::string_view key) {
  const ZPDFNode* value = original.GetDirect(key);
  dictionary.SetValue(key, value == nullptr ? nullptr : value->Clone());
}

// False when restoring would destroy nodes to which others have pointers.
bool RestoreAll(ZPDFNodeDictionary& dictionary, const ZPDFNodeDictionary& original) {
  const auto is_lost = [&](const char* key) { return original.Exist(key) && !dictionary.Exist(key); };
  if (std::none_of(std::begin(kFilledKeys), std::end(kFilledKeys), is_lost)) {
    for (const char* key : kFilledKeys) Restore(dictionary, original, key);
    return true;
  }
  // Setting the key again would move it to the end, so the keys after it must follow.
  if (dictionary.Exist("/Kids")) return false;
  for (const char* key : kFilledKeys) dictionary.RemoveValue(key);
  for (size_t i = 0; i < original.Size(); i++) {
    const std::string key(original.KeyAt(i));
    dictionary.RemoveValue(key);
    Restore(dictionary, original, key);
  }
  return true;
}

}  // namespace

FormPress::FormPress(const ZAcroForm& form, const std::vector<std::string>& names, const FillingGuard& guard)
    : original_(form), names_(names.begin(), names.end()), guard_(guard) {}

FormPress::~FormPress() = default;

void FormPress::Keep(ZPDFNodeDictionary* dictionary) {
  kept_.push_back({dictionary, std::unique_ptr<ZPDFNodeDictionary>(dictionary->Clone())});
}

void FormPress::Prepare() {
  kept_.clear();
  objects_.clear();
  filler_.reset();
  form_ = std::make_unique<ZAcroForm>(original_);
  dropped_ = guard_.Drop(*form_);
  for (ZPDFNodeDictionary* dictionary : dropped_) dictionary->SetModified(false, false);
  const std::set<Chaine> names(names_.begin(), names_.end());
  for (const auto& [bytes, fields] : form_->FlatFields()) {
    if (!names.contains(fields.front()->FullNameUTF8())) continue;
    for (ZAcroFormField* field : fields) Keep(field->Dico());
  }
  if (ZPDFNodeDictionary* infos = form_->Parser()->AcroForm()) Keep(infos);
  for (const Kept& kept : kept_) kept.dictionary->SetModified(true, false);
  for (ZPDFNodeDictionary* dictionary : dropped_) dictionary->SetModified(true, false);
  for (const ZPDFObjectLocation& location : form_->Parser()->ObjectLocations()) {
    if (location.object != nullptr && location.object->IsModified()) objects_.push_back(location.object);
  }
  for (const Kept& kept : kept_) kept.dictionary->SetModified(false, false);
  for (ZPDFNodeDictionary* dictionary : dropped_) dictionary->SetModified(false, false);
  filler_ = std::make_unique<ZCheckedFiller>(*form_);
  filler_->SetLocks([this](const Chaine& name) { return guard_.LockOf(name); });
}

bool FormPress::IsChanged() const {
  return std::any_of(objects_.begin(), objects_.end(), [](const auto* object) { return object->IsModified(); });
}

Chaine FormPress::Fill(const std::vector<Value>& values) {
  if (form_ == nullptr) Prepare();
  for (const Value& value : values) filler_->Fill(names_[value.name], value.texts);
  if (!IsChanged()) return form_->RawData();
  if (!form_->NeedAppearances()) form_->SetNeedAppearances(true);
  for (ZPDFNodeDictionary* dictionary : dropped_) dictionary->SetModified(true, false);
  Chaine bytes = form_->UpdatedBytes(objects_);
  if (!TakeBack()) form_.reset();
  return bytes;
}

bool FormPress::TakeBack() {
  // A dictionary may be inside another, so marks are removed only after all are restored.
  for (const Kept& kept : kept_) {
    if (kept.dictionary->IsModified() && !RestoreAll(*kept.dictionary, *kept.original)) return false;
  }
  for (const Kept& kept : kept_) kept.dictionary->SetModified(false, true);
  for (ZPDFNodeDictionary* dictionary : dropped_) dictionary->SetModified(false, false);
  return true;
}

}  // namespace zforms
