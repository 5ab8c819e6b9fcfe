#include "zforms/pdf/parser/page_tree.h"

#include "zforms/pdf/array_node.h"
#include "zforms/pdf/dictionary_node.h"
#include "zforms/pdf/reference_node.h"
#include "zforms/platform/base/diagnostics.h"
#include "zforms/platform/base/number.h"

namespace zforms {

bool ZPDFPageTree::IsNode(const ZPDFNodeDictionary& dictionary) {
  return NodeCast<ZPDFNodeArray>(dictionary.GetTarget("/Kids")) != nullptr;
}

// Some writers leave out "/Type".
bool ZPDFPageTree::IsPage(const ZPDFNodeDictionary& dictionary) {
  return !dictionary.Exist("/Type") || dictionary.GetIdentifier("/Type") == "/Page";
}

ZPDFPageTree::ZPDFPageTree(const ZPDFNodeDictionary& catalog, ZDiagnostics* notes) : notes_(notes) {
  const ZPDFNode* stored = catalog.GetDirect("/Pages");
  const auto* root = NodeCast<ZPDFNodeDictionary>(catalog.GetTarget("/Pages"));
  if (root == nullptr || !IsNode(*root)) {
    Fault(stored, "the page tree (\"/Pages\") cannot be read");
    return;
  }
  met_.insert(root);
  Walk(*root, stored, 0);
  const uint32_t stated = root->GetUIntValue("/Count");
  if (stated <= page_count_) return;
  const Chaine what = "\"/Count\" of the page tree states " + FormatUInt(stated) +
                      (stated == 1 ? " page, " : " pages, ") + FormatUInt(page_count_) +
                      (page_count_ == 1 ? " is found" : " are found");
  Fault(stored, what.ToString().c_str());
}

void ZPDFPageTree::Walk(const ZPDFNodeDictionary& node, const ZPDFNode* stored, int depth) {
  const auto* kids = NodeCast<ZPDFNodeArray>(node.GetTarget("/Kids"));
  for (size_t i = 0; i < kids->Size(); i++) {
    const ZPDFNode* const kid = kids->GetDirectAt(i);
    const auto* const dictionary = NodeCast<ZPDFNodeDictionary>(kids->GetTargetAt(i));
    const bool is_node = dictionary != nullptr && IsNode(*dictionary);
    if (dictionary == nullptr || (!is_node && !IsPage(*dictionary))) {
      Fault(stored, ("element " + FormatUInt(i + 1) + " of its \"/Kids\" is no page").ToString().c_str());
    } else if (depth >= kMaxDepth) {
      Fault(kid, "the page tree is nested too deep");
    } else if (!met_.insert(dictionary).second) {
      Fault(kid, "the page tree leads here more than once");
    } else if (is_node) {
      Walk(*dictionary, kid, depth + 1);
    } else {
      page_count_++;
    }
  }
}

void ZPDFPageTree::Fault(const ZPDFNode* stored, const char* what) {
  damaged_ = true;
  if (notes_ == nullptr) return;
  const auto* const reference = NodeCast<ZPDFNodeIndirectReference>(stored);
  if (reference == nullptr) {
    notes_->Warn(what);
  } else {
    notes_->WarnObject(reference->GetID().Number(), reference->GetID().Generation(), what);
  }
}

}  // namespace zforms
