#include "zforms/filling/form_press.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <set>
#include <string_view>
#include <utility>

#include "zforms/acroform/field.h"
#include "zforms/acroform/field_filling.h"
#include "zforms/calculation/field_scripts.h"
#include "zforms/filling/form_drawing.h"
#include "zforms/filling/form_flattening.h"
#include "zforms/pdf/dictionary_node.h"
#include "zforms/pdf/indirect_object.h"
#include "zforms/pdf/parser/parser.h"
#include "zforms/platform/files/inet_stream.h"

namespace zforms {
namespace {

void Restore(ZPDFNodeDictionary& dictionary, const ZPDFNodeDictionary& original, std::string_view key) {
  const ZPDFNode* value = original.GetDirect(key);
  dictionary.SetValue(key, value == nullptr ? nullptr : value->Clone());
}

// How the original was restored.
enum class Restored {
  kInPlace,
  kWithNewFonts,  // restored, but the fonts have new nodes; a drawing still points to the old ones
  kNotAtAll,      // not restored: this would destroy nodes to which the field tree points
};

Restored RestoreAll(ZPDFNodeDictionary& dictionary, const ZPDFNodeDictionary& original) {
  std::array<const char*, std::size(kFilledKeys)> changed;
  auto changed_end = changed.begin();
  size_t lost = 0;
  bool keeps_order = true;
  for (const char* key : kFilledKeys) {
    const bool was_there = original.Exist(key);
    const ZPDFNode* const value = dictionary.GetDirect(key);
    if (was_there && value == nullptr) keeps_order = ++lost == 1 && original.KeyAt(original.Size() - 1) == key;
    if (value == nullptr ? was_there : !was_there || value->IsModified()) *changed_end++ = key;
  }
  if (keeps_order) {
    std::for_each(changed.begin(), changed_end, [&](const char* key) { Restore(dictionary, original, key); });
    return Restored::kInPlace;
  }
  // Sets all keys again, in their order. If only the key that was removed were set, it would come last.
  if (dictionary.Exist("/Kids") || dictionary.Exist("/Fields")) return Restored::kNotAtAll;
  for (const char* key : kFilledKeys) dictionary.RemoveValue(key);
  for (size_t i = 0; i < original.Size(); i++) {
    const std::string key(original.KeyAt(i));
    dictionary.RemoveValue(key);
    Restore(dictionary, original, key);
  }
  return original.Exist("/DR") ? Restored::kWithNewFonts : Restored::kInPlace;
}

}  // namespace

FormPress::FormPress(const ZAcroForm& form, const std::vector<std::string>& names, const FillingGuard& guard,
                     std::optional<ZDrawingFonts> fonts)
    : original_(form), names_(names.begin(), names.end()), guard_(guard), fonts_(std::move(fonts)) {
  if (fonts_ && !fonts_->AreForCopiesOfOneForm()) fonts_ = fonts_->ForCopiesOfOneForm();
}

FormPress::~FormPress() = default;

void FormPress::Keep(ZPDFNodeDictionary* dictionary) {
  kept_.push_back({dictionary, std::unique_ptr<ZPDFNodeDictionary>(dictionary->Clone())});
}

// Keeps the originals of the fields that filling may change. When the form asks viewers to draw its fields, all fields
// are drawn, so the originals of all are kept.
void FormPress::KeepFields() {
  const bool keeps_all = fonts_.has_value() && form_->NeedAppearances();
  std::set<Chaine> names(names_.begin(), names_.end());
  if (scripts_ != nullptr) names.merge(scripts_->Computed());
  for (const auto& [bytes, fields] : form_->FlatFields()) {
    if (!keeps_all && !names.contains(fields.front()->FullNameUTF8())) continue;
    for (ZAcroFormField* field : fields) Keep(field->Dico());
  }
  if (ZPDFNodeDictionary* infos = form_->Parser()->AcroForm()) Keep(infos);
}

// Finds the objects that contain the dictionaries in kept_ and dropped_.
void FormPress::FindObjects() {
  const auto mark = [this](bool modified) {
    for (const Kept& kept : kept_) kept.dictionary->SetModified(modified, false);
    for (ZPDFNodeDictionary* dictionary : dropped_) dictionary->SetModified(modified, false);
  };
  mark(true);
  for (const ZPDFObjectLocation& location : form_->Parser()->ObjectLocations()) {
    if (location.object != nullptr && location.object->IsModified()) objects_.push_back(location.object);
  }
  mark(false);
}

void FormPress::Prepare() {
  kept_.clear();
  objects_.clear();
  filler_.reset();
  drawing_.reset();
  scripts_.reset();
  form_ = std::make_unique<ZAcroForm>(original_);
  dropped_ = guard_.Drop(*form_);
  for (ZPDFNodeDictionary* dictionary : dropped_) dictionary->SetModified(false, false);
  // Moves "/NeedAppearances" to the end: only the last key can be removed and restored in place. If the
  // key is kept, FormDrawing moves it to the end as well.
  if (fonts_ && form_->NeedAppearances()) {
    FormDrawing::RenewRequest(*form_);
    form_->Infos()->Dico()->SetModified(false, true);
  }
  scripts_ = ScriptsOf(*form_);
  KeepFields();
  FindObjects();
  Keep(form_->Parser()->TrailerDico());
  filler_ = std::make_unique<ZCheckedFiller>(*form_);
  filler_->SetLocks([this](const Chaine& name) { return guard_.LockOf(name); });
  filler_->SetScripts(scripts_.get());
  if (fonts_) drawing_ = std::make_unique<FormDrawing>(*form_, *fonts_, &guard_, scripts_.get());
}

std::unique_ptr<FieldScripts> FormPress::ScriptsOf(ZAcroForm& form) const {
  auto scripts = calculates_ ? std::make_unique<FieldScripts>(form) : nullptr;
  return scripts == nullptr || scripts->IsEmpty() ? nullptr : std::move(scripts);
}

void FormPress::FillWith(ZCheckedFiller& filler, const std::vector<Value>& values, ZFormMessages* messages) const {
  for (const Value& value : values) filler.Fill(names_[value.name], value.texts);
  PTableau<Chaine> warnings;
  filler.Compute(&warnings);
  for (const Chaine& text : warnings) {
    messages->push_back({ZFormMessage::Severity::kWarning, ZFormMessage::About::kData, text.ToString()});
  }
}

bool FormPress::IsChanged() const {
  return std::any_of(objects_.begin(), objects_.end(), [](const auto* object) { return object->IsModified(); });
}

std::unique_ptr<ZAcroForm> FormPress::FillFlatDocument(const std::vector<Value>& values,
                                                       ZFormMessages* messages) const {
  auto form = std::make_unique<ZAcroForm>(original_);
  ZCheckedFiller filler(*form);
  filler.SetLocks([this](const Chaine& name) { return guard_.LockOf(name); });
  const auto scripts = ScriptsOf(*form);
  filler.SetScripts(scripts.get());
  FillWith(filler, values, messages);
  PTableau<ZAcroFormField*> changed = filler.TakeChanged();
  if (!form->Parser()->ModifiedObjects().empty()) {
    if (fonts_) FormDrawing(*form, *fonts_, &guard_, scripts.get()).Draw(std::move(changed), messages);
    guard_.Drop(*form);
  }
  return FlattenForm(*form, {}, guard_.Options(), messages) ? std::move(form) : nullptr;
}

Chaine FormPress::FillFlat(const std::vector<Value>& values, ZFormMessages* messages) const {
  const std::unique_ptr<ZAcroForm> form = FillFlatDocument(values, messages);
  if (form == nullptr) return {};
  Chaine bytes;
  ZInetChaineOStream out(bytes);
  return form->Save(out) ? bytes : Chaine();
}

Chaine FormPress::Fill(const std::vector<Value>& values, ZFormMessages* messages) {
  ZFormMessages unsaid;
  if (messages == nullptr) messages = &unsaid;
  if (flattens_) return FillFlat(values, messages);
  if (form_ == nullptr) Prepare();
  FillWith(*filler_, values, messages);
  PTableau<ZAcroFormField*> changed = filler_->TakeChanged();
  if (!IsChanged()) return form_->RawData();
  if (drawing_ != nullptr) {
    drawing_->Draw(std::move(changed), messages);
  } else if (!form_->NeedAppearances()) {
    form_->SetNeedAppearances(true);
  }
  for (ZPDFNodeDictionary* dictionary : dropped_) dictionary->SetModified(true, false);
  PTableau<ZPDFNodeIndirectObject*> objects = objects_;
  if (drawing_ != nullptr) objects.insert(objects.end(), drawing_->Added().begin(), drawing_->Added().end());
  Chaine bytes = form_->UpdatedBytes(objects);
  TakeBack();
  return bytes;
}

void FormPress::TakeBack() {
  // Makes the drawing forget its nodes before they are destroyed.
  if (drawing_ != nullptr) drawing_->Restart();
  Restored worst = Restored::kInPlace;
  // A dictionary may be inside another, so the modified marks are removed only after all are restored.
  for (const Kept& kept : kept_) {
    if (kept.dictionary->IsModified()) worst = std::max(worst, RestoreAll(*kept.dictionary, *kept.original));
  }
  for (const Kept& kept : kept_) kept.dictionary->SetModified(false, true);
  for (ZPDFNodeDictionary* dictionary : dropped_) dictionary->SetModified(false, false);
  if (worst == Restored::kNotAtAll || (worst == Restored::kWithNewFonts && drawing_ != nullptr)) form_.reset();
}

}  // namespace zforms
