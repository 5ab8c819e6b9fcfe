#include "tool/forms/form_guard.h"

#include "zforms/acroform/acro_form.h"

namespace zforms::tool {
namespace {

using XFA = ZAcroFormChangeRules::XFA;

constexpr const char* kNoneHolds = "the signatures are no longer valid";

}  // namespace

FormGuard::FormGuard(const ZAcroForm& form, const GuardOptions& options, bool writes_anew)
    : FillingGuard(form, options), saves_anew_(writes_anew || form.SavesAnew()) {}

bool FormGuard::AllowsFilling(Console& console) const {
  if (Rules().PermissionsForbidFilling()) console.Warn("the permissions forbid filling in fields");
  if (Rules().IsSigned() && saves_anew_)
    console.Warn(std::string("is signed and is written as a new file: ") + kNoneHolds);
  const Chaine fault = Rules().FaultOfFilling();
  if (!Options().force) {
    if (!fault.IsEmpty()) console.Warn(fault + ": nothing is filled; --force fills it all the same");
    return fault.IsEmpty();
  }
  if (!fault.IsEmpty()) {
    console.Warn(fault + ": it is filled anyway, and the signature is no longer valid");
  } else if (Rules().HasLocks()) {
    console.Warn(std::string("locked fields are written anyway: ") + kNoneHolds + " where one changes");
  }
  return true;
}

bool FormGuard::AllowsDesigning(Console& console) const {
  Chaine fault = Rules().FaultOfDesigning();
  if (fault.IsEmpty() && Rules().IsSigned() && saves_anew_)
    fault = Chaine("is signed, and in a new file ") + kNoneHolds;
  if (fault.IsEmpty()) return true;
  if (!Options().force) {
    console.Fail(fault + "; --force writes it all the same");
    return false;
  }
  console.Warn(std::string("is signed: ") + kNoneHolds);
  return true;
}

Chaine FormGuard::LockOf(const Chaine& name) const {
  const Chaine fault = FillingGuard::LockOf(name);
  return fault.IsEmpty() ? fault : fault + "; --force writes it all the same";
}

void FormGuard::SayWhatGoes(Console& console) const {
  if (Rules().HasUsageRights()) console.Note("its usage rights (\"/UR3\") end with the change and are dropped");
  if (Rules().GetXFA() == XFA::kNone || Options().keep_xfa) return;
  if (!DropsXFA()) {
    console.Warn(
        "the XFA form stays, since the form is signed: readers that know it show its old values; --force drops it");
    return;
  }
  console.Note("the XFA form is dropped: readers that know it would show its old values (--xfa keep leaves it)");
  if (Rules().IsSigned()) console.Warn(kNoneHolds);
}

}  // namespace zforms::tool
