#include "zforms/filling/checked_filler.h"

#include <algorithm>

#include "zforms/acroform/acro_form.h"
#include "zforms/acroform/button_states.h"
#include "zforms/acroform/field_filling.h"
#include "zforms/acroform/node_access.h"
#include "zforms/calculation/field_scripts.h"
#include "zforms/filling/choice_options.h"
#include "zforms/filling/near_names.h"
#include "zforms/filling/rich_text.h"
#include "zforms/platform/text/text.h"
#include "zforms/platform/xml/xml.h"
#include "zforms/xfdf/xfdf.h"

namespace zforms {
namespace {

bool IsButton(const ZAcroFormField& field) {
  const ZAcroFormField::eFieldType type = field.InheritedType();
  return type == ZAcroFormField::eCheckBox || type == ZAcroFormField::eRadioButton;
}

// Keeps the fields of the same kind as the model: the value of a button is a name, other values are strings.
void KeepThoseLike(const ZAcroFormField& model, PTableau<ZAcroFormField*>* fields) {
  std::erase_if(*fields, [&](const ZAcroFormField* field) {
    return field->IsSignature() || field->InheritedType() == ZAcroFormField::ePushButton ||
           IsButton(*field) != IsButton(model);
  });
}

// The rich text as XML with LF as line ends. Values in memory have CR LF, and as XML each CR is written as "&#13;".
// This function removes every "&#13;".
Chaine RichTextOf(const ZXFDFField& from) {
  constexpr std::string_view kReturn = "&#13;";
  const Chaine text = from.ValueRichText().AsChaine();
  Chaine result;
  for (size_t at = 0;;) {
    const size_t end = std::min(text.View().find(kReturn, at), text.size());
    result += text.View().substr(at, end - at);
    if (end == text.size()) return result;
    at = end + kReturn.size();
  }
}

PTableau<Chaine> TextsOf(const ZAcroFormField& field) {
  PTableau<Chaine> texts;
  for (const Chaine& value : field.Values()) texts.push_back(PDFTextToUTF8(value));
  return texts;
}

}  // namespace

struct ZCheckedFiller::Index {
  PTableau<Target> targets;
  // Indices in `targets` by the full name.
  FDictionnary<size_t> by_name;   // with names in UTF-8
  FDictionnary<size_t> by_bytes;  // with names as the form stores them
  ChoiceOptionsCache options;
  std::unique_ptr<NearNames> near_names;
};

ZCheckedFiller::ZCheckedFiller(ZAcroForm& form) : form_(form), index_(std::make_unique<Index>()) {
  BuildIndex(form.Fields(), Chaine(), Chaine());
}

ZCheckedFiller::~ZCheckedFiller() = default;

Chaine ZCheckedFiller::Fault::Text() const { return is_unknown ? what : "field \"" + field + "\": " + what; }

// --- names ---

// Recursion is safe: FieldTreeBuilder bounds the depth of the tree.
void ZCheckedFiller::BuildIndex(ZAcroFormFieldCollection& fields, const Chaine& above, const Chaine& above_bytes) {
  for (uint32_t i = 0; i < fields.Size(); i++) {
    ZAcroFormField* const field = fields.GetAt(i);
    const Chaine own = field->Name();
    Chaine name = above;
    Chaine bytes = above_bytes;
    AppendPartialName(&name, field->HasName(), PDFTextToUTF8(own));
    AppendPartialName(&bytes, field->HasName(), own);
    if (!own.IsEmpty()) {
      const size_t* const found = index_->by_name.Find(name);
      const size_t at = found == nullptr ? index_->targets.size() : *found;
      if (found == nullptr) {
        index_->by_name.Set(name, at);
        index_->targets.emplace_back();
      }
      index_->targets[at].fields.push_back(field);
      // A name is also found by its bytes: some forms have names in UTF-8 in place of PDFDocEncoding.
      if (bytes != name) index_->by_bytes.Set(bytes, at);
    }
    BuildIndex(*field, name, bytes);
  }
}

ZCheckedFiller::Target* ZCheckedFiller::Find(const Chaine& name) {
  const size_t* found = index_->by_name.Find(name);
  if (found == nullptr) found = index_->by_bytes.Find(name);
  return found == nullptr ? nullptr : &index_->targets[*found];
}

const ZFieldRule& ZCheckedFiller::RuleOf(Target& target, const Chaine& name) {
  if (target.rule == nullptr) {
    PTableau<ZAcroFormField*>& fields = target.fields;
    const bool any_length = name == ZXFDF::kSessionIDField;  // the host writes this field
    const auto rule_of = [&](const PTableau<ZAcroFormField*>& same) {
      const auto rule = std::make_shared<ZFieldRule>(same, &index_->options, any_length);
      if (lock_of_ != nullptr) rule->Lock(lock_of_(name));
      if (scripts_ != nullptr) rule->Limit(scripts_->RangeOf(*same.front()));
      return rule;
    };
    // The first field that can be filled determines the rule.
    for (size_t i = 0; i < fields.size(); i++) {
      const auto rule = rule_of({fields[i]});
      if (target.rule == nullptr) target.rule = rule;
      if (!rule->IsFillable()) continue;
      const ZAcroFormField& model = *fields[i];
      fields.erase(fields.begin(), fields.begin() + static_cast<ptrdiff_t>(i));
      KeepThoseLike(model, &fields);
      target.rule = fields.size() == 1 ? rule : rule_of(fields);
      break;
    }
  }
  return *target.rule;
}

std::shared_ptr<const ZFieldRule> ZCheckedFiller::RuleOf(const Chaine& name) {
  Target* const target = Find(name);
  if (target == nullptr) return nullptr;
  RuleOf(*target, name);
  return target->rule;
}

Chaine ZCheckedFiller::NearNamesOf(const Chaine& name) {
  if (index_->near_names == nullptr) {
    PTableau<Chaine> names;
    for (const auto& [known, at] : index_->by_name) {
      const ZAcroFormField& field = *index_->targets[at].fields.front();
      const bool is_group = field.Size() > 0 && field.InheritedType() == ZAcroFormField::eOtherField;
      const bool is_filled = !field.IsSignature() && field.InheritedType() != ZAcroFormField::ePushButton;
      if (is_filled && !is_group && known != ZXFDF::kSessionIDField) names.push_back(known);
    }
    index_->near_names = std::make_unique<NearNames>(names);
  }
  Chaine text;
  for (const Chaine& near : index_->near_names->Of(name)) text += (text.IsEmpty() ? "; did you mean " : " or ") + near;
  return text.IsEmpty() ? text : text + "?";
}

// --- values ---

void ZCheckedFiller::Fill(const ZXFDF& data) {
  if (data.HasFields()) FillAll(data.Fields(), Chaine());
}

void ZCheckedFiller::AddUnknown(const Chaine& name, const Chaine& what) {
  if (!ignores_unknown_) faults_.push_back({name, what, true});
}

void ZCheckedFiller::FillAll(const ZXFDFFieldCollection& from, const Chaine& above) {
  for (unsigned i = 0; i < from.Size(); i++) {
    const ZXFDFField& field = from[i];
    const bool is_empty = field.Size() == 0 && !field.HasValue() && !field.HasValueRichText();
    // Skips empty fields early, because building the name of a deep field is expensive.
    if (is_empty && ignores_unknown_) continue;
    Chaine name = above;
    AppendPartialName(&name, true, field.Name());
    if (name.size() > ZXFDFFieldCollection::kMaxFullName) {
      AddUnknown(name, "the name of a field is too long: " + Shortened(name));
      continue;
    }
    FillOne(field, name);
    FillAll(field, name);
  }
}

void ZCheckedFiller::FillOne(const ZXFDFField& from, const Chaine& name) {
  const bool has_rich_text = from.HasValueRichText();
  const bool has_value = from.HasValue();
  if (from.Size() != 0 && !has_value && !has_rich_text) return;  // a group
  Target* const target = Find(name);
  known_ += target != nullptr ? 1 : 0;
  if (target == nullptr) {
    AddUnknown(name, "no field is named \"" + name + "\"");
  } else if (has_value || has_rich_text) {
    // The value is the plain text of the rich text (ISO 32000-1 12.7.3.4).
    FillTarget(*target, name, has_value ? from.Values() : PTableau<Chaine>{PlainTextOf(from.ValueRichText())},
               has_rich_text ? RichTextOf(from) : Chaine());
  }
}

bool ZCheckedFiller::Fill(const Chaine& name, const PTableau<Chaine>& values) {
  Target* const target = Find(name);
  if (target != nullptr) return FillTarget(*target, name, values, Chaine());
  AddUnknown(name, "no field is named \"" + name + "\"");
  return ignores_unknown_;
}

class ZCheckedFiller::Computing final : public FieldScripts::Host {
 public:
  Computing(ZCheckedFiller* filler, PTableau<Chaine>* warnings) : filler_(filler), warnings_(warnings) {}

