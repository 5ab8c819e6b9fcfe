#include "zforms/pdf/parser/page_tree.h"

#include <algorithm>
#include <iterator>
#include <optional>
#include <string>

#include "zforms/pdf/array_node.h"
#include "zforms/pdf/dictionary_node.h"
#include "zforms/pdf/numeric_node.h"
#include "zforms/pdf/reference_node.h"
#include "zforms/pdf/stream_node.h"
#include "zforms/platform/base/diagnostics.h"
#include "zforms/platform/base/number.h"

namespace zforms {
namespace {

// Fields, name trees and number trees have "/Kids" too. These keys distinguish them from nodes of the page tree.
constexpr const char* kKeysOfOtherTrees[] = {"/T", "/FT", "/Limits", "/Names", "/Nums"};

// "/Count" of a node; nothing when it is not a number.
std::optional<int64_t> StatedCount(const ZPDFNodeDictionary& node) {
  const auto* const count = NodeCast<ZPDFNodeNumeric>(node.GetTarget("/Count"));
  if (count == nullptr) return {};
  constexpr double kMost = UINT32_MAX;
  return static_cast<int64_t>(std::clamp(count->GetDoubleValue(), -kMost, kMost));
}

}  // namespace

bool ZPDFPageTree::IsNode(const ZPDFNodeDictionary& dictionary) {
  const auto stands = [&dictionary](const char* key) { return dictionary.Exist(key); };
  return NodeCast<ZPDFNodeArray>(dictionary.GetTarget("/Kids")) != nullptr &&
         (dictionary.GetIdentifier("/Type") == "/Pages" ||
          std::none_of(std::begin(kKeysOfOtherTrees), std::end(kKeysOfOtherTrees), stands));
}

// When "/Type" is missing or damaged, other entries decide. Annotations and fields have "/Parent" and "/Contents" too,
// but their "/Parent" is not a node of the page tree, and their "/Contents" is a text.
bool ZPDFPageTree::IsPage(const ZPDFNodeDictionary& dictionary, const ZPDFNodeDictionary& parent) {
  const Chaine& type = dictionary.GetIdentifier("/Type");
  if (type == "/Page") return true;
  if (type == "/Pages" || dictionary.Exist("/Count") || dictionary.Exist("/Kids")) return false;
  if (dictionary.GetTarget("/Parent") == &parent || dictionary.Exist("/MediaBox")) return true;
  const ZPDFNode* const contents = dictionary.GetTarget("/Contents");
  return (type.IsEmpty() && dictionary.Exist("/Resources")) || NodeCast<ZPDFNodeStream>(contents) != nullptr ||
         NodeCast<ZPDFNodeArray>(contents) != nullptr;
}

ZPDFPageTree::ZPDFPageTree(const ZPDFNodeDictionary& catalog, ZDiagnostics* notes) : notes_(notes) {
  const ZPDFNode* stored = catalog.GetDirect("/Pages");
  const auto* root = NodeCast<ZPDFNodeDictionary>(catalog.GetTarget("/Pages"));
  if (root == nullptr || !IsNode(*root)) {
    Fault(stored, "the page tree (\"/Pages\") cannot be read");
    return;
  }
  if (IsBelowAnother(*root))
    Fault(stored, "\"/Pages\" of the catalog refers to an inner node of the page tree, not to its root");
  met_.insert(root);
  page_count_ = Walk(*root, stored, 0);
  const int64_t stated = StatedCount(*root).value_or(0);
  lacks_pages_ |= stated > page_count_;
  hides_pages_ = stated < page_count_;
}

bool ZPDFPageTree::IsBelowAnother(const ZPDFNodeDictionary& node) {
  const auto* const parent = NodeCast<ZPDFNodeDictionary>(node.GetTarget("/Parent"));
  return parent != nullptr && parent != &node && IsNode(*parent);
}

uint32_t ZPDFPageTree::Walk(const ZPDFNodeDictionary& node, const ZPDFNode* stored, int depth) {
  const auto* kids = NodeCast<ZPDFNodeArray>(node.GetTarget("/Kids"));
  uint32_t count = 0;
  if (node.GetIdentifier("/Type") != "/Pages")
    Oddity(stored, "\"/Type\" of this node of the page tree is not \"/Pages\"");
  for (size_t i = 0; i < kids->Size(); i++) {
    const ZPDFNode* const kid = kids->GetDirectAt(i);
    const auto* const dictionary = NodeCast<ZPDFNodeDictionary>(kids->GetTargetAt(i));
    const bool is_node = dictionary != nullptr && IsNode(*dictionary);
    if (dictionary == nullptr || (!is_node && !IsPage(*dictionary, node))) {
      Fault(stored, "element " + FormatUInt(i + 1) + " of its \"/Kids\" is not a page");
    } else if (depth >= kMaxDepth) {
      Fault(kid, "the page tree is nested too deeply");
    } else if (!met_.insert(dictionary).second) {
      Fault(kid, "the page tree contains this page or node more than once");
    } else if (is_node) {
      count += Walk(*dictionary, kid, depth + 1);
    } else {
      count++;
      if (dictionary->GetIdentifier("/Type") != "/Page") Oddity(kid, "\"/Type\" of this page is not \"/Page\"");
    }
  }
  CheckCount(node, stored, count);
  return count;
}

void ZPDFPageTree::CheckCount(const ZPDFNodeDictionary& node, const ZPDFNode* stored, uint32_t count) {
  const std::optional<int64_t> stated = StatedCount(node);
  if (stated == count) return;
  const std::string states = stated ? "states " + std::to_string(*stated) + (*stated == 1 ? " page; " : " pages; ")
                                    : "is missing or not a number; ";
  Oddity(stored, "\"/Count\" of this node of the page tree " + states + std::to_string(count) +
                     (count == 1 ? " page is found" : " pages are found"));
}

void ZPDFPageTree::Fault(const ZPDFNode* stored, const Chaine& what) {
  lacks_pages_ = true;
  Oddity(stored, what);
}

void ZPDFPageTree::Oddity(const ZPDFNode* stored, const Chaine& what) {
  odd_ = true;
  if (notes_ == nullptr) return;
  const auto* const reference = NodeCast<ZPDFNodeIndirectReference>(stored);
  if (reference == nullptr) {
    notes_->Warn(what);
  } else {
    notes_->WarnObject(reference->GetID().Number(), reference->GetID().Generation(), what);
  }
}

}  // namespace zforms
