#pragma once

#include <cstdint>
#include <memory>

#include "zforms/platform/base/chaine.h"
#include "zforms/platform/base/export.h"

namespace zforms {

// ZShell opens documents in the programs that the user has chosen for them. Paths are UTF-8. Used by the host's thread.
class ZFORMS_API ZShell {
 public:
  virtual ~ZShell();

  // Opens ("open") or prints ("print") a file, without taking the focus. True when a program was started; does not wait
  // for it. False for other verbs.
  virtual bool Execute(const Chaine& path, const Chaine& verb) = 0;
  // Opens a URL in the user's browser.
  virtual bool OpenURL(const Chaine& url) = 0;
  // The program that opens files of the kind of this file; empty when there is none or it is unknown.
  virtual Chaine ProgramFor(const Chaine& path) = 0;
  // The file of the COM server that is registered for a class id ("{...}"), with environment variables expanded; empty
  // when it is not registered, or the system has no such registry.
  virtual Chaine ServerOfClass(const Chaine& class_id) = 0;
  // The version of that file as a GetAppVersionValue result; 0 when there is none. On systems without such a registry,
  // the system's shell returns the greatest version, so that any reader is accepted.
  virtual uint64_t VersionOfClass(const Chaine& class_id);
};

// The shell of this system: xdg-open and lp on POSIX systems, the Windows shell on Windows.
ZFORMS_API std::unique_ptr<ZShell> OpenSystemShell();

}  // namespace zforms
