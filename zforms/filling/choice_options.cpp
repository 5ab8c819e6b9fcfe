#include "zforms/filling/choice_options.h"

#include "zforms/acroform/field.h"
#include "zforms/acroform/field_filling.h"
#include "zforms/platform/base/number.h"
#include "zforms/platform/text/characters.h"
#include "zforms/platform/text/text.h"

namespace zforms {
namespace {

constexpr size_t kShownBytes = 60;
constexpr size_t kListed = 8;

}  // namespace

Chaine Shortened(const Chaine& utf8) {
  if (utf8.size() <= kShownBytes) return utf8;
  return utf8.Mid(0, SizeOfWholeCharacters(utf8, kShownBytes)) + "...";
}

Chaine Quoted(const Chaine& utf8) { return "\"" + Shortened(utf8) + "\""; }

ChoiceOptions::ChoiceOptions(const PTableau<ZAcroFormFieldOption>& options) {
  for (const ZAcroFormFieldOption& option : options) {
    const Chaine exported = WithLF(PDFTextToUTF8(option.ExportValue()));
    const Chaine shown = WithLF(PDFTextToUTF8(option.DisplayName()));
    exports_.push_back(exported);
    if (!bytes_.Exist(exported)) bytes_.Set(exported, option.ExportValue());
    if (!shown.IsEmpty()) {
      Shown* const other = shown_.Find(shown);
      if (other == nullptr) shown_.Set(shown, {exported});
      if (other != nullptr && other->export_value != exported) other->is_ambiguous = true;
    }
    if (exports_.size() > kListed) continue;
    if (!listing_.IsEmpty()) listing_ += ", ";
    listing_ += Quoted(exported);
    if (!shown.IsEmpty() && shown != exported) listing_ += " (" + Shortened(shown) + ")";
  }
  if (exports_.size() > kListed) listing_ += " and " + FormatUInt(exports_.size() - kListed) + " others";
}

ChoiceOptions::Match ChoiceOptions::Find(const Chaine& given, Chaine* export_value) const {
  const Chaine text = WithLF(given);
  if (bytes_.Exist(text)) {
    *export_value = text;
    return Match::kOne;
  }
  const Shown* const shown = shown_.Find(text);
  if (shown == nullptr) return Match::kNone;
  *export_value = shown->export_value;
  return shown->is_ambiguous ? Match::kSeveral : Match::kOne;
}

const Chaine* ChoiceOptions::BytesOf(const Chaine& export_value) const { return bytes_.Find(WithLF(export_value)); }

std::shared_ptr<const ChoiceOptions> ChoiceOptionsCache::Of(const ZAcroFormField& field) {
  const ZAcroFormField* holder = &field;
  while (holder != nullptr && !holder->HasOwnOptions()) holder = holder->Parent();
  // Some producers put the options in a widget.
  const PTableau<const ZAcroFormField*> widgets = holder == nullptr ? field.Widgets() : decltype(field.Widgets())();
  for (const ZAcroFormField* widget : widgets) {
    if (holder == nullptr && widget->HasOwnOptions()) holder = widget;
  }
  std::shared_ptr<const ChoiceOptions>& options = by_holder_[holder == nullptr ? nullptr : holder->Dico()];
  if (options == nullptr) {
    options = std::make_shared<ChoiceOptions>(holder == nullptr ? PTableau<ZAcroFormFieldOption>() : holder->Options());
  }
  return options;
}

}  // namespace zforms
