#pragma once

#include <cstdint>
#include <unordered_set>

#include "zforms/platform/base/chaine.h"

namespace zforms {

class ZDiagnostics;
class ZPDFNode;
class ZPDFNodeDictionary;
class ZPDFParser;

// The page tree of a document (ISO 32000-1 7.7.3.2); the constructor walks it once. Faults are: a root that cannot be
// read or has a parent node, a kid that is neither a page nor a node, a page or node that occurs twice, and nesting
// that is too deep. The tree is odd when it has a fault or a wrong "/Type" or "/Count".
class ZPDFPageTree {
 public:
  // Walks the tree of that catalog. `notes`, if not null, gets a warning for each fault.
  explicit ZPDFPageTree(const ZPDFNodeDictionary& catalog, ZDiagnostics* notes = nullptr);

  uint32_t PageCount() const { return page_count_; }
  // Whether pages may be missing: there is a fault, or "/Count" of the root states more pages than were found.
  bool LacksPages() const { return lacks_pages_; }
  // Whether pages may be missing, or "/Count" of the root states fewer pages than were found, which hides pages from
  // readers.
  bool IsDamaged() const { return lacks_pages_ || hides_pages_; }
  // Whether the tree is odd: it has a fault, or a wrong "/Type" or "/Count".
  bool IsOdd() const { return odd_; }
  // True when the tree has this node or page.
  bool LeadsTo(const ZPDFNodeDictionary* node) const { return met_.contains(node); }

  // True when the dictionary, which is a kid of `parent`, may be a page.
  static bool IsPage(const ZPDFNodeDictionary& dictionary, const ZPDFNodeDictionary& parent);
  // True when the dictionary is an inner node: it has kids, which are pages or nodes.
  static bool IsNode(const ZPDFNodeDictionary& dictionary);
  // True when the node has a parent that is a node too.
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

// Repairs an odd tree: removes faulty kids, and adds each page of the document that the tree does not reach, below the
// node that is its "/Parent", else below the root. Corrects "/Type" and "/Count". Returns whether anything changed, and
// names the changes in `notes`. Sets `lost_pages` when more kids that may have been pages were removed than pages were
// added, or when kids were removed and "/Count" of the root stated more pages than there are.
bool RepairPageTree(ZPDFParser& parser, ZDiagnostics& notes, bool* lost_pages);

}  // namespace zforms
