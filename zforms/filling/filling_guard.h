#pragma once

#include "zforms/acroform/change_rules.h"
#include "zforms/platform/base/chaine.h"
#include "zforms/platform/base/containers.h"
#include "zforms/platform/base/export.h"

namespace zforms {

// What the user wants of a form that does not let everything be changed.
struct ZFORMS_API GuardOptions {
  bool keep_xfa = false;
  bool force = false;  // make the changes that signatures forbid
};

// FillingGuard holds filling to what the form lets be changed, and takes away what the
// change puts out of date. It does not follow later changes of the form. Any thread may
// ask what is const, each of a form of its own.
class ZFORMS_API FillingGuard {
 public:
  // Of a form that is loaded, which need not outlive it.
  FillingGuard(const ZAcroForm& form, const GuardOptions& options);

  const ZAcroFormChangeRules& Rules() const { return rules_; }
  const GuardOptions& Options() const { return options_; }
  // Why nothing may be filled; empty when something may, or when it is forced.
  Chaine FaultOfFilling() const { return options_.force ? Chaine() : rules_.FaultOfFilling(); }
  // Why the field of that full name, in UTF-8, keeps what it holds; empty when it may be filled.
  Chaine LockOf(const Chaine& name) const { return options_.force ? Chaine() : rules_.FaultOfFilling(name); }
  // Whether a change takes the XFA form out. The XFA form of a signed form stays unless that is forced.
  bool DropsXFA() const;
  // Takes the XFA form and usage rights out of a form that has changed, as the options
  // allow; the dictionaries that change with it.
  PTableau<ZPDFNodeDictionary*> Drop(ZAcroForm& form) const;

 private:
  ZAcroFormChangeRules rules_;
  GuardOptions options_;
};

}  // namespace zforms
