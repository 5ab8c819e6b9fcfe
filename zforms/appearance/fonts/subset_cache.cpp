#include "zforms/appearance/fonts/subset_cache.h"

#include <utility>

namespace zforms {
namespace {

// How many bytes of subsets of one font are kept, and the overhead that is counted for each.
constexpr size_t kMostBytes = 8 << 20;
constexpr size_t kBesides = 200;

}  // namespace

std::shared_ptr<const FontSubset> SubsetCache::Get(const Glyphs& glyphs, const std::function<FontSubset()>& make) {
  {
    const std::lock_guard lock(mutex_);
    if (const auto known = subsets_.find(glyphs); known != subsets_.end()) return known->second;
  }
  // Makes the subset without the lock, so that several threads can make subsets at the same time. Two threads that make
  // the same subset get the same bytes.
  auto subset = std::make_shared<const FontSubset>(make());
  const size_t size = subset->file.size() + subset->codes_to_indices.size() + 4 * glyphs.size() + kBesides;
  const std::lock_guard lock(mutex_);
  if (bytes_ + size > kMostBytes) {
    subsets_.clear();
    bytes_ = 0;
  }
  if (subsets_.emplace(glyphs, subset).second) bytes_ += size;
  return subset;
}

}  // namespace zforms
