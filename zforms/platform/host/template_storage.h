#pragma once

#include <cstdint>
#include <filesystem>
#include <mutex>

#include "zforms/platform/base/chaine.h"
#include "zforms/platform/base/containers.h"
#include "zforms/platform/base/export.h"

namespace zforms {

// ZTemplateStorage finds the form templates of a folder by their code names: the template of "F1" is the file "F1.pdf".
// A code is looked up in a list of the folder and never becomes part of a path. Links that lead out of the folder, and
// subfolders, are not templates. Files that are added or removed later are noticed. Texts are UTF-8. Any thread may use
// it.
class ZFORMS_API ZTemplateStorage {
 public:
  // A missing folder has no templates.
  explicit ZTemplateStorage(const Chaine& folder);
  ZTemplateStorage(const ZTemplateStorage&) = delete;
  ZTemplateStorage& operator=(const ZTemplateStorage&) = delete;
  ~ZTemplateStorage();

  const Chaine& Folder() const { return folder_; }
  // The path of the template of that code; empty when there is none.
  Chaine PathOf(const Chaine& code) const;
  // The codes of all templates, in byte order.
  PTableau<Chaine> Codes() const;

 private:
  void Refresh() const;
  void List() const;

  Chaine folder_;
  std::filesystem::path path_;
  mutable std::mutex mutex_;
  mutable FSortedMap<Chaine, Chaine> paths_;
  mutable std::filesystem::file_time_type listed_;
  mutable bool settled_ = false;
};

// Identifies one state of a file: differs after a change.
struct ZFORMS_API ZFileStamp {
  uint64_t size = 0;
  int64_t time = 0;

  bool operator==(const ZFileStamp&) const = default;
};
// False when there is no such file.
ZFORMS_API bool StampOfFile(const Chaine& path, ZFileStamp* stamp);

}  // namespace zforms
