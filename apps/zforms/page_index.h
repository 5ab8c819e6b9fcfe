#pragma once

#include <cstdint>
#include <unordered_map>
#include <unordered_set>

namespace zforms {
class ZPDFNode;
class ZPDFNodeArray;
class ZPDFNodeDictionary;
class ZPDFParser;
}  // namespace zforms

namespace zforms::tool {

// The pages on which the annotations of a document stand, by walking the page
// tree once (ISO 32000-1 7.7.3). Page trees that lead back into themselves are cut.
class PageIndex {
 public:
  explicit PageIndex(const ZPDFParser& parser);

  uint32_t PageCount() const { return count_; }
  // The page of the annotation, from 1; 0 when no page lists it.
  uint32_t PageOf(const ZPDFNodeDictionary* annotation) const;

 private:
  void Walk(const ZPDFNodeDictionary& node, int depth);
  void AddPage(const ZPDFNodeDictionary& page);

  std::unordered_map<const ZPDFNode*, uint32_t> pages_;
  std::unordered_set<const ZPDFNode*> visited_;
  uint32_t count_ = 0;
};

}  // namespace zforms::tool
