#include "zforms/appearance/structure_pruner.h"

#include <cstdint>
#include <unordered_set>
#include <vector>

#include "zforms/pdf/array_node.h"
#include "zforms/pdf/dictionary_node.h"

namespace zforms {
namespace {

// The deepest number tree that is accepted.
constexpr int kMostLevels = 64;

class StructurePruner {
 public:
  explicit StructurePruner(const DictionarySet& annotations) : annotations_(annotations) {
    for (const ZPDFNodeDictionary* annotation : annotations) {
      if (annotation->GetTarget("/StructParent") != nullptr) keys_.insert(annotation->GetIntValue("/StructParent"));
    }
  }

  bool HasKeys() const { return !keys_.empty(); }

  // Removes the entries of the annotations from a node of the number tree (ISO 32000-1 7.9.7), and their object
  // references from the structure elements that the entries name. True when the node changes.
  bool Prune(ZPDFNodeDictionary& node, int level) {
    if (level > kMostLevels || !visited_.insert(&node).second) return false;
    auto* numbers = NodeCast<ZPDFNodeArray>(node.GetTarget("/Nums"));
    auto* kids = NodeCast<ZPDFNodeArray>(node.GetTarget("/Kids"));
    bool changes = numbers != nullptr && PruneLeaf(*numbers);
    for (size_t i = 0; kids != nullptr && i < kids->Size(); i++) {
      auto* kid = NodeCast<ZPDFNodeDictionary>(kids->GetTargetAt(i));
      changes |= kid != nullptr && Prune(*kid, level + 1);
    }
    if (!changes) return false;
    RemoveElements(kids, empty_);
    if (numbers != nullptr && numbers->Size() > 0) {
      SetLimits(node, numbers->GetTargetAt(0), numbers->GetTargetAt((numbers->Size() - 1) / 2 * 2));
    } else if (kids != nullptr && kids->Size() > 0) {
      SetLimits(node, LimitOf(kids->GetTargetAt(0), 0), LimitOf(kids->GetTargetAt(kids->Size() - 1), 1));
    } else {
      empty_.insert(&node);
    }
    return true;
  }

 private:
  // Prunes "/Nums" of a leaf, which has keys and values alternately. True when it changes.
  bool PruneLeaf(ZPDFNodeArray& numbers) {
    std::vector<bool> goes(numbers.Size(), false);
    for (size_t i = 0; i + 1 < numbers.Size(); i += 2) {
      const ZPDFNode* key = numbers.GetTargetAt(i);
      auto* element = NodeCast<ZPDFNodeDictionary>(numbers.GetTargetAt(i + 1));
      // Keeps the entries that are arrays: they belong to the content of pages.
      if (key == nullptr || element == nullptr || !keys_.contains(key->GetIntValue())) continue;
      goes[i] = goes[i + 1] = true;
      if (visited_.insert(element).second) PruneElement(*element);
    }
    size_t at = 0;
    return RemoveElements(&numbers, [&](const ZPDFNode&) { return goes[at++]; });
  }

  void PruneElement(ZPDFNodeDictionary& element) {
    const auto goes = [this](const ZPDFNode& kid) {
      const auto* content = NodeCast<ZPDFNodeDictionary>(kid.GetTarget());
      const ZPDFNode* object = content == nullptr ? nullptr : content->GetDirect("/Obj");
      return object != nullptr && IsAmong(annotations_, *object);
    };
    ZPDFNode* kids = element.GetTarget("/K");
    if (auto* array = NodeCast<ZPDFNodeArray>(kids)) {
      RemoveElements(array, goes);
    } else if (kids != nullptr && goes(*kids)) {
      element.RemoveValue("/K");
    }
  }

  static const ZPDFNode* LimitOf(const ZPDFNode* node, size_t index) {
    const auto* dictionary = NodeCast<ZPDFNodeDictionary>(node);
    const auto* limits = dictionary == nullptr ? nullptr : NodeCast<ZPDFNodeArray>(dictionary->GetTarget("/Limits"));
    return limits == nullptr ? nullptr : limits->GetTargetAt(index);
  }
  // Updates "/Limits"; the root has none.
  static void SetLimits(ZPDFNodeDictionary& node, const ZPDFNode* least, const ZPDFNode* most) {
    if (!node.Exist("/Limits") || least == nullptr || most == nullptr) return;
    auto* limits = new ZPDFNodeArray(node.ObjectProvider());
    limits->AppendValue(least->GetIntValue());
    limits->AppendValue(most->GetIntValue());
    node.SetValue("/Limits", limits);
  }

  const DictionarySet& annotations_;
  std::unordered_set<int32_t> keys_;
  DictionarySet visited_;
  DictionarySet empty_;
};

}  // namespace

void RemoveFromStructure(ZPDFNodeDictionary& catalog, const DictionarySet& annotations) {
  auto* root = NodeCast<ZPDFNodeDictionary>(catalog.GetTarget("/StructTreeRoot"));
  auto* parents = root == nullptr ? nullptr : NodeCast<ZPDFNodeDictionary>(root->GetTarget("/ParentTree"));
  if (parents == nullptr) return;
  StructurePruner pruner(annotations);
  if (pruner.HasKeys()) pruner.Prune(*parents, 0);
}

}  // namespace zforms
