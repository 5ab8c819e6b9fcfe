#pragma once

#include "zforms/acroform/change_rules.h"
#include "zforms/filling/form_message.h"
#include "zforms/platform/base/chaine.h"
#include "zforms/platform/base/containers.h"
#include "zforms/platform/base/export.h"

namespace zforms {

// The user's options for a form that limits changes.
struct ZFORMS_API GuardOptions {
  bool keep_xfa = false;
  bool force = false;  // make changes that signatures forbid; the signatures are then no longer valid
};

// FillingGuard applies a form's limits to filling, and removes parts that the change makes outdated. It does not follow
// later changes of the form. Any thread may call const functions, each with its own form.
class ZFORMS_API FillingGuard {
 public:
  // Reads the rules of a loaded form, which need not outlive the guard. `writes_anew` says that the document will be
  // written as a new file and not as an update.
  FillingGuard(const ZAcroForm& form, const GuardOptions& options, bool writes_anew = false);

  // Call this before filling: adds messages about what filling makes invalid or cannot change. False when nothing may
  // be filled.
  bool AllowsFilling(ZFormMessages* messages) const;
  // Like AllowsFilling, for changes other than values, such as new fields: a certification forbids them, and any
  // signature forbids writing a new file.
  bool AllowsDesigning(ZFormMessages* messages) const;
  // Why the field of that full name, in UTF-8, must not change; empty when it may be filled.
  Chaine LockOf(const Chaine& name) const { return options_.force ? Chaine() : rules_.FaultOfFilling(name); }
  const GuardOptions& Options() const { return options_; }
  bool HasLocks() const { return !options_.force && rules_.HasLocks(); }
  // Removes the XFA form and usage rights from a changed form, as far as the options allow; returns the dictionaries
  // that this changes. The XFA form of a signed document is kept unless GuardOptions::force is set.
  PTableau<ZPDFNodeDictionary*> Drop(ZAcroForm& form) const;
  // Adds messages about what Drop removes and what it must keep.
  void SayWhatGoes(ZFormMessages* messages) const;

 private:
  bool DropsXFA() const;

  ZAcroFormChangeRules rules_;
  GuardOptions options_;
  bool saves_anew_;
};

}  // namespace zforms
