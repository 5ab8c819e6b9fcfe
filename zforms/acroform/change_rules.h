#pragma once

#include <cstdint>

#include "zforms/platform/base/chaine.h"
#include "zforms/platform/base/containers.h"
#include "zforms/platform/base/export.h"

namespace zforms {

class ZAcroForm;
class ZPDFNodeDictionary;

// A signature field that is signed, and what its signature allows to be changed.
struct ZFORMS_API ZAcroFormSignature {
  // Which fields it locks, by "/FieldMDP" (ISO 32000-1 12.8.2.4) or by the "/Lock" of its field (table 233).
  struct Lock {
    enum Which : uint8_t { kAll, kListed, kOthers };
    Which which = kAll;
    PTableau<Chaine> fields;  // full names in UTF-8; a group stands for what is below it

    bool operator==(const Lock&) const = default;
  };

  // What "/P" of "/DocMDP" allows (ISO 32000-1 table 254).
  static constexpr int kNoChange = 1;
  static constexpr int kFilling = 2;
  static constexpr int kAnnotating = 3;

  Chaine field;  // the full name in UTF-8; empty for a certification that no field of the form holds
  // 0 for a signature that does not certify the document.
  int level = 0;
  PTableau<Lock> locks;

  bool Certifies() const { return level != 0; }
  bool Locks(const Chaine& name) const;
  // Such as "certifies, allows filling in; locks every field".
  Chaine Describe() const;
};

// ZAcroFormChangeRules says what a document lets be changed: by signatures and
// certification ("/DocMDP", "/FieldMDP", "/Lock"), by the permissions of its encryption,
// by usage rights ("/Perms" "/UR3") and by an XFA form that stands beside the fields. It
// is read from the document once and does not follow later changes. What it forbids can
// be done all the same: the signatures concerned do not hold any more then. A value that
// any number of threads may ask.
class ZFORMS_API ZAcroFormChangeRules {
 public:
  enum class XFA : uint8_t {
    kNone,
    kBeside,  // fields hold the same values as it (ISO 32000-1 12.7.8)
    kAlone,   // there are no fields
  };

  // Of a document that is loaded. Reads the fields, and loads the objects of signatures.
  explicit ZAcroFormChangeRules(const ZAcroForm& form);

  // The signatures, in the order of the form's fields.
  const PTableau<ZAcroFormSignature>& Signatures() const { return signatures_; }
  bool IsSigned() const { return !signatures_.empty(); }
  bool IsCertified() const;
  bool HasLocks() const;
  // Usage rights, with which a viewer allows more than it does elsewhere. They end with the first change.
  bool HasUsageRights() const { return has_usage_rights_; }
  XFA GetXFA() const { return xfa_; }
  static XFA XFAOf(const ZAcroForm& form);
  // Whether the permissions forbid that fields be filled in by who has the user password (ISO 32000-1 table 22).
  bool PermissionsForbidFilling() const { return permissions_forbid_filling_; }

  // Each says why something is forbidden, such as "is certified by the signature ...";
  // empty when it is not. The first is about all fields at once, the second about one,
  // by its full name in UTF-8, the third about all but values, such as new fields.
  Chaine FaultOfFilling() const;
  Chaine FaultOfFilling(const Chaine& name) const;
  Chaine FaultOfDesigning() const;

  // Take "/UR3" out of "/Perms", and "/XFA" out of the form, with the mark of the catalog
  // that viewers are to lay it out. Each returns the dictionaries that changed, none when
  // there was nothing to take.
  static PTableau<ZPDFNodeDictionary*> DropUsageRights(ZAcroForm& form);
  static PTableau<ZPDFNodeDictionary*> DropXFA(ZAcroForm& form);

 private:
  PTableau<ZAcroFormSignature> signatures_;
  XFA xfa_ = XFA::kNone;
  bool has_usage_rights_ = false;
  bool permissions_forbid_filling_ = false;
};

}  // namespace zforms
