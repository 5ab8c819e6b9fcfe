#pragma once

#include <memory>
#include <unordered_map>

#include "zforms/acroform/field_option.h"
#include "zforms/platform/base/chaine.h"
#include "zforms/platform/base/containers.h"

namespace zforms {

class ZAcroFormField;
class ZPDFNodeDictionary;

// The text, shortened if it is long; Quoted also adds quotes.
Chaine Shortened(const Chaine& utf8);
Chaine Quoted(const Chaine& utf8);

// The options of a choice field, found by export value or display text. Texts are UTF-8; arguments may have line ends
// of any kind, results have LF. Immutable: any number of threads may read it.
class ChoiceOptions {
 public:
  enum class Match { kNone, kOne, kSeveral };

  explicit ChoiceOptions(const PTableau<ZAcroFormFieldOption>& options);

  bool IsEmpty() const { return exports_.empty(); }
  // The export values in the order of "/Opt".
  const PTableau<Chaine>& ExportValues() const { return exports_; }
  // Finds the option with this export value, else the one with this display text. kSeveral when options with different
  // export values have that display text.
  Match Find(const Chaine& given, Chaine* export_value) const;
  // The bytes of the export value in "/Opt"; null when there is no such option.
  const Chaine* BytesOf(const Chaine& export_value) const;
  // The first options, for messages: "FR" (France), "BE" (Belgique) and 9 others.
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

// Caches the options of each "/Opt", which many fields may inherit.
class ChoiceOptionsCache {
 public:
  std::shared_ptr<const ChoiceOptions> Of(const ZAcroFormField& field);

 private:
  std::unordered_map<const ZPDFNodeDictionary*, std::shared_ptr<const ChoiceOptions>> by_holder_;
};

}  // namespace zforms
