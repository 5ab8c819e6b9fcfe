#include "zforms/acroform/appearance_characteristics.h"

#include "zforms/acroform/node_access.h"

namespace zforms {
namespace {

constexpr char kNormal[] = "/CA";
constexpr char kRollover[] = "/RC";
constexpr char kAlternate[] = "/AC";

}  // namespace

using Characteristics = ZAcroFormAppearanceCharacteristics;

Characteristics::~ZAcroFormAppearanceCharacteristics() = default;

Chaine Characteristics::NormalCaption() const { return dictionary_->GetStringValue(kNormal); }
bool Characteristics::HasNormalCaption() const { return HasEntry(*dictionary_, kNormal); }
void Characteristics::SetNormalCaption(const Chaine& caption) { dictionary_->SetValue(kNormal, caption); }

Chaine Characteristics::RolloverCaption() const { return dictionary_->GetStringValue(kRollover); }
bool Characteristics::HasRolloverCaption() const { return HasEntry(*dictionary_, kRollover); }
void Characteristics::SetRolloverCaption(const Chaine& caption) { dictionary_->SetValue(kRollover, caption); }

Chaine Characteristics::AlternateCaption() const { return dictionary_->GetStringValue(kAlternate); }
bool Characteristics::HasAlternateCaption() const { return HasEntry(*dictionary_, kAlternate); }
void Characteristics::SetAlternateCaption(const Chaine& caption) { dictionary_->SetValue(kAlternate, caption); }

}  // namespace zforms
