#pragma once

#include <map>
#include <string>
#include <string_view>

#include "zforms/platform/base/chaine.h"

namespace zforms::tool {

// StaticFiles holds the files of a folder in memory, as they were when Read was called, with their HTTP fields. A
// request's path is only looked up here and never used to open a file. Immutable after Read, so any thread may use it.
class StaticFiles {
 public:
  struct File {
    Chaine bytes;
    std::string content_type;
    std::string entity_tag;
  };

  // Reads the files of known types in the folder and its subfolders; skips links and unreadable files. A missing folder
  // has no files.
  void Read(const std::string& folder);
  // The file by its path relative to the folder, "css/page.css"; null when there is none.
  const File* Find(std::string_view name) const;

 private:
  void Add(const std::string& path, const std::string& name);

  std::map<std::string, File, std::less<>> files_;
};

}  // namespace zforms::tool
