#pragma once

#include "zforms/acroform/change_rules.h"
#include "zforms/platform/base/chaine.h"
#include "zforms/platform/base/containers.h"
#include "zforms/platform/base/export.h"

namespace zforms {

// The user's options for a form that limits changes.
struct ZFORMS_API GuardOptions {
  bool keep_xfa = false;
  bool force = false;  // make the changes that signatures forbid
};

// FillingGuard applies a form's limits to filling, and removes parts that the change makes outdated. It does not follow
// later changes of the form. Any thread may call const functions, each with its own form.
class ZFORMS_API FillingGuard {
 public:
  // Reads the rules of a loaded form, which need not outlive the guard.
  FillingGuard(const ZAcroForm& form, const GuardOptions& options);

  const ZAcroFormChangeRules& Rules() const { return rules_; }
  const GuardOptions& Options() const { return options_; }
  // Why no field may be filled; empty when some may, or when it is forced.
  Chaine FaultOfFilling() const { return options_.force ? Chaine() : rules_.FaultOfFilling(); }
  // Why the field of that full name, in UTF-8, must not change; empty when it may be filled.
  Chaine LockOf(const Chaine& name) const { return options_.force ? Chaine() : rules_.FaultOfFilling(name); }
  // True when a change removes the XFA form. In a signed form it is removed only if forced.
  bool DropsXFA() const;
  // Removes the XFA form and usage rights from a changed form, as far as the options allow; returns the dictionaries
  // that this changes.
  PTableau<ZPDFNodeDictionary*> Drop(ZAcroForm& form) const;

 private:
  ZAcroFormChangeRules rules_;
  GuardOptions options_;
};

}  // namespace zforms
