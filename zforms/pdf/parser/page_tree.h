#pragma once

#include <cstdint>
#include <unordered_set>

#include "zforms/platform/base/chaine.h"

namespace zforms {

class ZDiagnostics;
class ZPDFNode;
class ZPDFNodeDictionary;
class ZPDFParser;

// The page tree of a document (ISO 32000-1 7.7.3.2), walked once. Below a node, what is
// no page, what was met before and what is nested too deep counts as a fault. A wrong
// "/Type" or "/Count" is odd.
class ZPDFPageTree {
 public:
  // Walks the tree of that catalog. `notes`, if not null, gets a warning for each fault.
  explicit ZPDFPageTree(const ZPDFNodeDictionary& catalog, ZDiagnostics* notes = nullptr);

  uint32_t PageCount() const { return page_count_; }
  // Whether pages may be missing: there is a fault, or "/Count" of the root states more.
  bool LacksPages() const { return lacks_pages_; }
  // Whether that is so, or "/Count" of the root states fewer, which hides pages from readers.
  bool IsDamaged() const { return lacks_pages_ || hides_pages_; }
  // Whether anything is wrong.
  bool IsOdd() const { return odd_; }
  // True when the tree reaches that node or page.
  bool LeadsTo(const ZPDFNodeDictionary* node) const { return met_.contains(node); }

  // Whether a kid of `parent` may be a page, whether the dictionary is a node with kids,
  // and whether such a node has another one as its parent.
  static bool IsPage(const ZPDFNodeDictionary& dictionary, const ZPDFNodeDictionary& parent);
  static bool IsNode(const ZPDFNodeDictionary& dictionary);
  static bool IsBelowAnother(const ZPDFNodeDictionary& node);
  // The deepest nesting of nodes that is accepted.
  static constexpr int kMaxDepth = 200;

 private:
  uint32_t Walk(const ZPDFNodeDictionary& node, const ZPDFNode* stored, int depth);
  void CheckCount(const ZPDFNodeDictionary& node, const ZPDFNode* stored, uint32_t count);
  void Fault(const ZPDFNode* stored, const Chaine& what);
  void Oddity(const ZPDFNode* stored, const Chaine& what);

  ZDiagnostics* notes_;
  std::unordered_set<const ZPDFNodeDictionary*> met_;
  uint32_t page_count_ = 0;
  bool lacks_pages_ = false;
  bool hides_pages_ = false;
  bool odd_ = false;
};

// Mends an odd tree: faulty kids go, and each page of the document to which it does
// not lead comes below the node that is its "/Parent", else below the root. "/Type" and
// "/Count" are corrected. Returns whether anything changed, and says what in `notes`.
// Sets `lost_pages` when fewer pages came into the tree than kids that were no node went.
bool RepairPageTree(ZPDFParser& parser, ZDiagnostics& notes, bool* lost_pages);

}  // namespace zforms
