#pragma once

#include <map>
#include <string>
#include <string_view>

#include "zforms/platform/base/chaine.h"

namespace zforms::tool {

// StaticFiles are the files of a folder as they were when they were read, with all
// that sending them takes. What a request asks for is looked up here and never
// becomes part of a path. Immutable once read, for any thread.
class StaticFiles {
 public:
  struct File {
    Chaine bytes;
    std::string content_type;
    std::string entity_tag;
  };

  // Reads the files of the folder and of those in it that are of a known type; links
  // are left out. Those that cannot be read, and a folder that is not there, hold none.
  void Read(const std::string& folder);
  // The file by its path in the folder, "css/page.css"; null when there is none.
  const File* Find(std::string_view name) const;

 private:
  void Add(const std::string& path, const std::string& name);

  std::map<std::string, File, std::less<>> files_;
};

}  // namespace zforms::tool
