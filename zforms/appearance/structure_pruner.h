#pragma once

#include "zforms/appearance/element_removal.h"

namespace zforms {

// Removes the object references to annotations (ISO 32000-1 14.7.4.3) from the structure tree, and their entries from
// "/ParentTree".
void RemoveFromStructure(ZPDFNodeDictionary& catalog, const DictionarySet& annotations);

}  // namespace zforms
