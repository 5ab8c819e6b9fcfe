#include "zforms/filling/field_rule.h"

#include <algorithm>
#include <string_view>

#include "zforms/acroform/button_states.h"
#include "zforms/acroform/field.h"
#include "zforms/acroform/field_filling.h"
#include "zforms/acroform/field_values.h"
#include "zforms/calculation/value_format.h"
#include "zforms/filling/choice_options.h"
#include "zforms/pdf/dictionary_node.h"
#include "zforms/platform/base/number.h"
#include "zforms/platform/text/characters.h"
#include "zforms/platform/text/letter_case.h"
#include "zforms/platform/text/text.h"

namespace zforms {
namespace {

constexpr char kOff[] = "Off";
// The state of a check box without named states (ISO 32000-1 12.7.4.2.3).
constexpr char kYes[] = "Yes";
constexpr std::string_view kOnWords[] = {"true", "yes", "1", "oui", "vrai", "x"};
constexpr std::string_view kOffWords[] = {"false", "no", "0", "non", "faux"};
constexpr size_t kListedStates = 8;

template <size_t N>
bool IsOneOf(const Chaine& text, const std::string_view (&words)[N]) {
  return std::find(std::begin(words), std::end(words), text.View()) != std::end(words);
}

// The number of characters. A line end counts as one, CR LF too.
size_t CharacterCount(std::string_view text) {
  size_t count = 0;
  for (size_t i = 0; i < text.size(); i++) {
    const bool ends_pair = text[i] == '\n' && i > 0 && text[i - 1] == '\r';
    if (!IsTrailByte(text[i]) && !ends_pair) count++;
  }
  return count;
}

// True when `given` is the present text as an export writes it. `present` has LF as line ends. XML does not allow most
// control characters, so an export replaces each of them by U+FFFD.
bool IsExportOf(const Chaine& given, const Chaine& present) {
  constexpr std::string_view kReplacement = "\xEF\xBF\xBD";
  const Chaine text = WithLF(given);
  if (text == present) return true;
  if (text.View().find(kReplacement) == std::string_view::npos) return false;
  Chaine in_xml;
  for (const char c : present) {
    const bool is_control = static_cast<unsigned char>(c) < 0x20 && c != '\t' && c != '\n';
    in_xml += is_control ? kReplacement : std::string_view(&c, 1);
  }
  return text == in_xml;
}

bool IsOff(const PTableau<Chaine>& values) {
  return values.empty() || (values.size() == 1 && (values[0].IsEmpty() || values[0] == kOff));
}

bool HasNamedKids(const ZAcroFormField& field) {
  for (uint32_t i = 0; i < field.Size(); i++) {
    if (field.GetAt(i)->HasName()) return true;
  }
  return false;
}

size_t MaxLengthOf(const ZAcroFormField& field) {
  for (const ZAcroFormField* at = &field; at != nullptr; at = at->Parent()) {
    if (const ZPDFNode* value = at->Dico()->GetTarget("/MaxLen")) return value->GetUIntValue();
  }
  return 0;
}

}  // namespace

ZFieldRule::ZFieldRule(const PTableau<ZAcroFormField*>& fields, ChoiceOptionsCache* options, bool any_length) {
  ReadKind(*fields.front());
  for (const Chaine& value : FieldValues(*fields.front())) present_.push_back(WithLF(value));
  for (const ZAcroFormField* field : fields) {
    const PTableau<Chaine> values = field == fields.front() ? present_ : FieldValues(*field);
    is_alike_ = is_alike_ && (std::equal(values.begin(), values.end(), present_.begin(), present_.end(), IsSameText) ||
                              (kind_ == Kind::kButton && IsOff(values) && IsOff(present_)));
  }
  if (kind_ == Kind::kButton) ReadStates(fields, options);
  if (kind_ == Kind::kChoice) ReadChoices(*fields.front(), options);
  if (kind_ != Kind::kText || any_length) return;
  for (const ZAcroFormField* field : fields) {
    const size_t length = MaxLengthOf(*field);
    if (length != 0 && (max_length_ == 0 || length < max_length_)) max_length_ = length;
  }
}

ZFieldRule::~ZFieldRule() = default;

void ZFieldRule::ReadKind(const ZAcroFormField& field) {
  const ZAcroFormField::eFieldType type = field.InheritedType();
  if (type == ZAcroFormField::eCheckBox || type == ZAcroFormField::eRadioButton) kind_ = Kind::kButton;
  if (type == ZAcroFormField::eChoice) kind_ = Kind::kChoice;
  if (field.IsSignature()) {
    why_not_filled_ = "the field is a signature, which is filled by signing only";
  } else if (type == ZAcroFormField::ePushButton) {
    why_not_filled_ = "the field is a push button, which has no value";
  } else if (NodeCast<ZPDFNodeDictionary>(field.Dico()->GetTarget("/V")) != nullptr) {
    why_not_filled_ = "the value of the field is a dictionary, such as a signature, and cannot be replaced";
  } else if (HasNamedKids(field)) {
    why_not_filled_ = "the name is that of a group of fields, which has no value";
  }
  if (!why_not_filled_.IsEmpty()) kind_ = Kind::kNotFilled;
}

void ZFieldRule::ReadChoices(const ZAcroFormField& field, ChoiceOptionsCache* options) {
  options_ = options->Of(field);
  const uint32_t flags = field.InheritedFlags();
  const bool is_combo = (flags & ZAcroFormField::kComboFlag) != 0;
  const bool is_editable = is_combo && (flags & ZAcroFormField::kEditFlag) != 0;
  // An editable combo box, and a choice field without options, accept any value.
  is_closed_ = !is_editable && !options_->IsEmpty();
  takes_several_ = !is_combo && (flags & ZAcroFormField::kMultiSelectFlag) != 0;
  for (const ZAcroFormField* widget : field.Widgets()) {
    if (widget == &field || !widget->HasOwnOptions()) continue;
    const std::shared_ptr<const ChoiceOptions> own = options->Of(*widget);
    if (own->ExportValues() != options_->ExportValues()) widget_options_.push_back(own);
  }
}

void ZFieldRule::ReadStates(const PTableau<ZAcroFormField*>& fields, ChoiceOptionsCache* options) {
  PUniqueT<Chaine> names;
  for (const ZAcroFormField* field : fields) {
    for (const Chaine& state : ButtonStates(*field)) names.Add(state);
  }
  is_closed_ = names.Size() > 0;
  // For widgets without appearances, the names in "/AS" and in the values are states.
  for (const ZAcroFormField* field : fields) {
    for (const Chaine& state : StatesWithoutAppearance(*field)) names.Add(state);
    for (const Chaine& state : {field->Value(), field->DefaultValue()}) {
      if (!is_closed_ && !state.IsEmpty() && state != kOff) names.Add(state);
    }
  }
  state_names_.assign(names.begin(), names.end());
  const auto add = [this](const Chaine& called, const Chaine& state) {
    if (!states_.Exist(called)) states_.Set(called, state);
  };
  for (const Chaine& state : state_names_) add(state, state);
  for (const Chaine& state : state_names_) add(PDFNameToUTF8(state), state);
  PUniqueT<Chaine> shown;
  for (const ZAcroFormField* field : fields) {
    const PTableau<Chaine> first = FirstStates(*field);
    const std::shared_ptr<const ChoiceOptions> exported = options->Of(*field);
    for (size_t i = 0; i < std::min(first.size(), exported->ExportValues().size()); i++) {
      if (first[i].IsEmpty()) continue;
      add(exported->ExportValues()[i], first[i]);
      shown.Add(exported->ExportValues()[i]);
    }
  }
  if (shown.Size() == 0) {
    for (const Chaine& state : state_names_) shown.Add(PDFNameToUTF8(state));
  }
  for (size_t i = 0; i < std::min(shown.Size(), kListedStates); i++) state_listing_ += Quoted(shown[i]) + ", ";
  if (shown.Size() > kListedStates) state_listing_ += FormatUInt(shown.Size() - kListedStates) + " others, ";
  state_listing_ = state_listing_.Mid(0, state_listing_.size() - 2) + " or \"Off\"";
}

ZFieldRule::Verdict ZFieldRule::Judge(const PTableau<Chaine>& given) const {
  if (given.empty()) return {};
  Verdict verdict = JudgeValues(given);
  if (range_ != nullptr && verdict.is_taken && kind_ != Kind::kButton) {
    const std::string why = range_->WhyNot(verdict.values.front());
    if (!why.empty()) verdict.faults.emplace_back(why);
    verdict.is_taken = why.empty();
  }
  if (IsExported(given)) {
    verdict.is_unchanged = true;
    verdict.faults.clear();
  } else if (!why_locked_.IsEmpty() && verdict.is_taken && !IsPresent(verdict.values)) {
    verdict = {};
    verdict.faults.push_back(why_locked_);
  }
  return verdict;
}

ZFieldRule::Verdict ZFieldRule::JudgeValues(const PTableau<Chaine>& given) const {
  Verdict verdict;
  if (kind_ == Kind::kNotFilled) {
    const bool is_empty = std::all_of(given.begin(), given.end(), [](const Chaine& value) { return value.IsEmpty(); });
    if (!is_empty) verdict.faults.push_back(why_not_filled_);
  } else if (given.size() > 1 && !takes_several_) {
    verdict.faults.emplace_back("the field takes one value, not a list");
  } else if (kind_ == Kind::kChoice) {
    JudgeChoices(given, &verdict);
  } else if (kind_ == Kind::kButton) {
    JudgeButton(given.front(), &verdict);
  } else {
    JudgeText(given.front(), &verdict);
  }
  return verdict;
}

// Whether an export of the first field contains these values. Several values may be the lines of one text. No value and
// an empty text are the same, because a table has an empty cell for both.
bool ZFieldRule::IsExported(const PTableau<Chaine>& given) const {
  if (given.size() == present_.size()) return std::equal(given.begin(), given.end(), present_.begin(), IsExportOf);
  if (given.size() != 1) return false;
  Chaine lines;
  for (size_t i = 0; i < present_.size(); i++) lines += (i == 0 ? "" : "\n") + present_[i];
  return IsExportOf(given[0], lines);
}

// Whether the fields hold these values already. For fields without a value, an empty text or "Off" is the same.
bool ZFieldRule::IsPresent(const PTableau<Chaine>& values) const {
  if (present_.empty()) return values.size() == 1 && (values[0].IsEmpty() || values[0] == kOff);
  if (kind_ == Kind::kButton) return Holds(values[0]) || Holds(PDFNameToUTF8(values[0]));
  const auto holds = [this](const Chaine& value) { return Holds(value); };
  return values.size() == present_.size() && std::all_of(values.begin(), values.end(), holds);
}

bool ZFieldRule::Holds(const Chaine& value) const {
  return std::find(present_.begin(), present_.end(), WithLF(value)) != present_.end();
}

void ZFieldRule::JudgeText(const Chaine& given, Verdict* verdict) const {
  const size_t count = max_length_ == 0 || given.size() <= max_length_ ? 0 : CharacterCount(given);
  if (count > max_length_) {
    verdict->faults.push_back(Quoted(given) + " has " + FormatUInt(count) + " characters; the field takes at most " +
                              FormatUInt(max_length_));
    return;
  }
  verdict->is_taken = true;
  verdict->values = {given};
}

// The state for a word such as "yes" or "no" at a button with one state; empty for other texts.
Chaine ZFieldRule::StateOfTruth(const Chaine& given) const {
  if (state_names_.size() > 1 || given.size() > 8) return {};
  const Chaine word = FoldCase(given);
  if (IsOneOf(word, kOffWords)) return kOff;
  if (!IsOneOf(word, kOnWords)) return {};
  return state_names_.empty() ? Chaine(kYes) : state_names_.front();
}

void ZFieldRule::JudgeButton(const Chaine& given, Verdict* verdict) const {
  const Chaine* const exact = states_.Find(given);
  Chaine state = exact != nullptr ? *exact : given.IsEmpty() || given == kOff ? Chaine(kOff) : Chaine();
  if (state.IsEmpty()) state = StateOfTruth(given);
  // In a button without appearances, any name may be a state.
  if (state.IsEmpty() && !is_closed_) state = UTF8ToPDFName(given);
  if (!state.IsEmpty()) {
    verdict->is_taken = true;
    verdict->values = {state};
  } else {
    verdict->faults.push_back(Quoted(given) + " is not a state of the button; its states are " + state_listing_);
  }
}

// Finds the option whose export value or display text is `given`, and returns its export value. When there is none,
// returns `given` where any text is accepted, else sets `fault`.
Chaine ZFieldRule::ChoiceFor(const Chaine& given, Chaine* fault) const {
  Chaine choice;
  const ChoiceOptions::Match match = options_->Find(given, &choice);
  const bool is_one = match == ChoiceOptions::Match::kOne;
  if (!is_closed_ || Holds(given)) return is_one ? choice : given;
  if (is_one) {
    // All widgets of a field have one value (ISO 32000-1 12.7.3.2), so each of them must offer it.
    for (const auto& options : widget_options_) {
      if (options->BytesOf(choice) != nullptr) continue;
      *fault = Quoted(given) + " is not a choice in every widget of the field: one offers only " + options->Listing();
      return {};
    }
    return choice;
  }
  const bool is_several = match == ChoiceOptions::Match::kSeveral;
  *fault = Quoted(given) +
           (is_several ? " is the text of several choices of the field: give the export value of one"
                       : " is not a choice of the field") +
           "; its choices are " + options_->Listing();
  return {};
}

void ZFieldRule::JudgeChoices(const PTableau<Chaine>& given, Verdict* verdict) const {
  Chaine whole;
  // Several options may be given as the lines of one text.
  const bool is_lines =
      takes_several_ && given.size() == 1 && options_->Find(given[0], &whole) == ChoiceOptions::Match::kNone;
  PUniqueT<Chaine> taken;
  size_t more_faults = 0;
  for (const Chaine& value : is_lines ? LinesOf(given[0]) : given) {
    // An empty value or line chooses nothing, unless an option has the empty text as its value.
    if (value.IsEmpty() && options_->BytesOf(value) == nullptr) continue;
    Chaine fault;
    const Chaine choice = ChoiceFor(value, &fault);
    if (fault.IsEmpty()) {
      taken.Add(choice);
    } else if (verdict->faults.size() < kMaxFaults) {
      verdict->faults.push_back(fault);
    } else {
      more_faults++;
    }
  }
  if (more_faults == 1) verdict->faults.emplace_back("1 more value is not a choice of the field");
  if (more_faults > 1) {
    verdict->faults.push_back(FormatUInt(more_faults) + " more values are not choices of the field");
  }
  verdict->values.assign(taken.begin(), taken.end());
  if (verdict->values.empty() && verdict->faults.empty()) verdict->values = {Chaine()};
  verdict->is_taken = !verdict->values.empty();
}

}  // namespace zforms
