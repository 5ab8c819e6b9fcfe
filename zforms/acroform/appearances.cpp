#include "zforms/acroform/appearances.h"

#include "zforms/acroform/node_access.h"

namespace zforms {
namespace {

// The value of the key; null when the key is absent or its value is the null object.
ZPDFNode* Entry(ZPDFNodeDictionary& dictionary, std::string_view key) {
  return HasEntry(dictionary, key) ? dictionary.GetTarget(key) : nullptr;
}

}  // namespace

ZAcroFormAppearance::~ZAcroFormAppearance() = default;

ZAcroFormAppearance* ZAcroFormAppearance::Alloc(ZPDFNode* node) {
  if (node == nullptr) return nullptr;
  if (NodeCast<ZPDFNodeDictionary>(node) != nullptr) return new ZAcroFormAppearanceMulti(node);
  return new ZAcroFormAppearanceSingle(node);
}

ZAcroFormAppearanceSingle::~ZAcroFormAppearanceSingle() = default;

bool ZAcroFormAppearanceSingle::IsSingle() const { return true; }

ZAcroFormAppearanceMulti::~ZAcroFormAppearanceMulti() = default;

bool ZAcroFormAppearanceMulti::IsSingle() const { return false; }

const ZAcroFormAppearanceMulti::States& ZAcroFormAppearanceMulti::GetAppearances() const {
  if (states_.Size() != 0) return states_;
  auto* dictionary = NodeCast<ZPDFNodeDictionary>(Node());
  for (size_t i = 0; i < dictionary->Size(); i++) {
    ZPDFNode* const value = dictionary->ValueAt(i);
    if (value == nullptr) continue;
    owned_.emplace_back(new ZAcroFormAppearanceSingle(value->GetTarget()));
    states_.Set(WithoutSlashes(Chaine(dictionary->KeyAt(i))), owned_.back().get());
  }
  return states_;
}

ZAcroFormAppearances::~ZAcroFormAppearances() = default;

const ZAcroFormAppearance* ZAcroFormAppearances::NormalAppearance() const {
  return normal_.Over(Entry(*dictionary_, "/N"));
}

const ZAcroFormAppearance* ZAcroFormAppearances::RolloverAppearance() const {
  return rollover_.Over(Entry(*dictionary_, "/R"));
}

bool ZAcroFormAppearances::HasRolloverAppearance() const { return HasEntry(*dictionary_, "/R"); }

const ZAcroFormAppearance* ZAcroFormAppearances::AlternateAppearance() const {
  return down_.Over(Entry(*dictionary_, "/D"));
}

bool ZAcroFormAppearances::HasAlternateAppearance() const { return HasEntry(*dictionary_, "/D"); }

}  // namespace zforms
