#pragma once

#include <functional>
#include <unordered_set>

#include "zforms/pdf/dictionary_node.h"

namespace zforms {

class ZPDFNodeArray;

using DictionarySet = std::unordered_set<const ZPDFNodeDictionary*>;

// True when the node leads to a dictionary of the set.
inline bool IsAmong(const DictionarySet& dictionaries, const ZPDFNode& node) {
  const auto* dictionary = NodeCast<ZPDFNodeDictionary>(node.GetTarget());
  return dictionary != nullptr && dictionaries.contains(dictionary);
}

// Removes the elements for which `goes` returns true. `goes` is called once for each element, in order; a reference is
// passed unresolved. The remaining elements become new nodes; the old nodes stay in memory as long as the array.
// Returns whether any was removed. The array may be null.
bool RemoveElements(ZPDFNodeArray* array, const std::function<bool(const ZPDFNode&)>& goes);
// Removes the elements that are, or refer to, a dictionary of the set.
bool RemoveElements(ZPDFNodeArray* array, const DictionarySet& gone);

}  // namespace zforms
