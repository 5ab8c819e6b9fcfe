#include "zforms/server/form_cache.h"

namespace zforms {

bool FormCache::Find(const Chaine& key, const ZFileStamp& stamp, Chaine* bytes) const {
  const std::lock_guard lock(mutex_);
  const auto found = entries_.find(key);
  if (found == entries_.end() || found->second.stamp != stamp) return false;
  *bytes = found->second.bytes;
  return true;
}

void FormCache::Keep(const Chaine& key, const ZFileStamp& stamp, const Chaine& bytes) {
  if (bytes.size() > kMaxBytes / 4) return;
  const std::lock_guard lock(mutex_);
  if (const auto found = entries_.find(key); found != entries_.end()) {
    bytes_ -= found->second.bytes.size();
    entries_.erase(found);
  }
  if (bytes_ + bytes.size() > kMaxBytes) {
    entries_.clear();
    bytes_ = 0;
  }
  bytes_ += bytes.size();
  entries_.emplace(key, Entry{stamp, bytes});
}

}  // namespace zforms
