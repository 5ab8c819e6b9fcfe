#pragma once

#include <functional>
#include <memory>
#include <unordered_set>
#include <utility>

#include "zforms/filling/field_rule.h"
#include "zforms/platform/base/chaine.h"
#include "zforms/platform/base/containers.h"
#include "zforms/platform/base/export.h"

namespace zforms {

class FieldScripts;
class NearNames;
class ZAcroForm;
class ZAcroFormField;
class ZAcroFormFieldCollection;
class ZXFDF;
class ZXFDFField;
class ZXFDFFieldCollection;

// ZCheckedFiller writes values into the fields of a form, by full name. A value that a field does not accept is not
// written, and the fault is recorded. All fields of one full name get the value (ISO 32000-1 12.7.3.2). Check boxes and
// radio buttons show their new state. The caller draws the other fields (see TakeChanged), or asks viewers to draw them
// (see ZAcroForm::SetNeedAppearances). Texts are UTF-8.
//
//   ZCheckedFiller filler(form);
//   filler.Fill("person.country", {"France"});
//   for (const ZCheckedFiller::Fault& fault : filler.Faults()) ...
//
// The form must outlive it, stay loaded, and be used by the same thread.
class ZFORMS_API ZCheckedFiller {
 public:
  // Why a value was refused.
  struct Fault {
    Chaine field;             // the full name
    Chaine what;              // such as "\"ZZ\" is not one of its choices"
    bool is_unknown = false;  // no field has the name; then `what` is the whole message

    // `what`, with the name of the field in front unless `what` contains it.
    ZFORMS_API Chaine Text() const;
  };

  explicit ZCheckedFiller(ZAcroForm& form);
  ZCheckedFiller(const ZCheckedFiller&) = delete;
  ZCheckedFiller& operator=(const ZCheckedFiller&) = delete;
  ~ZCheckedFiller();

  // Sets whether values also become the default values.
  void SetDefaultsToo(bool defaults_too) { defaults_too_ = defaults_too; }

  // Sets whether unknown names are ignored instead of recorded as faults. Use this for data that may contain many
  // unknown names.
  void SetIgnoresUnknown(bool ignores_unknown) { ignores_unknown_ = ignores_unknown; }
  // Sets a function that returns why a field, given by full name, is locked, or an empty text. A locked field accepts
  // only its present value. Set it before the first filling.
  void SetLocks(std::function<Chaine(const Chaine& name)> why) { lock_of_ = std::move(why); }

  // Sets the scripts of the form, which refuse values and compute fields (see Compute); they outlive the filler. Set
  // them before the first filling.
  void SetScripts(const FieldScripts* scripts) { scripts_ = scripts; }

  // Fills from every field of the document that has a value, including rich text.
  void Fill(const ZXFDF& data);
  // Fills one field; several values are for list boxes. False when a fault was recorded.
  bool Fill(const Chaine& name, const PTableau<Chaine>& values);

  // The faults, in the order of the values.
  const PTableau<Fault>& Faults() const { return faults_; }
  // Full names that several fields share, whose values differ. The data contain the value that the first of these
  // fields has, so all of them keep their values.
  const PTableau<Chaine>& Unequal() const { return unequal_; }
  // The number of names in the data that are names of fields. Names without a value in the data are counted too.
  size_t Known() const { return known_; }
  // The number of names that got a value, changed or not.
  size_t Filled() const { return filled_; }
  // The fields that got a new value since the last call, so that the caller can draw them. A field may be in the list
  // twice.
  PTableau<ZAcroFormField*> TakeChanged() { return std::exchange(changed_, {}); }

  // Computes the fields that depend on those filled since the last call (see FieldScripts::Compute), and appends
  // warnings in UTF-8.
  void Compute(PTableau<Chaine>* warnings);
  // Takes from an earlier filler of the same form the list of filled fields, from which Compute starts.
  void Continue(ZCheckedFiller& former) { given_ = std::move(former.given_); }

  // The values that the fields of that name accept; null when there is no such field.
  std::shared_ptr<const ZFieldRule> RuleOf(const Chaine& name);
  // Suggestions for an unknown name, as the end of a message: "; did you mean adherent.nom?", or nothing.
  Chaine NearNamesOf(const Chaine& name);

 private:
  // The fields of one full name.
  struct Target {
    PTableau<ZAcroFormField*> fields;
    std::shared_ptr<const ZFieldRule> rule;  // null until it is needed
  };
  struct Index;
  class Computing;

  void AddUnknown(const Chaine& name, const Chaine& what);
  void FillAll(const ZXFDFFieldCollection& from, const Chaine& above);
  void FillOne(const ZXFDFField& from, const Chaine& name);
  bool FillTarget(Target& target, const Chaine& name, const PTableau<Chaine>& values, const Chaine& rich_text);
  void BuildIndex(ZAcroFormFieldCollection& fields, const Chaine& above, const Chaine& above_bytes);
  Target* Find(const Chaine& name);
  const ZFieldRule& RuleOf(Target& target, const Chaine& name);
  void WriteState(const Target& target, const Chaine& state, bool was_empty);
  void WriteChoices(ZAcroFormField& field, const PTableau<Chaine>& choices);
  void WriteDefault(ZAcroFormField& field, ZFieldRule::Kind kind, const Chaine& value);
  Chaine BytesOf(const ZAcroFormField& field, const Chaine& choice);

  ZAcroForm& form_;
  bool defaults_too_ = false;
  bool ignores_unknown_ = false;
  std::function<Chaine(const Chaine& name)> lock_of_;
  const FieldScripts* scripts_ = nullptr;
  std::unordered_set<const ZAcroFormField*> given_;
  PTableau<Fault> faults_;
  PTableau<Chaine> unequal_;
  size_t known_ = 0;
  size_t filled_ = 0;
  PTableau<ZAcroFormField*> changed_;
  std::unique_ptr<Index> index_;
};

}  // namespace zforms
