#pragma once

#include <string>

#include "zforms/platform/base/chaine.h"
#include "zforms/platform/base/export.h"

namespace zforms {

// ZTempFolder is a folder for this process's temporary files; other users of the machine cannot read or change it. The
// constructor creates it, the destructor removes it with its contents. Any thread may write.
class ZFORMS_API ZTempFolder {
 public:
  ZTempFolder();
  ZTempFolder(const ZTempFolder&) = delete;
  ZTempFolder& operator=(const ZTempFolder&) = delete;
  ~ZTempFolder();

  // The path of the folder, in UTF-8; empty when it could not be created.
  const Chaine& Path() const { return path_; }
  // The path of a file of that name; empty when the name is not a plain file name (IsPlainName) or there is no folder.
  Chaine PathOf(const Chaine& name) const;
  // Writes a file atomically: a reader sees either all of it or the previous file. Returns its path; empty on failure,
  // with the reason in `*error`.
  Chaine Write(const Chaine& name, const Chaine& bytes, std::string* error = nullptr) const;

  // True for a file name that is valid and stays inside the folder on every system: UTF-8, no longer than 200 bytes,
  // without separators, drive letters, control characters or names that Windows reserves; not "." or "..", and without
  // a point or blank at its end.
  static bool IsPlainName(const Chaine& name);

 private:
  Chaine path_;
};

}  // namespace zforms
