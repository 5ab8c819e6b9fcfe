#include "zforms/appearance/inherited_entry.h"

#include "zforms/acroform/field.h"
#include "zforms/pdf/dictionary_node.h"
#include "zforms/pdf/identifier_node.h"

namespace zforms {

const ZPDFNode* InheritedEntry(const ZAcroFormField& field, std::string_view key) {
  for (const ZAcroFormField* at = &field; at != nullptr; at = at->Parent()) {
    const ZPDFNode* value = at->Dico()->GetTarget(key);
    if (value != nullptr && NodeCast<ZPDFNodeNull>(value) == nullptr) return value;
  }
  return nullptr;
}

}  // namespace zforms
