#pragma once

#include <memory>
#include <unordered_map>

#include "zforms/acroform/field_option.h"
#include "zforms/platform/base/chaine.h"
#include "zforms/platform/base/containers.h"

namespace zforms {

class ZAcroFormField;
class ZPDFNodeDictionary;

// The text, or the beginning of a long one; and that in quotes.
Chaine Shortened(const Chaine& utf8);
Chaine Quoted(const Chaine& utf8);

// The options of a choice field by what people call them. Texts are UTF-8; those given
// may have line ends of any kind, others have LF. Immutable: any number of threads may ask.
class ChoiceOptions {
 public:
  enum class Match { kNone, kOne, kSeveral };

  explicit ChoiceOptions(const PTableau<ZAcroFormFieldOption>& options);

  bool IsEmpty() const { return exports_.empty(); }
  // The export values in the order of "/Opt".
  const PTableau<Chaine>& ExportValues() const { return exports_; }
  // Which option a text means: the one with this export value, else the one that viewers
  // show by this text. kSeveral when options with different export values show it.
  Match Find(const Chaine& given, Chaine* export_value) const;
  // The bytes that "/Opt" has for the export value; null without such an option.
  const Chaine* BytesOf(const Chaine& export_value) const;
  // Such as: "FR" (France), "BE" (Belgique) and 9 others.
  const Chaine& Listing() const { return listing_; }

 private:
  struct Shown {
    Chaine export_value;
    bool is_ambiguous = false;
  };

  PTableau<Chaine> exports_;
  FDictionnary<Chaine> bytes_;
  FDictionnary<Shown> shown_;
  Chaine listing_;
};

// Keeps the options of each "/Opt", which many fields may inherit.
class ChoiceOptionsCache {
 public:
  std::shared_ptr<const ChoiceOptions> Of(const ZAcroFormField& field);

 private:
  std::unordered_map<const ZPDFNodeDictionary*, std::shared_ptr<const ChoiceOptions>> by_holder_;
};

}  // namespace zforms
