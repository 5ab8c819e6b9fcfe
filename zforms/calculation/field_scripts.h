#pragma once

#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "zforms/calculation/field_formula.h"
#include "zforms/calculation/value_format.h"
#include "zforms/platform/base/chaine.h"
#include "zforms/platform/base/containers.h"
#include "zforms/platform/base/export.h"

namespace zforms {

class ZAcroForm;
class ZAcroFormField;
class ZAcroFormFieldCollection;
class ZPDFNode;

// FieldScripts knows the scripts of a form's fields that are calls of the common functions (see ValueFormat, ValueRange
// and FieldFormula), and does what they do without an interpreter: it says what a field shows, which values it refuses,
// and computes fields from others. Made by one walk over the fields, and empty for a form without such scripts. The
// form outlives it, and stays loaded. One thread at a time.
class ZFORMS_API FieldScripts {
 public:
  explicit FieldScripts(ZAcroForm& form);
  FieldScripts(const FieldScripts&) = delete;
  FieldScripts& operator=(const FieldScripts&) = delete;
  ~FieldScripts();

  bool IsEmpty() const { return formats_.empty() && ranges_.empty() && sums_.empty(); }
  bool HasFormats() const { return !formats_.empty(); }
  bool HasSums() const { return !sums_.empty(); }
  // The format of a field or of its widget; null for none.
  const ValueFormat* FormatOf(const ZAcroFormField& widget) const;
  // The limits of the field's value; null for none.
  std::shared_ptr<const ValueRange> RangeOf(const ZAcroFormField& field) const;

  // The note about scripts that format, check or compute fields and do more than call the common functions. It ends
  // with their fields, such as `"a" (calculate), "b" (format) and 3 more`. Empty when there are none.
  std::string Skipped() const;

  // The functions of the caller that Compute calls. Names are full names in UTF-8.
  class ZFORMS_API Host {
   public:
    virtual ~Host();
    // Whether the data have filled the field.
    virtual bool IsGiven(const ZAcroFormField& field) const = 0;
    // Writes the value that was computed.
    virtual void Write(const Chaine& name, const Chaine& value) = 0;
    // Gets a warning: a field was not computed, or its value from the data differs from the computed one.
    virtual void Warn(std::string text) = 0;
  };
  // Computes the fields that depend on others that the data have filled or that were computed, in the order of "/CO" of
  // the form (ISO 32000-1 table 218). A field that the data have filled keeps its value.
  void Compute(Host& host) const;
  // The names of the fields that may be computed.
  std::set<Chaine> Computed() const;

 private:
  struct Sum {
    ZAcroFormField* field;
    Chaine name;
    FieldFormula formula;
    PTableau<PTableau<const ZAcroFormField*>> operands;  // the fields of each name
  };
  using Given = std::set<const ZAcroFormField*>;

  void Read(ZAcroFormFieldCollection& fields, ZAcroFormField* named);
  void ReadActions(ZAcroFormField& field, ZAcroFormField* named);
  void AddSums(ZAcroForm& form);
  bool Depends(const Sum& sum, const Host& host, const Given& computed) const;
  std::optional<double> ResultOf(const Sum& sum, Host& host) const;
  std::optional<double> NumberOf(const ZAcroFormField& field) const;
  bool IsSame(const Sum& sum, double result) const;

  std::unordered_map<const ZAcroFormField*, ValueFormat> formats_;
  std::unordered_map<const ZAcroFormField*, std::shared_ptr<const ValueRange>> ranges_;
  // The formulas of all fields that have one, until "/CO" is read.
  std::unordered_map<const ZAcroFormField*, FieldFormula> formulas_;
  std::unordered_map<const ZPDFNode*, ZAcroFormField*> by_dictionary_;
  std::vector<Sum> sums_;
  std::vector<std::string> skipped_;
};

}  // namespace zforms
