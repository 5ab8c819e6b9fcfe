#pragma once

#include <cstdint>
#include <unordered_set>

namespace zforms {

class ZDiagnostics;
class ZPDFNode;
class ZPDFNodeDictionary;
class ZPDFParser;

// The page tree of a document (ISO 32000-1 7.7.3.2), walked once. Below a node, what is
// no page, what was met before and what is nested too deep counts as a fault.
class ZPDFPageTree {
 public:
  // Walks the tree of that catalog. `notes`, if not null, take a warning for each fault.
  explicit ZPDFPageTree(const ZPDFNodeDictionary& catalog, ZDiagnostics* notes = nullptr);

  uint32_t PageCount() const { return page_count_; }
  // Whether pages may be missing: something is wrong, or "/Count" states more pages.
  bool IsDamaged() const { return damaged_; }
  // Whether the tree leads to that node or page.
  bool LeadsTo(const ZPDFNodeDictionary* node) const { return met_.contains(node); }

  // Whether the dictionary may be a page, and whether it is a node with kids.
  static bool IsPage(const ZPDFNodeDictionary& dictionary);
  static bool IsNode(const ZPDFNodeDictionary& dictionary);
  // The depth at which a tree is taken for endless.
  static constexpr int kMaxDepth = 200;

 private:
  void Walk(const ZPDFNodeDictionary& node, const ZPDFNode* stored, int depth);
  void Fault(const ZPDFNode* stored, const char* what);

  ZDiagnostics* notes_;
  std::unordered_set<const ZPDFNodeDictionary*> met_;
  uint32_t page_count_ = 0;
  bool damaged_ = false;
};

// Mends a damaged tree: faulty kids go, and each page of the document to which it does
// not lead comes below the node that is its "/Parent", else below the root. "/Count" is
// corrected. Returns whether anything changed, and says what in `notes`.
bool RepairPageTree(ZPDFParser& parser, ZDiagnostics& notes);

}  // namespace zforms
