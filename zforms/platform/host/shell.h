#pragma once

#include <cstdint>
#include <memory>

#include "zforms/platform/base/chaine.h"
#include "zforms/platform/base/export.h"

namespace zforms {

// ZShell opens documents in the programs that the user has chosen for them. Paths
// are UTF-8. The host's thread uses it.
class ZFORMS_API ZShell {
 public:
  virtual ~ZShell();

  // Opens ("open") or prints ("print") a file, without taking the focus. True when
  // a program was started for it; what becomes of that is not waited for. False
  // for other verbs.
  virtual bool Execute(const Chaine& path, const Chaine& verb) = 0;
  // Opens a URL in the user's browser.
  virtual bool OpenURL(const Chaine& url) = 0;
  // The program that would open the file; empty when there is none or the system
  // does not tell.
  virtual Chaine ProgramFor(const Chaine& path) = 0;
  // The file that serves a registered class ("{...}"), references to the
  // environment expanded; empty when it is not registered, or the system has no
  // such register.
  virtual Chaine ServerOfClass(const Chaine& class_id) = 0;
  // The version of that file, as GetAppVersionValue gives it; 0 when there is none. Where
  // the system has no such register there is nothing to look for, and its own shell
  // gives the greatest version, so that any reader will do.
  virtual uint64_t VersionOfClass(const Chaine& class_id);
};

// The shell of this system: xdg-open and lp; on Windows its own.
ZFORMS_API std::unique_ptr<ZShell> OpenSystemShell();

}  // namespace zforms
