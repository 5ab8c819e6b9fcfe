#include "zforms/pdf/pages.h"

#include <unordered_set>
#include <utility>

#include "zforms/pdf/array_node.h"
#include "zforms/pdf/dictionary_node.h"

namespace zforms {
namespace {

constexpr int kMaxDepth = 200;

class Walker {
 public:
  PTableau<ZPDFNodeDictionary*> Run(ZPDFNodeDictionary& top) {
    Walk(top, 0);
    return std::move(pages_);
  }

 private:
  void Walk(ZPDFNodeDictionary& node, int depth) {
    if (depth > kMaxDepth || !visited_.insert(&node).second) return;
    auto* kids = NodeCast<ZPDFNodeArray>(node.GetTarget("/Kids"));
    if (kids == nullptr) pages_.push_back(&node);
    for (size_t i = 0; kids != nullptr && i < kids->Size(); i++) {
      if (auto* kid = NodeCast<ZPDFNodeDictionary>(kids->GetTargetAt(i))) Walk(*kid, depth + 1);
    }
  }

  std::unordered_set<const ZPDFNode*> visited_;
  PTableau<ZPDFNodeDictionary*> pages_;
};

}  // namespace

PTableau<ZPDFNodeDictionary*> PagesOf(ZPDFNodeDictionary& catalog) {
  auto* top = NodeCast<ZPDFNodeDictionary>(catalog.GetTarget("/Pages"));
  return top == nullptr ? PTableau<ZPDFNodeDictionary*>() : Walker().Run(*top);
}

PTableau<const ZPDFNodeDictionary*> PagesOf(const ZPDFNodeDictionary& catalog) {
  const PTableau<ZPDFNodeDictionary*> pages = PagesOf(const_cast<ZPDFNodeDictionary&>(catalog));
  return {pages.begin(), pages.end()};
}

}  // namespace zforms
