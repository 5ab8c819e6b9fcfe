#pragma once

#include <functional>
#include <memory>
#include <utility>

#include "zforms/filling/field_rule.h"
#include "zforms/platform/base/chaine.h"
#include "zforms/platform/base/containers.h"
#include "zforms/platform/base/export.h"

namespace zforms {

class NearNames;
class ZAcroForm;
class ZAcroFormField;
class ZAcroFormFieldCollection;
class ZXFDF;
class ZXFDFField;
class ZXFDFFieldCollection;

// ZCheckedFiller writes values into the fields of a form, by full name, and only those
// that the fields take; a field keeps what it holds otherwise, and the fault is noted.
// All fields of one full name get the value (ISO 32000-1 12.7.3.2). Check boxes and
// radio buttons show their new state; the looks of other fields are left to the viewer:
// see ZAcroForm::SetNeedAppearances. Texts are UTF-8.
//
//   ZCheckedFiller filler(form);
//   filler.Fill("person.country", {"France"});
//   for (const ZCheckedFiller::Fault& fault : filler.Faults()) ...
//
// The form outlives it, stays loaded meanwhile, and belongs to the same thread.
class ZFORMS_API ZCheckedFiller {
 public:
  // Why a value was not taken.
  struct Fault {
    Chaine field;             // the full name
    Chaine what;              // such as "\"ZZ\" is not one of its choices"
    bool is_unknown = false;  // no field has the name, and `what` says all

    // `what`, after the name of the field where it does not say it.
    Chaine Text() const;
  };

  explicit ZCheckedFiller(ZAcroForm& form);
  ZCheckedFiller(const ZCheckedFiller&) = delete;
  ZCheckedFiller& operator=(const ZCheckedFiller&) = delete;
  ~ZCheckedFiller();

  // From now on the values become the default values as well.
  void SetDefaultsToo(bool defaults_too) { defaults_too_ = defaults_too; }

  // From now on names that no field has are no faults, and are not kept: for data that
  // may have any number of them.
  void SetIgnoresUnknown(bool ignores_unknown) { ignores_unknown_ = ignores_unknown; }
  // A field for whose full name this gives a reason takes no other value than it holds.
  // To be set before anything is filled or asked.
  void SetLocks(std::function<Chaine(const Chaine& name)> why) { lock_of_ = std::move(why); }

  // Fills from every field of the document that has a value, rich text included.
  void Fill(const ZXFDF& data);
  // Fills one field; several values are for list boxes. False when there was a fault.
  bool Fill(const Chaine& name, const PTableau<Chaine>& values);

  // In the order of the values.
  const PTableau<Fault>& Faults() const { return faults_; }
  // How many names got a value, whether it changed or not.
  size_t Filled() const { return filled_; }

  // What the fields of the name take; null when there is none.
  std::shared_ptr<const ZFieldRule> RuleOf(const Chaine& name);
  // The names that may have been meant, as the end of a message about a name that no
  // field has: "; did you mean adherent.nom?", or nothing.
  Chaine NearNamesOf(const Chaine& name);

 private:
  // The fields of one full name.
  struct Target {
    PTableau<ZAcroFormField*> fields;
    std::shared_ptr<const ZFieldRule> rule;  // null until it is asked for
  };
  struct Index;

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
  PTableau<Fault> faults_;
  size_t filled_ = 0;
  std::unique_ptr<Index> index_;
};

}  // namespace zforms
