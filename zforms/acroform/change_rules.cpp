#include "zforms/acroform/change_rules.h"

#include <algorithm>
#include <utility>

#include "zforms/acroform/acro_form.h"
#include "zforms/acroform/node_access.h"
#include "zforms/pdf/crypt/encryption.h"
#include "zforms/pdf/parser/parser.h"
#include "zforms/platform/text/text.h"

namespace zforms {
namespace {

using Lock = ZAcroFormSignature::Lock;

constexpr const char* kUsageRights[] = {"/UR3", "/UR"};
// At most this many references of a signature are read.
constexpr size_t kMostReferences = 100;
constexpr uint32_t kAnnotateAndFill = 0x20;
constexpr uint32_t kFill = 0x100;

// True when the list contains the name or a group above it.
bool IsListed(const PTableau<Chaine>& fields, const Chaine& name) {
  return std::any_of(fields.begin(), fields.end(), [&](const Chaine& listed) {
    return name.View().starts_with(listed) && (name.size() == listed.size() || name.View()[listed.size()] == '.');
  });
}

void AddLock(const ZPDFNodeDictionary* lock, ZAcroFormSignature* signature) {
  if (lock == nullptr) return;
  const Chaine& action = lock->GetIdentifier("/Action");
  Lock added;
  added.which = action == "/Include" ? Lock::kListed : action == "/Exclude" ? Lock::kOthers : Lock::kAll;
  if (action != "/All" && added.which == Lock::kAll) return;
  const ZPDFNodeArray* const fields = ArrayAt(*lock, "/Fields");
  for (size_t i = 0; fields != nullptr && i < fields->Size(); i++) {
    const ZPDFNode* const name = fields->GetTargetAt(i);
    if (name != nullptr) added.fields.push_back(PDFTextToUTF8(name->GetStringValue()));
  }
  // Adds each lock once: the signature may repeat the lock of its field.
  PTableau<Lock>& locks = signature->locks;
  if (std::find(locks.begin(), locks.end(), added) == locks.end()) locks.push_back(std::move(added));
}

// The lower of two levels; 0 means that none is given (ISO 32000-2 table 236).
int Stricter(int a, int b) { return a == 0 || b == 0 ? std::max(a, b) : std::min(a, b); }

int LevelOf(const ZPDFNodeDictionary* parameters, int fallback) {
  const int level = parameters == nullptr ? 0 : parameters->GetIntValue("/P");
  return level >= ZAcroFormSignature::kNoChange && level <= ZAcroFormSignature::kAnnotating ? level : fallback;
}

// Reads the references of a signature dictionary (ISO 32000-1 table 253).
void ReadReferences(const ZPDFNodeDictionary& value, ZAcroFormSignature* signature) {
  const ZPDFNodeArray* const references = ArrayAt(value, "/Reference");
  const size_t count = references == nullptr ? 0 : std::min(references->Size(), kMostReferences);
  for (size_t i = 0; i < count; i++) {
    const auto* const reference = NodeCast<ZPDFNodeDictionary>(references->GetTargetAt(i));
    if (reference == nullptr) continue;
    const Chaine& method = reference->GetIdentifier("/TransformMethod");
    const ZPDFNodeDictionary* const parameters = DictionaryAt(*reference, "/TransformParams");
    if (method == "/DocMDP") {
      signature->level = Stricter(signature->level, LevelOf(parameters, ZAcroFormSignature::kFilling));
    } else if (method == "/FieldMDP") {
      AddLock(parameters, signature);
    }
  }
}

// Reads the signatures of signed fields. `*certification` is the certifying signature; it becomes null when a field has
// it.
void ReadFields(const ZAcroFormFieldCollection& fields, const ZPDFNodeDictionary** certification,
                PTableau<ZAcroFormSignature>* signatures) {
  for (uint32_t i = 0; i < fields.Size(); i++) {
    const ZAcroFormField& field = *fields.GetAt(i);
    const ZPDFNodeDictionary* const value = field.IsSignature() ? DictionaryAt(*field.Dico(), "/V") : nullptr;
    if (value != nullptr) {
      ZAcroFormSignature signature;
      signature.field = field.FullNameUTF8();
      ReadReferences(*value, &signature);
      const ZPDFNodeDictionary* const lock = DictionaryAt(*field.Dico(), "/Lock");
      AddLock(lock, &signature);
      signature.level = Stricter(signature.level, LevelOf(lock, 0));
      if (value == *certification) {
        if (!signature.Certifies()) signature.level = ZAcroFormSignature::kFilling;
        *certification = nullptr;
      }
      signatures->push_back(std::move(signature));
    }
    ReadFields(field, certification, signatures);
  }
}

const ZPDFNodeDictionary* Perms(const ZAcroForm& form) {
  const ZPDFNodeDictionary* const root = form.Parser()->Root();
  return root == nullptr ? nullptr : DictionaryAt(*root, "/Perms");
}

// Whether the permissions forbid filling in. They do not bind the owner. At revision 2 one bit allows both annotating
// and filling in; later revisions have another bit for filling in.
bool ForbidsFilling(const ZPDFEncryption* encryption) {
  if (encryption == nullptr) return false;
  const uint32_t allowing = encryption->StandardRevision() == 2 ? kAnnotateAndFill : kAnnotateAndFill | kFill;
  return (encryption->StandardFlags() & allowing) == 0 && !encryption->IsOpenedByOwner();
}

Chaine SignatureText(const ZAcroFormSignature& signature) {
  return signature.field.IsEmpty() ? Chaine("a signature") : "the signature \"" + signature.field + "\"";
}

const char* AllowanceText(int level) {
  if (level == ZAcroFormSignature::kNoChange) return "no change";
  return level == ZAcroFormSignature::kFilling ? "filling in and signing" : "filling in, signing and annotating";
}

}  // namespace

bool ZAcroFormSignature::Locks(const Chaine& name) const {
  return std::any_of(locks.begin(), locks.end(), [&](const Lock& lock) {
    return lock.which == Lock::kAll || IsListed(lock.fields, name) == (lock.which == Lock::kListed);
  });
}

Chaine ZAcroFormSignature::Describe() const {
  Chaine text = Certifies() ? Chaine("certifies, allows ") + AllowanceText(level) : Chaine("signs");
  for (const Lock& lock : locks) {
    const bool is_all = lock.which == Lock::kAll || (lock.which == Lock::kOthers && lock.fields.empty());
    text += is_all                        ? "; locks every field"
            : lock.which == Lock::kOthers ? "; locks every field except "
            : lock.fields.empty()         ? "; locks no field"
                                          : "; locks ";
    for (size_t i = 0; lock.which != Lock::kAll && i < lock.fields.size(); i++) {
      text += (i == 0 ? "\"" : ", \"") + lock.fields[i] + "\"";
    }
  }
  return text;
}

ZAcroFormChangeRules::ZAcroFormChangeRules(const ZAcroForm& form) {
  if (form.Parser() == nullptr) return;
  const ZPDFNodeDictionary* const perms = Perms(form);
  const ZPDFNodeDictionary* certification = perms == nullptr ? nullptr : DictionaryAt(*perms, "/DocMDP");
  ReadFields(form.Fields(), &certification, &signatures_);
  // A certification is valid even when the form's fields do not lead to it (ISO 32000-1 12.8.4).
  if (certification != nullptr) {
    ZAcroFormSignature signature;
    ReadReferences(*certification, &signature);
    if (!signature.Certifies()) signature.level = ZAcroFormSignature::kFilling;
    signatures_.push_back(std::move(signature));
  }
  for (const char* key : kUsageRights) has_usage_rights_ |= perms != nullptr && HasEntry(*perms, key);
  xfa_ = XFAOf(form);
  permissions_forbid_filling_ = ForbidsFilling(form.EncryptionLoad());
}

ZAcroFormChangeRules::XFA ZAcroFormChangeRules::XFAOf(const ZAcroForm& form) {
  if (form.Infos() == nullptr || !HasEntry(*form.Infos()->Dico(), "/XFA")) return XFA::kNone;
  return form.Fields().Size() == 0 ? XFA::kAlone : XFA::kBeside;
}

bool ZAcroFormChangeRules::IsCertified() const {
  return std::any_of(signatures_.begin(), signatures_.end(), [](const auto& one) { return one.Certifies(); });
}

bool ZAcroFormChangeRules::HasLocks() const {
  return std::any_of(signatures_.begin(), signatures_.end(), [](const auto& one) { return !one.locks.empty(); });
}

Chaine ZAcroFormChangeRules::FaultOfFilling() const {
  for (const ZAcroFormSignature& signature : signatures_) {
    if (signature.level == ZAcroFormSignature::kNoChange) {
      return "the document is certified by " + SignatureText(signature) + ", which allows no change";
    }
  }
  return {};
}

Chaine ZAcroFormChangeRules::FaultOfFilling(const Chaine& name) const {
  for (const ZAcroFormSignature& signature : signatures_) {
    if (signature.Locks(name)) return "is locked by " + SignatureText(signature);
  }
  return FaultOfFilling();
}

Chaine ZAcroFormChangeRules::FaultOfDesigning() const {
  for (const ZAcroFormSignature& signature : signatures_) {
    if (!signature.Certifies()) continue;
    return "the document is certified by " + SignatureText(signature) + ", which allows " +
           (signature.level == ZAcroFormSignature::kNoChange ? "" : "only ") + AllowanceText(signature.level);
  }
  return {};
}

PTableau<ZPDFNodeDictionary*> ZAcroFormChangeRules::DropUsageRights(ZAcroForm& form) {
  ZPDFNodeDictionary* const root = form.Parser() == nullptr ? nullptr : form.Parser()->Root();
  ZPDFNodeDictionary* const perms = root == nullptr ? nullptr : DictionaryAt(*root, "/Perms");
  if (perms == nullptr) return {};
  const auto count = std::count_if(std::begin(kUsageRights), std::end(kUsageRights),
                                   [&](const char* key) { return perms->Exist(key); });
  if (count == 0) return {};
  if (static_cast<size_t>(count) == perms->Size()) {
    root->RemoveValue("/Perms");
    return {root};
  }
  for (const char* key : kUsageRights) perms->RemoveValue(key);
  return {perms};
}

PTableau<ZPDFNodeDictionary*> ZAcroFormChangeRules::DropXFA(ZAcroForm& form) {
  PTableau<ZPDFNodeDictionary*> changed;
  if (form.Infos() == nullptr || !form.Infos()->Dico()->Exist("/XFA")) return changed;
  form.Infos()->Dico()->RemoveValue("/XFA");
  changed.push_back(form.Infos()->Dico());
  ZPDFNodeDictionary* const root = form.Parser()->Root();
  if (root->Exist("/NeedsRendering")) {
    root->RemoveValue("/NeedsRendering");
    changed.push_back(root);
  }
  return changed;
}

}  // namespace zforms
