#include "zforms/acroform/annotation.h"

#include "zforms/acroform/node_access.h"

namespace zforms {
namespace {

constexpr uint32_t kHidden = 0x2;
constexpr uint32_t kReadOnly = 0x40;

}  // namespace

ZAcroFormAnnotation::~ZAcroFormAnnotation() = default;

uint32_t ZAcroFormAnnotation::Flags() const { return dictionary_->GetUIntValue("/F"); }

bool ZAcroFormAnnotation::HasFlags() const { return HasEntry(*dictionary_, "/F"); }

void ZAcroFormAnnotation::SetFlags(uint32_t flags) {
  if (flags != Flags()) dictionary_->SetValue("/F", flags);
}

void ZAcroFormAnnotation::SetFlag(uint32_t flag, bool on) { SetFlags(on ? Flags() | flag : Flags() & ~flag); }

bool ZAcroFormAnnotation::IsHidden() const { return (Flags() & kHidden) != 0; }

void ZAcroFormAnnotation::Hide(bool hide) { SetFlag(kHidden, hide); }

bool ZAcroFormAnnotation::IsReadOnly() const { return (Flags() & kReadOnly) != 0; }

void ZAcroFormAnnotation::SetReadOnly(bool read_only) { SetFlag(kReadOnly, read_only); }

ZAcroFormAppearances* ZAcroFormAnnotation::GetAppearances() {
  return appearances_.Over(DictionaryAt(*dictionary_, "/AP"));
}

const ZAcroFormAppearances* ZAcroFormAnnotation::GetAppearances() const {
  return appearances_.Over(DictionaryAt(*dictionary_, "/AP"));
}

bool ZAcroFormAnnotation::HasAppearances() const { return HasEntry(*dictionary_, "/AP"); }

ZAcroFormAppearanceCharacteristics* ZAcroFormAnnotation::GetAppearanceCharacteristics() {
  return characteristics_.Over(DictionaryAt(*dictionary_, "/MK"));
}

const ZAcroFormAppearanceCharacteristics* ZAcroFormAnnotation::GetAppearanceCharacteristics() const {
  return characteristics_.Over(DictionaryAt(*dictionary_, "/MK"));
}

bool ZAcroFormAnnotation::HasAppearanceCharacteristics() const { return HasEntry(*dictionary_, "/MK"); }

ZAcroFormRect* ZAcroFormAnnotation::GetRect() { return rect_.Over(ArrayAt(*dictionary_, "/Rect")); }

const ZAcroFormRect* ZAcroFormAnnotation::GetRect() const { return rect_.Over(ArrayAt(*dictionary_, "/Rect")); }

bool ZAcroFormAnnotation::HasRect() const { return HasEntry(*dictionary_, "/Rect"); }

ZAcroFormAppearanceCharacteristics& ZAcroFormAnnotation::EnsureCharacteristics() {
  if (GetAppearanceCharacteristics() == nullptr) {
    dictionary_->SetValue("/MK", new ZPDFNodeDictionary(dictionary_->ObjectProvider()));
  }
  return *GetAppearanceCharacteristics();
}

void ZAcroFormAnnotation::SetNormalCaption(const Chaine& caption) { EnsureCharacteristics().SetNormalCaption(caption); }

void ZAcroFormAnnotation::SetRolloverCaption(const Chaine& caption) {
  EnsureCharacteristics().SetRolloverCaption(caption);
}

void ZAcroFormAnnotation::SetAlternateCaption(const Chaine& caption) {
  EnsureCharacteristics().SetAlternateCaption(caption);
}

}  // namespace zforms
