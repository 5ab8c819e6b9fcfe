#pragma once

#include "zforms/appearance/element_removal.h"

namespace zforms {

// Takes the object references to annotations (ISO 32000-1 14.7.4.3) out of the structure tree, and what "/ParentTree"
// says of them.
void RemoveFromStructure(ZPDFNodeDictionary& catalog, const DictionarySet& annotations);

}  // namespace zforms
