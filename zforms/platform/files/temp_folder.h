#pragma once

#include <string>

#include "zforms/platform/base/chaine.h"
#include "zforms/platform/base/export.h"

namespace zforms {

// ZTempFolder is a folder for this process's temporary files, which nobody else
// on the machine can read or change. It is made with the object and removed, with
// all that is in it, by the destructor. Any thread may write.
class ZFORMS_API ZTempFolder {
 public:
  ZTempFolder();
  ZTempFolder(const ZTempFolder&) = delete;
  ZTempFolder& operator=(const ZTempFolder&) = delete;
  ~ZTempFolder();

  // The folder, in UTF-8; empty when it could not be made.
  const Chaine& Path() const { return path_; }
  // Where a file of that name stands; empty when the name is no plain file name
  // (IsPlainName) or there is no folder.
  Chaine PathOf(const Chaine& name) const;
  // Writes a file at once: whoever opens it sees all of it or the one before. The
  // result is its path, empty on failure with the reason in `*error`.
  Chaine Write(const Chaine& name, const Chaine& bytes, std::string* error = nullptr) const;

  // A name that means a file in its folder on every system: UTF-8, no longer than
  // 200 bytes, without separators, drive letters, control characters or what
  // Windows reserves; not "." or "..", and no point or blank at its end.
  static bool IsPlainName(const Chaine& name);

 private:
  Chaine path_;
};

}  // namespace zforms
