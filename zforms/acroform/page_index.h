#pragma once

#include <cstdint>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "zforms/platform/base/export.h"

namespace zforms {
class ZPDFNode;
class ZPDFNodeArray;
class ZPDFNodeDictionary;
class ZPDFParser;

// Finds the page of each annotation of a document, by one walk over the page tree.
class ZFORMS_API PageIndex {
 public:
  explicit PageIndex(const ZPDFParser& parser);

  uint32_t PageCount() const { return count_; }
  // "/Tabs" of each page, without slash: "R" for rows, "C" for columns, "S" for the structure (ISO 32000-1 table 30);
  // empty when absent.
  const std::vector<std::string>& TabOrders() const { return tabs_; }
  // The first page that lists the annotation, from 1; 0 when none does.
  uint32_t PageOf(const ZPDFNodeDictionary* annotation) const;

 private:
  void AddPage(const ZPDFNodeDictionary& page);

  std::unordered_map<const ZPDFNode*, uint32_t> pages_;
  std::unordered_set<const ZPDFNode*> lists_;
  std::vector<std::string> tabs_;
  uint32_t count_ = 0;
};

}  // namespace zforms
