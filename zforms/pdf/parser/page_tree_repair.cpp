#include <algorithm>
#include <map>

#include "zforms/pdf/array_node.h"
#include "zforms/pdf/dictionary_node.h"
#include "zforms/pdf/identifier_node.h"
#include "zforms/pdf/indirect_object.h"
#include "zforms/pdf/parser/page_tree.h"
#include "zforms/pdf/parser/parser.h"
#include "zforms/pdf/reference_node.h"
#include "zforms/platform/base/diagnostics.h"
#include "zforms/platform/base/number.h"

namespace zforms {
namespace {

// Repairs the tree in the order of ZPDFPageTree's walk, so that it keeps the same nodes.
class Repair {
 public:
  // Looks for pages that the tree does not reach only when the tree lacks pages: otherwise they may have been removed
  // on purpose.
  Repair(ZPDFParser& parser, const ZPDFPageTree& tree) : parser_(parser) {
    if (tree.LacksPages()) FindOrphans(tree);
  }

  // True when there is a tree, or there are pages or nodes from which a tree can be made.
  bool HasTree() const {
    const ZPDFNodeDictionary* const root = StoredRoot();
    return !orphans_.empty() || (root != nullptr && ZPDFPageTree::IsNode(*root));
  }

  // Repairs the tree; returns the number of pages.
  uint32_t Run() {
    Climb();
    ZPDFNodeDictionary* const root = Root();
    const uint32_t stated = root->GetUIntValue("/Count");
    met_.insert(root);
    const uint32_t led_to = Settle(*root, 0);
    const uint32_t count = SetCount(*root, led_to + AdoptRest(*root));
    lost_pages_ = dropped_ > adopted_ || (has_dropped_ && stated > count);
    return count;
  }
  bool HasLostPages() const { return lost_pages_; }

 private:
  using Objects = std::vector<ZPDFNodeIndirectObject*>;

  static ZPDFNodeDictionary* DictionaryOf(ZPDFNodeIndirectObject* object) {
    return object == nullptr ? nullptr : NodeCast<ZPDFNodeDictionary>(object->GetDirectAt(0));
  }
  static bool IsTyped(const ZPDFNodeDictionary& dictionary) {
    const Chaine& type = dictionary.GetIdentifier("/Type");
    return type == "/Page" || (type == "/Pages" && ZPDFPageTree::IsNode(dictionary));
  }

  // Finds the pages and nodes that the tree does not reach, and groups them by "/Parent".
  void FindOrphans(const ZPDFPageTree& tree) {
    std::vector<ZPDFObjectIdentifier> ids;
    for (const ZPDFObjectLocation& location : parser_.ObjectLocations()) {
      if (location.in_use) ids.push_back(location.id);
    }
    for (const ZPDFObjectIdentifier& id : ids) {
      ZPDFNodeIndirectObject* const object = parser_.GetObject(id);
      ZPDFNodeDictionary* const dictionary = DictionaryOf(object);
      if (dictionary == nullptr || !IsTyped(*dictionary) || tree.LeadsTo(dictionary)) continue;
      orphans_.push_back(object);
      by_parent_[NodeCast<ZPDFNodeDictionary>(dictionary->GetTarget("/Parent"))].push_back(object);
    }
  }

  ZPDFNodeDictionary* StoredRoot() const {
    auto* const root = NodeCast<ZPDFNodeDictionary>(parser_.Root()->GetTarget("/Pages"));
    const bool is_node = root != nullptr && (ZPDFPageTree::IsNode(*root) || root->GetIdentifier("/Type") == "/Pages");
    return is_node ? root : nullptr;
  }

  // If the catalog refers to an inner node, makes it refer to the root of the tree.
  void Climb() {
    for (int depth = 0; depth < ZPDFPageTree::kMaxDepth; depth++) {
      const ZPDFNodeDictionary* const node = StoredRoot();
      if (node == nullptr || !ZPDFPageTree::IsBelowAnother(*node)) return;
      parser_.Root()->SetValue("/Pages", node->GetDirect("/Parent")->Clone());
    }
  }

  // The root of the tree; if it is missing, the first node without a parent, or a new one.
  ZPDFNodeDictionary* Root() {
    if (ZPDFNodeDictionary* const root = StoredRoot()) return root;
    ZPDFNodeIndirectObject* found = nullptr;
    for (ZPDFNodeIndirectObject* orphan : orphans_) {
      const bool is_top = ZPDFPageTree::IsNode(*DictionaryOf(orphan)) && !DictionaryOf(orphan)->Exist("/Parent");
      if (is_top && found == nullptr) found = orphan;
    }
    if (found == nullptr) {
      found = parser_.AddIndirectObject();
      auto* const made = new ZPDFNodeDictionary(&parser_);
      made->SetIdentifier("/Type", "/Pages");
      found->SetChild(made);
    }
    parser_.Root()->SetValue("/Pages", found->AllocReference());
    return DictionaryOf(found);
  }

