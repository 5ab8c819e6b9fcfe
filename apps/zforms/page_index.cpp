#include "apps/zforms/page_index.h"

#include "pdf/array_node.h"
#include "pdf/dictionary_node.h"
#include "pdf/parser/parser.h"

namespace zforms::tool {
namespace {

constexpr int kMaxDepth = 200;

std::string NameAt(const ZPDFNodeDictionary& dictionary, std::string_view key) {
  const ZPDFNode* const value = dictionary.GetTarget(key);
  const Chaine name = value == nullptr ? Chaine() : value->GetIdentifier();
  return name.View().starts_with('/') ? name.Mid(1).ToString() : std::string();
}

}  // namespace

PageIndex::PageIndex(const ZPDFParser& parser) {
  const ZPDFNodeDictionary* root = parser.Root();
  const auto* pages = root == nullptr ? nullptr : NodeCast<ZPDFNodeDictionary>(root->GetTarget("/Pages"));
  if (pages != nullptr) Walk(*pages, 0);
}

void PageIndex::Walk(const ZPDFNodeDictionary& node, int depth) {
  if (depth > kMaxDepth || !visited_.insert(&node).second) return;
  const auto* kids = NodeCast<ZPDFNodeArray>(node.GetTarget("/Kids"));
  if (kids == nullptr) {
    AddPage(node);
    return;
  }
  for (size_t i = 0; i < kids->Size(); i++) {
    const auto* kid = NodeCast<ZPDFNodeDictionary>(kids->GetTargetAt(i));
    if (kid != nullptr) Walk(*kid, depth + 1);
  }
}

void PageIndex::AddPage(const ZPDFNodeDictionary& page) {
  count_++;
  tabs_.push_back(NameAt(page, "/Tabs"));
  const auto* annotations = NodeCast<ZPDFNodeArray>(page.GetTarget("/Annots"));
  for (size_t i = 0; annotations != nullptr && i < annotations->Size(); i++) {
    pages_.emplace(annotations->GetTargetAt(i), count_);
  }
}

uint32_t PageIndex::PageOf(const ZPDFNodeDictionary* annotation) const {
  const auto found = pages_.find(annotation);
  return found == pages_.end() ? 0 : found->second;
}

}  // namespace zforms::tool
