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
  Chaine file;          // with FlateDecode applied; empty when the font cannot be cut
  uint32_t length = 0;  // the size of the file without FlateDecode, in bytes
  // For each character code the glyph's index in the file, as "/CIDToGIDMap" has it (ISO 32000-1 9.7.4.2), with
  // FlateDecode applied. Empty for CFF.
  Chaine codes_to_indices;
};

// The most recent subsets of one font, by their glyphs. Any thread may use it.
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
