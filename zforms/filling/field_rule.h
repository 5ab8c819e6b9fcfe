#pragma once

#include <memory>
#include <utility>

#include "zforms/platform/base/chaine.h"
#include "zforms/platform/base/containers.h"
#include "zforms/platform/base/export.h"

namespace zforms {

class ChoiceOptions;
class ChoiceOptionsCache;
class ValueRange;
class ZAcroFormField;

// ZFieldRule tells which values a field accepts, and converts given values: the display text of an option to its export
// value, "yes" to the state of a check box. It is made from the fields of one full name, which share one value (ISO
// 32000-1 12.7.3.2). Immutable: any number of threads may read it, even after the form is destroyed. Texts are UTF-8.
class ZFORMS_API ZFieldRule {
 public:
  enum class Kind {
    kText,
    kChoice,
    kButton,  // check box or radio buttons
    kNotFilled,
  };

  static constexpr size_t kMaxFaults = 20;

  // The result for given values.
  struct Verdict {
    // True when the given values equal the values in an export of the first field. Then nothing is written and
    // nothing is a fault, even if the values are not valid for the field; other fields with the same name keep their
    // values.
    bool is_unchanged = false;
    // True when the values are accepted; `values` is then what to write: one text, the export values of choices, or the
    // state of a button as the bytes of its name.
    bool is_taken = false;
    PTableau<Chaine> values;
    // Why values are refused, such as "\"x\" is not a choice of the field": one text for each of the first kMaxFaults
    // refused values, then one text for all further ones.
    PTableau<Chaine> faults;
  };

  // Needs at least one field. The rule also accepts the values that an export of the first field contains now. With
  // `any_length`, a text may be longer than "/MaxLen".
  ZFieldRule(const PTableau<ZAcroFormField*>& fields, ChoiceOptionsCache* options, bool any_length = false);
  ~ZFieldRule();

  // Locks the field: only its present value is accepted. `why` is the reason for messages. An empty reason unlocks it.
  void Lock(const Chaine& why) { why_locked_ = why; }
  const Chaine& WhyLocked() const { return why_locked_; }
  // Refuses numbers outside of the range; null accepts all numbers.
  void Limit(std::shared_ptr<const ValueRange> range) { range_ = std::move(range); }

  Kind GetKind() const { return kind_; }
  // True when all fields with this name have the same value.
  bool IsAlike() const { return is_alike_; }
  bool IsFillable() const { return kind_ != Kind::kNotFilled; }
  // Why the field is never filled, such as "the field is a push button, which has no value"; empty when IsFillable().
  const Chaine& WhyNotFilled() const { return why_not_filled_; }
  // Checks the given values and converts them. When a list box gets several values, the valid ones are accepted. Line
  // ends may be of any kind. An empty value for a field that is never filled is not a fault.
  Verdict Judge(const PTableau<Chaine>& given) const;

 private:
  void ReadKind(const ZAcroFormField& field);
  void ReadStates(const PTableau<ZAcroFormField*>& fields, ChoiceOptionsCache* options);
  void ReadChoices(const ZAcroFormField& field, ChoiceOptionsCache* options);
  Verdict JudgeValues(const PTableau<Chaine>& given) const;
  bool IsExported(const PTableau<Chaine>& given) const;
  bool IsPresent(const PTableau<Chaine>& values) const;
  bool Holds(const Chaine& value) const;
  void JudgeText(const Chaine& given, Verdict* verdict) const;
  void JudgeButton(const Chaine& given, Verdict* verdict) const;
  void JudgeChoices(const PTableau<Chaine>& given, Verdict* verdict) const;
  Chaine ChoiceFor(const Chaine& given, Chaine* fault) const;
  Chaine StateOfTruth(const Chaine& given) const;

  Kind kind_ = Kind::kText;
  Chaine why_not_filled_;
  Chaine why_locked_;
  std::shared_ptr<const ValueRange> range_;
  bool takes_several_ = false;
  bool is_closed_ = false;    // accepts only its options or states
  size_t max_length_ = 0;     // in characters; 0 for no limit
  PTableau<Chaine> present_;  // the values of the first field, with LF as line ends
  bool is_alike_ = true;
  std::shared_ptr<const ChoiceOptions> options_;
  // The options of widgets whose options differ from those of the field.
  PTableau<std::shared_ptr<const ChoiceOptions>> widget_options_;
  // Maps the texts for each state to the bytes of its name.
  FDictionnary<Chaine> states_;
  PTableau<Chaine> state_names_;
  Chaine state_listing_;
};

}  // namespace zforms
