#pragma once

#include <cstdint>

#include "zforms/platform/base/chaine.h"
#include "zforms/platform/base/containers.h"
#include "zforms/platform/base/export.h"

namespace zforms {

class ZAcroForm;
class ZPDFNodeDictionary;

// A signed signature field, and the changes that its signature allows.
struct ZFORMS_API ZAcroFormSignature {
  // The fields that a signature locks, by "/FieldMDP" (ISO 32000-1 12.8.2.4) or by "/Lock" of the signature field
  // (table 233).
  struct Lock {
    enum Which : uint8_t { kAll, kListed, kOthers };
    Which which = kAll;
    PTableau<Chaine> fields;  // full names in UTF-8; a group includes the fields below it

    bool operator==(const Lock&) const = default;
  };

  // Values of "/P" of "/DocMDP" (ISO 32000-1 table 254).
  static constexpr int kNoChange = 1;
  static constexpr int kFilling = 2;
  static constexpr int kAnnotating = 3;

  Chaine field;  // the full name in UTF-8; empty for a certification without a field in the form
  // One of the values above; 0 for a signature that does not certify the document.
  int level = 0;
  PTableau<Lock> locks;

  bool Certifies() const { return level != 0; }
  bool Locks(const Chaine& name) const;
  // A description for messages, such as "certifies, allows filling in; locks every field".
  Chaine Describe() const;
};

// ZAcroFormChangeRules says which changes a document allows. Changes are limited by signatures and certification
// ("/DocMDP", "/FieldMDP", "/Lock"), by the permissions of its encryption, by usage rights ("/Perms" "/UR3") and by an
// XFA form beside the fields. The rules are read from the document once and do not follow later changes. They enforce
// nothing: a forbidden change is possible, but invalidates the signatures concerned. A plain value; any number of
// threads may read it.
class ZFORMS_API ZAcroFormChangeRules {
 public:
  enum class XFA : uint8_t {
    kNone,
    kBeside,  // the fields have the same values as the XFA form (ISO 32000-1 12.7.8)
    kAlone,   // there are no fields
  };

  // Reads the rules of a loaded document. This builds the fields of the form and loads the objects of signatures.
  explicit ZAcroFormChangeRules(const ZAcroForm& form);

  // The signatures, in the order of the form's fields. A certification without a field in the form is the last.
  const PTableau<ZAcroFormSignature>& Signatures() const { return signatures_; }
  bool IsSigned() const { return !signatures_.empty(); }
  bool IsCertified() const;
  bool HasLocks() const;
  // Usage rights allow additional operations in some viewers. The first change invalidates them.
  bool HasUsageRights() const { return has_usage_rights_; }
  XFA GetXFA() const { return xfa_; }
  static XFA XFAOf(const ZAcroForm& form);
  // True when the permissions forbid filling in fields (ISO 32000-1 table 22) and the document was not opened with the
  // owner password.
  bool PermissionsForbidFilling() const { return permissions_forbid_filling_; }

  // Each returns why a change is forbidden, such as "the document is certified by the signature ...", or an
  // empty text when it is allowed. The first is about filling in the form as a whole, the second about filling in the
  // field with that full name in UTF-8. The third is about other changes, such as new fields.
  Chaine FaultOfFilling() const;
  Chaine FaultOfFilling(const Chaine& name) const;
  Chaine FaultOfDesigning() const;

  // The first removes the usage rights ("/UR3" and "/UR") from "/Perms". The second removes "/XFA" from the form and
  // "/NeedsRendering" from the catalog. Both return the dictionaries that changed, none when there was nothing to
  // remove.
  static PTableau<ZPDFNodeDictionary*> DropUsageRights(ZAcroForm& form);
  static PTableau<ZPDFNodeDictionary*> DropXFA(ZAcroForm& form);

 private:
  PTableau<ZAcroFormSignature> signatures_;
  XFA xfa_ = XFA::kNone;
  bool has_usage_rights_ = false;
  bool permissions_forbid_filling_ = false;
};

}  // namespace zforms
