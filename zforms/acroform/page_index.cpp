#include "zforms/acroform/page_index.h"

#include "zforms/pdf/array_node.h"
#include "zforms/pdf/dictionary_node.h"
#include "zforms/pdf/pages.h"
#include "zforms/pdf/parser/parser.h"

namespace zforms {
namespace {

std::string NameAt(const ZPDFNodeDictionary& dictionary, std::string_view key) {
  const ZPDFNode* const value = dictionary.GetTarget(key);
  const Chaine name = value == nullptr ? Chaine() : value->GetIdentifier();
  return name.View().starts_with('/') ? name.Mid(1).ToString() : std::string();
}

}  // namespace

PageIndex::PageIndex(const ZPDFParser& parser) {
  if (parser.Root() == nullptr) return;
  for (const ZPDFNodeDictionary* page : PagesOf(*parser.Root())) AddPage(*page);
}

void PageIndex::AddPage(const ZPDFNodeDictionary& page) {
  count_++;
  tabs_.push_back(NameAt(page, "/Tabs"));
  const auto* annotations = NodeCast<ZPDFNodeArray>(page.GetTarget("/Annots"));
  // Several pages may share one array of annotations.
  if (!lists_.insert(annotations).second) return;
  for (size_t i = 0; annotations != nullptr && i < annotations->Size(); i++) {
    pages_.emplace(annotations->GetTargetAt(i), count_);
  }
}

uint32_t PageIndex::PageOf(const ZPDFNodeDictionary* annotation) const {
  const auto found = pages_.find(annotation);
  return found == pages_.end() ? 0 : found->second;
}

}  // namespace zforms