  bool IsGiven(const ZAcroFormField& field) const override { return filler_->given_.contains(&field); }

  void Write(const Chaine& name, const Chaine& value) override {
    Target* const target = filler_->Find(name);
    const size_t faults = filler_->faults_.size();
    // Drops the rule, so that a new one is made: this rule has the values from before the field was filled.
    target->rule = nullptr;
    filler_->FillTarget(*target, name, {value}, Chaine());
    target->rule = nullptr;
    for (size_t i = faults; i < filler_->faults_.size(); i++) Warn("computed " + filler_->faults_[i].Text().ToString());
    filler_->faults_.resize(faults);
  }

  void Warn(std::string text) override { warnings_->emplace_back(text); }

 private:
  ZCheckedFiller* filler_;
  PTableau<Chaine>* warnings_;
};

void ZCheckedFiller::Compute(PTableau<Chaine>* warnings) {
  if (given_.empty()) return;
  Computing host(this, warnings);
  scripts_->Compute(host);
  given_.clear();
}

bool ZCheckedFiller::FillTarget(Target& target, const Chaine& name, const PTableau<Chaine>& values,
                                const Chaine& rich_text) {
  const ZFieldRule& rule = RuleOf(target, name);
  const ZFieldRule::Verdict verdict = rule.Judge(values);
  for (const Chaine& fault : verdict.faults) faults_.push_back({name, fault});
  if (verdict.is_unchanged && !rule.IsAlike()) unequal_.push_back(name);
  if (scripts_ != nullptr && scripts_->HasSums() && verdict.faults.empty()) {
    given_.insert(target.fields.begin(), target.fields.end());
  }
  const ZFieldRule::Kind kind = rule.GetKind();
  const bool takes_rich = kind == ZFieldRule::Kind::kText && verdict.faults.empty();
  const bool is_rich = !rich_text.IsEmpty() && takes_rich && rule.WhyLocked().IsEmpty();
  if (!verdict.is_taken && !verdict.is_unchanged && !is_rich) return verdict.faults.empty();
  const bool is_new = verdict.is_taken && !verdict.is_unchanged;
  filled_++;
  for (ZAcroFormField* field : target.fields) {
    if (is_new || is_rich) changed_.push_back(field);
    if (is_rich && !IsSameText(PDFTextToUTF8(field->ValueRichText()), rich_text)) {
      field->SetValueRichText(UTF8ToPDFText(rich_text));
    }
    if (is_new && kind == ZFieldRule::Kind::kText) {
      FillText(*field, verdict.values.front(), is_rich, LineEnds::kKept);
    }
    if (is_new && kind == ZFieldRule::Kind::kChoice) WriteChoices(*field, verdict.values);
    if (verdict.is_taken && defaults_too_) WriteDefault(*field, kind, verdict.values.front());
  }
  if (is_new && kind == ZFieldRule::Kind::kButton) {
    WriteState(target, verdict.values.front(), values.front().IsEmpty());
  }
  return verdict.faults.empty();
}

void ZCheckedFiller::WriteState(const Target& target, const Chaine& state, bool was_empty) {
  for (ZAcroFormField* field : target.fields) {
    // Nothing was chosen and nothing is chosen now, so the field does not change: a missing or empty value stays when
    // the given value is empty, and an empty value stays when the given state is "Off".
    const bool is_unset = field->Value().IsEmpty() && (was_empty || (state == "Off" && field->HasValue()));
    if (field->Value() != state && !is_unset) field->Dico()->SetIdentifier("/V", "/" + state);
    // Changes the "/V" of widgets that have their own: they would keep showing the old value.
    for (ZAcroFormField* widget : field->Widgets()) {
      if (widget != field && widget->HasOwnValue() && widget->Value() != state)
        widget->Dico()->SetIdentifier("/V", "/" + state);
    }
  }
  ShowButtonState(target.fields, state);
}

// The bytes that "/Opt" has for this option, because readers compare bytes. For a value that is not an option, its PDF
// text string.
Chaine ZCheckedFiller::BytesOf(const ZAcroFormField& field, const Chaine& choice) {
  const Chaine* const bytes = index_->options.Of(field)->BytesOf(choice);
  return bytes == nullptr ? UTF8ToPDFText(choice) : *bytes;
}

void ZCheckedFiller::WriteChoices(ZAcroFormField& field, const PTableau<Chaine>& choices) {
  const auto write = [&](ZAcroFormField& to) {
    const PTableau<Chaine> before = TextsOf(to);
    if (std::equal(before.begin(), before.end(), choices.begin(), choices.end(), IsSameText)) return;
    PTableau<Chaine> bytes;
    for (const Chaine& choice : choices) bytes.push_back(BytesOf(to, choice));
    to.SetValues(bytes);
  };
  write(field);
  // Changes the "/V" of widgets that have their own: they would keep showing the old value.
  for (ZAcroFormField* widget : field.Widgets()) {
    if (widget != &field && widget->HasOwnValue()) write(*widget);
  }
}

void ZCheckedFiller::WriteDefault(ZAcroFormField& field, ZFieldRule::Kind kind, const Chaine& value) {
  if (kind == ZFieldRule::Kind::kButton) {
    field.SetDefaultValue(value);
  } else if (!IsSameText(field.DefaultValueUTF8(), value)) {
    field.SetDefaultValue(kind == ZFieldRule::Kind::kChoice ? BytesOf(field, value) : UTF8ToPDFText(value));
  }
}

}  // namespace zforms
