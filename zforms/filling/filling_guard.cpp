#include "zforms/filling/filling_guard.h"

#include "zforms/acroform/acro_form.h"

namespace zforms {

FillingGuard::FillingGuard(const ZAcroForm& form, const GuardOptions& options) : rules_(form), options_(options) {}

bool FillingGuard::DropsXFA() const {
  return rules_.GetXFA() != ZAcroFormChangeRules::XFA::kNone && !options_.keep_xfa &&
         (options_.force || !rules_.IsSigned());
}

PTableau<ZPDFNodeDictionary*> FillingGuard::Drop(ZAcroForm& form) const {
  PTableau<ZPDFNodeDictionary*> changed = ZAcroFormChangeRules::DropUsageRights(form);
  if (!DropsXFA()) return changed;
  for (ZPDFNodeDictionary* dictionary : ZAcroFormChangeRules::DropXFA(form)) changed.push_back(dictionary);
  return changed;
}

}  // namespace zforms
