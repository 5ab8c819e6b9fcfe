#pragma once

#include <string>
#include <string_view>

#include "zforms/platform/base/chaine.h"
#include "zforms/platform/base/export.h"
#include "zforms/platform/files/os_file.h"

namespace zforms {

// ReplacingFile writes a file piece by piece under an unused name in the same folder. `Finish` flushes it to the disk
// and renames it over the target; so at any time the target is either the old file or the new one. The target's
// permissions are kept; symbolic links are followed; a device or pipe is written to directly. Paths are UTF-8. Each
// function returns false on failure with the reason, which does not repeat the path, in `*error`. Used by one thread at
// a time.
class ZFORMS_API ReplacingFile {
 public:
  ReplacingFile() = default;
  ReplacingFile(const ReplacingFile&) = delete;
  ReplacingFile& operator=(const ReplacingFile&) = delete;
  // Removes the file unless it has replaced the target.
  ~ReplacingFile();

  // Begins the new file. A folder and a write-protected target are refused.
  bool Open(const Chaine& path, std::string* error);
  bool IsOpen() const { return file_.IsOpen(); }
  bool Write(std::string_view bytes, std::string* error);
  bool Finish(std::string* error);

 private:
  Chaine target_;
  Chaine beside_;  // the new file; empty where the target itself is written to
  OsFile file_;
};

}  // namespace zforms
