#include "zforms/appearance/element_removal.h"

#include "zforms/pdf/array_node.h"
#include "zforms/pdf/identifier_node.h"

namespace zforms {

bool RemoveElements(ZPDFNodeArray* array, const std::function<bool(const ZPDFNode&)>& goes) {
  if (array == nullptr) return false;
  PTableau<const ZPDFNode*> kept;
  const size_t size = array->Size();
  for (size_t i = 0; i < size; i++) {
    const ZPDFNode* element = std::as_const(*array).GetDirectAt(i);
    if (element == nullptr) element = ZPDFNodeNull::Default();
    if (!goes(*element)) kept.push_back(element);
  }
  if (kept.size() == size) return false;
  ZPDFNodeArray rest(array->ObjectProvider());
  for (const ZPDFNode* element : kept) rest.AppendValue(element->Clone());
  // The assignment keeps the former elements in memory.
  *array = rest;
  array->SetModified(true, false);
  return true;
}

bool RemoveElements(ZPDFNodeArray* array, const DictionarySet& gone) {
  return RemoveElements(array, [&gone](const ZPDFNode& element) { return IsAmong(gone, element); });
}

}  // namespace zforms
