#include "zforms/filling/filling_guard.h"

#include "zforms/acroform/acro_form.h"

namespace zforms {
namespace {

using About = ZFormMessage::About;
using Remedy = ZFormMessage::Remedy;
using Severity = ZFormMessage::Severity;
using XFA = ZAcroFormChangeRules::XFA;

constexpr const char* kNoneHolds = "the signatures are no longer valid";

void Add(ZFormMessages* messages, Severity severity, const Chaine& text, Remedy remedy = Remedy::kNone) {
  messages->push_back({severity, About::kForm, text.ToString(), remedy});
}

void Warn(ZFormMessages* messages, const Chaine& text, Remedy remedy = Remedy::kNone) {
  Add(messages, Severity::kWarning, text, remedy);
}

}  // namespace

FillingGuard::FillingGuard(const ZAcroForm& form, const GuardOptions& options, bool writes_anew)
    : rules_(form), options_(options), saves_anew_(writes_anew || form.SavesAnew()) {}

bool FillingGuard::AllowsFilling(ZFormMessages* messages) const {
  const Chaine fault = rules_.FaultOfFilling();
  if (rules_.PermissionsForbidFilling() && (fault.IsEmpty() || options_.force)) {
    Warn(messages, "the permissions forbid filling in fields; the form is filled anyway");
  }
  if (rules_.IsSigned() && saves_anew_) {
    Warn(messages, Chaine("the document is signed and is written as a new file: ") + kNoneHolds);
  }
  if (!options_.force) {
    if (!fault.IsEmpty()) Warn(messages, fault + ": nothing is filled", Remedy::kForceFilling);
    return fault.IsEmpty();
  }
  if (!fault.IsEmpty()) {
    Warn(messages, fault + ": the form is filled anyway, and the signature is no longer valid");
  } else if (rules_.HasLocks()) {
    Warn(messages, "fields that a signature locks are filled too; that signature is then no longer valid");
  }
  return true;
}

bool FillingGuard::AllowsDesigning(ZFormMessages* messages) const {
  Chaine fault = rules_.FaultOfDesigning();
  if (fault.IsEmpty() && rules_.IsSigned() && saves_anew_) {
    fault = "the document is signed, and its signatures would not be valid in the new file";
  }
  if (fault.IsEmpty()) return true;
  if (!options_.force) {
    Add(messages, Severity::kFailure, fault, Remedy::kForceWriting);
    return false;
  }
  Warn(messages, Chaine("the document is signed: ") + kNoneHolds);
  return true;
}

bool FillingGuard::DropsXFA() const {
  return rules_.GetXFA() != XFA::kNone && !options_.keep_xfa && (options_.force || !rules_.IsSigned());
}

PTableau<ZPDFNodeDictionary*> FillingGuard::Drop(ZAcroForm& form) const {
  PTableau<ZPDFNodeDictionary*> changed = ZAcroFormChangeRules::DropUsageRights(form);
  if (!DropsXFA()) return changed;
  for (ZPDFNodeDictionary* dictionary : ZAcroFormChangeRules::DropXFA(form)) changed.push_back(dictionary);
  return changed;
}

void FillingGuard::SayWhatGoes(ZFormMessages* messages) const {
  if (rules_.HasUsageRights()) {
    Add(messages, Severity::kNote,
        "the usage rights (\"/UR3\") of the form are removed, because the change makes them invalid");
  }
  if (rules_.GetXFA() == XFA::kNone || options_.keep_xfa) return;
  if (!DropsXFA()) {
    Warn(messages, "the XFA form is kept, because the document is signed: viewers that support XFA show the old values",
         Remedy::kForceXFA);
    return;
  }
  Add(messages, Severity::kNote, "the XFA form is removed: viewers that support XFA would show the old values",
      Remedy::kKeepXFA);
  if (rules_.IsSigned()) Warn(messages, kNoneHolds);
}

}  // namespace zforms
