#pragma once

#include <cstddef>
#include <mutex>

#include "zforms/platform/base/chaine.h"
#include "zforms/platform/base/containers.h"
#include "zforms/platform/host/template_storage.h"

namespace zforms {

// A cache of bytes made from files, valid until the file changes. When it grows too large it is emptied, since a host
// has few templates. Any thread may use it.
class FormCache {
 public:
  // False when the cache has no bytes for this key and this state of the file.
  bool Find(const Chaine& key, const ZFileStamp& stamp, Chaine* bytes) const;
  void Keep(const Chaine& key, const ZFileStamp& stamp, const Chaine& bytes);

 private:
  static constexpr size_t kMaxBytes = size_t{64} << 20;

  struct Entry {
    ZFileStamp stamp;
    Chaine bytes;
  };

  mutable std::mutex mutex_;
  FSortedMap<Chaine, Entry> entries_;
  size_t bytes_ = 0;
};

}  // namespace zforms
