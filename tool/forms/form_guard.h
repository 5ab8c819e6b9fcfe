#pragma once

#include "tool/base/console.h"
#include "zforms/acroform/change_rules.h"
#include "zforms/platform/base/containers.h"

namespace zforms::tool {

// What the user wants of a form that does not let everything be changed.
struct GuardOptions {
  bool keep_xfa = false;
  bool force = false;  // make the changes that signatures forbid
};

// FormGuard holds filling to what the form lets be changed, and takes away what the
// change puts out of date. It does not follow later changes of the form. Any thread may
// ask what is const, each of a form of its own.
class FormGuard {
 public:
  FormGuard(const ZAcroForm& form, const GuardOptions& options);

  // Says, before it is done, what filling breaks or must leave. False when nothing may be filled.
  bool AllowsFilling(Console& console) const;
  // The same for what is no value, such as new fields; a certification forbids it.
  bool AllowsDesigning(Console& console) const;
  // Why the field of that full name, in UTF-8, keeps what it holds; empty when it may be filled.
  Chaine LockOf(const Chaine& name) const;
  // Takes the XFA form and usage rights out of a form that has changed, as the options
  // allow; the dictionaries that change with it.
  PTableau<ZPDFNodeDictionary*> Drop(ZAcroForm& form) const;
  // Says what Drop takes, and what it has to leave.
  void SayWhatGoes(Console& console) const;

 private:
  bool DropsXFA() const;

  ZAcroFormChangeRules rules_;
  GuardOptions options_;
  bool saves_anew_;
};

}  // namespace zforms::tool
