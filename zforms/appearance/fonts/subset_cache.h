#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <vector>

#include "zforms/platform/base/chaine.h"

namespace zforms {

// A font file with only some of a font's glyphs.
struct FontSubset {
  Chaine file;          // compressed for FlateDecode; empty when no subset can be made
  uint32_t length = 0;  // the size of the uncompressed file, in bytes
  // The contents of "/CIDToGIDMap" (ISO 32000-1 9.7.4.2): for each character code, the index of its glyph in the file.
  // Compressed for FlateDecode; empty for CFF.
  Chaine codes_to_indices;
};

// Subsets of one font, by their glyphs. When they take too much memory, all are removed. Any thread may use it.
class SubsetCache {
 public:
  using Glyphs = std::vector<uint32_t>;

  // The subset of those glyphs; calls `make` when it is not in the cache.
  std::shared_ptr<const FontSubset> Get(const Glyphs& glyphs, const std::function<FontSubset()>& make);

 private:
  std::mutex mutex_;
  std::map<Glyphs, std::shared_ptr<const FontSubset>> subsets_;
  size_t bytes_ = 0;
};

}  // namespace zforms