  // Repairs the kids of the node; returns the number of pages below it.
  uint32_t Settle(ZPDFNodeDictionary& node, int depth) {
    auto* const kids = NodeCast<ZPDFNodeArray>(node.GetTarget("/Kids"));
    const Objects own = by_parent_[&node];
    auto settled = std::make_unique<ZPDFNodeArray>(&parser_);
    auto orphan = own.begin();
    uint32_t count = 0;
    bool changed = kids == nullptr;
    const auto adopt = [&] {
      for (; orphan != own.end(); ++orphan) {
        if (Adopt(**orphan, node, *settled, depth, &count)) return;
      }
    };
    for (size_t i = 0; kids != nullptr && i < kids->Size(); i++) {
      auto* const kid = NodeCast<ZPDFNodeDictionary>(kids->GetTargetAt(i));
      if (kid != nullptr && Keep(*kid, node, depth, &count)) {
        settled->AppendValue(kids->GetDirectAt(i)->Clone());
      } else {
        const bool is_null = NodeCast<ZPDFNodeNull>(kids->GetDirectAt(i)) != nullptr;
        if (!is_null && (kid == nullptr || !ZPDFPageTree::IsNode(*kid))) dropped_++;
        has_dropped_ = has_dropped_ || kid == nullptr || !ZPDFPageTree::IsNode(*kid);
        changed = true;
        adopt();
      }
    }
    while (orphan != own.end()) adopt();
    changed = changed || settled->Size() != kids->Size();
    if (changed) node.SetValue("/Kids", settled.release());
    SetType(node, "/Pages");
    return SetCount(node, count);
  }

  bool Keep(ZPDFNodeDictionary& kid, const ZPDFNodeDictionary& parent, int depth, uint32_t* count) {
    const bool is_node = ZPDFPageTree::IsNode(kid);
    if ((!is_node && !ZPDFPageTree::IsPage(kid, parent)) || depth >= ZPDFPageTree::kMaxDepth) return false;
    if (!met_.insert(&kid).second) return false;
    *count += is_node ? Settle(kid, depth + 1) : 1;
    if (!is_node) SetType(kid, "/Page");
    return true;
  }

  bool Adopt(ZPDFNodeIndirectObject& orphan, const ZPDFNodeDictionary& parent, ZPDFNodeArray& kids, int depth,
             uint32_t* count) {
    const uint32_t before = *count;
    if (!Keep(*DictionaryOf(&orphan), parent, depth, count)) return false;
    adopted_ += *count - before;
    kids.AppendValue(orphan.AllocReference());
    return true;
  }

  // Appends to the root the pages and nodes that were not added below their parents, nodes before single pages.
  uint32_t AdoptRest(ZPDFNodeDictionary& root) {
    uint32_t count = 0;
    auto* const kids = NodeCast<ZPDFNodeArray>(root.GetTarget("/Kids"));
    for (const bool nodes : {true, false}) {
      for (ZPDFNodeIndirectObject* orphan : orphans_) {
        ZPDFNodeDictionary& dictionary = *DictionaryOf(orphan);
        if (ZPDFPageTree::IsNode(dictionary) != nodes || !Adopt(*orphan, root, *kids, 0, &count)) continue;
        const auto* const stored = NodeCast<ZPDFNodeIndirectReference>(parser_.Root()->GetDirect("/Pages"));
        if (stored != nullptr) dictionary.SetValue("/Parent", stored->Clone());
      }
    }
    return count;
  }

  static void SetType(ZPDFNodeDictionary& node, const char* type) {
    if (node.GetIdentifier("/Type") != type) node.SetIdentifier("/Type", type);
  }

  static uint32_t SetCount(ZPDFNodeDictionary& node, uint32_t count) {
    node.SetValue("/Count", count);
    return count;
  }

  ZPDFParser& parser_;
  Objects orphans_;
  std::map<const ZPDFNodeDictionary*, Objects> by_parent_;
  std::unordered_set<const ZPDFNodeDictionary*> met_;
  uint32_t dropped_ = 0;      // removed kids that are neither nodes nor null; each may have been a page
  bool has_dropped_ = false;  // true when a kid that is not a node was removed
  uint32_t adopted_ = 0;      // the number of pages that were added
  bool lost_pages_ = false;
};

}  // namespace

bool RepairPageTree(ZPDFParser& parser, ZDiagnostics& notes, bool* lost_pages) {
  if (parser.Root() == nullptr) return false;
  const ZPDFPageTree tree(*parser.Root());
  if (!tree.IsOdd()) return false;
  Repair repair(parser, tree);
  if (!repair.HasTree()) return false;
  [[maybe_unused]] const ZPDFPageTree told(*parser.Root(), &notes);  // adds the faults to the notes
  const uint32_t adopted = std::max(repair.Run(), tree.PageCount()) - tree.PageCount();
  *lost_pages = repair.HasLostPages();
  const Chaine came = FormatUInt(adopted) + (adopted == 1 ? " page that it did not contain was added"
                                                          : " pages that it did not contain were added");
  notes.Warn("the page tree was repaired" + (adopted == 0 ? Chaine() : ": " + came));
  return true;
}

}  // namespace zforms
