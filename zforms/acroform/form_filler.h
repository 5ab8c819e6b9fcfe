#pragma once

#include <memory>

#include "zforms/acroform/field_collection.h"
#include "zforms/platform/base/chaine.h"
#include "zforms/platform/base/containers.h"
#include "zforms/xfdf/field_collection.h"

namespace zforms {

class ZAcroFormField;
class ZDiagnostics;

// Writes the values of an XFDF document's fields, which are UTF-8, into the fields of a form; for this folder's
// sources. Used for one filling.
class FormFiller {
 public:
  enum class Target { kValue, kDefaultValue };

  FormFiller(ZAcroFormFieldCollection& fields, Target target, ZDiagnostics* diagnostics);

  // Makes Fill skip the fields of the data that have neither a value nor fields below them, because building full names
  // is expensive for deep fields. Unmatched then does not contain the skipped fields.
  void SkipEmpty() { skips_empty_ = true; }
  // Fills from every field of the collection, parents before children.
  void Fill(const ZXFDFFieldCollection& from) { Fill(from, Chaine()); }

  // The number of fields that were given a value, changed or not.
  size_t Filled() const { return filled_; }
  // Full names in the data: the first list are names that no field has, the second are names of fields that are never
  // filled.
  PTableau<Chaine> Unmatched() const { return {unmatched_.begin(), unmatched_.end()}; }
  PTableau<Chaine> Refused() const { return {refused_.begin(), refused_.end()}; }

 private:
  using NameIndex = FDictionnary<ZAcroFormField*>;

  void Fill(const ZXFDFFieldCollection& from, const Chaine& above);
  void FillField(const ZXFDFField& from, const Chaine& name);
  ZAcroFormField* Find(const Chaine& name);
  static void AddToIndex(ZAcroFormFieldCollection& fields, const Chaine& above, NameIndex* index);
  bool IsRefused(const ZAcroFormField& field, const ZXFDFField& from) const;
  void SetRichText(ZAcroFormField& field, const ZXFDFField& from);
  void SetValue(ZAcroFormField& field, const PTableau<Chaine>& values, bool has_rich_text);
  void SetDefaultValue(ZAcroFormField& field, const Chaine& value);
  Chaine ButtonState(const ZAcroFormField& field, const Chaine& value);

  ZAcroFormFieldCollection& fields_;
  Target target_;
  ZDiagnostics* diagnostics_;
  bool skips_empty_ = false;
  size_t filled_ = 0;
  PUniqueT<Chaine> unmatched_;
  PUniqueT<Chaine> refused_;
  // The fields by their full names in UTF-8. Built when it is first needed, see Find.
  std::unique_ptr<NameIndex> index_;
};

}  // namespace zforms
