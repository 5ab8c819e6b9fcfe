#include "tool/forms/form_guard.h"

#include "zforms/acroform/acro_form.h"

namespace zforms::tool {
namespace {

using XFA = ZAcroFormChangeRules::XFA;

constexpr const char* kNoneHolds = "the signatures are no longer valid";

}  // namespace

FormGuard::FormGuard(const ZAcroForm& form, const GuardOptions& options)
    : rules_(form), options_(options), saves_anew_(form.SavesAnew()) {}

bool FormGuard::AllowsFilling(Console& console) const {
  if (rules_.PermissionsForbidFilling()) console.Warn("the permissions forbid filling in fields");
  if (rules_.IsSigned() && saves_anew_)
    console.Warn(std::string("is signed and is written as a new file: ") + kNoneHolds);
  const Chaine fault = rules_.FaultOfFilling();
  if (!options_.force) {
    if (!fault.IsEmpty()) console.Warn(fault + ": nothing is filled; --force fills it all the same");
    return fault.IsEmpty();
  }
  if (!fault.IsEmpty()) {
    console.Warn(fault + ": it is filled anyway, and the signature is no longer valid");
  } else if (rules_.HasLocks()) {
    console.Warn(std::string("locked fields are written anyway: ") + kNoneHolds + " where one changes");
  }
  return true;
}

bool FormGuard::AllowsDesigning(Console& console) const {
  const Chaine fault = rules_.FaultOfDesigning();
  if (!fault.IsEmpty() && !options_.force) {
    console.Fail(fault + "; --force changes it all the same");
    return false;
  }
  if (!fault.IsEmpty() || (rules_.IsSigned() && saves_anew_)) console.Warn(std::string("is signed: ") + kNoneHolds);
  return true;
}

Chaine FormGuard::LockOf(const Chaine& name) const {
  const Chaine fault = options_.force ? Chaine() : rules_.FaultOfFilling(name);
  return fault.IsEmpty() ? fault : fault + "; --force writes it all the same";
}

bool FormGuard::DropsXFA() const {
  return rules_.GetXFA() != XFA::kNone && !options_.keep_xfa && (options_.force || !rules_.IsSigned());
}

PTableau<ZPDFNodeDictionary*> FormGuard::Drop(ZAcroForm& form) const {
  PTableau<ZPDFNodeDictionary*> changed = ZAcroFormChangeRules::DropUsageRights(form);
  if (!DropsXFA()) return changed;
  for (ZPDFNodeDictionary* dictionary : ZAcroFormChangeRules::DropXFA(form)) changed.push_back(dictionary);
  return changed;
}

void FormGuard::SayWhatGoes(Console& console) const {
  if (rules_.HasUsageRights()) console.Note("its usage rights (\"/UR3\") end with the change and are dropped");
  if (rules_.GetXFA() == XFA::kNone || options_.keep_xfa) return;
  if (!DropsXFA()) {
    console.Warn(
        "the XFA form stays, since the form is signed: readers that know it show its old values; --force drops it");
    return;
  }
  console.Note("the XFA form is dropped: readers that know it would show its old values (--xfa keep leaves it)");
  if (rules_.IsSigned()) console.Warn(kNoneHolds);
}

}  // namespace zforms::tool
