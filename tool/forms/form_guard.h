#pragma once

#include "tool/base/console.h"
#include "zforms/filling/filling_guard.h"

namespace zforms::tool {

// FormGuard is a FillingGuard that says on the console what it allows and takes away.
class FormGuard : public FillingGuard {
 public:
  // `writes_anew`: the file is, whatever changes.
  FormGuard(const ZAcroForm& form, const GuardOptions& options, bool writes_anew = false);

  // Says, before it is done, what filling breaks or must leave. False when nothing may be filled.
  bool AllowsFilling(Console& console) const;
  // The same for what is no value, such as new fields: a certification forbids it, and any
  // signature forbids that the file is written anew.
  bool AllowsDesigning(Console& console) const;
  // The same as of FillingGuard, with the option that writes it all the same.
  Chaine LockOf(const Chaine& name) const;
  // Says what Drop takes, and what it has to leave.
  void SayWhatGoes(Console& console) const;

 private:
  bool saves_anew_;
};

}  // namespace zforms::tool
