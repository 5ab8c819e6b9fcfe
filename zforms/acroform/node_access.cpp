#include "zforms/acroform/node_access.h"

#include "zforms/pdf/identifier_node.h"
#include "zforms/pdf/numeric_node.h"
#include "zforms/pdf/stream_node.h"
#include "zforms/pdf/string_node.h"
#include "zforms/platform/text/text.h"

namespace zforms {
namespace {

Chaine ScalarText(const ZPDFNode* value) {
  if (const auto* string = NodeCast<ZPDFNodeString>(value)) return string->GetStringValue();
  if (const auto* number = NodeCast<ZPDFNodeNumeric>(value)) return number->Text();
  if (NodeCast<ZPDFNodeNull>(value) != nullptr) return {};
  if (const auto* name = NodeCast<ZPDFNodeIdentifier>(value)) return WithoutSlashes(name->GetIdentifier());
  if (const auto* stream = NodeCast<ZPDFNodeStream>(value)) {
    return HasEntry(*stream->Dico(), "/Filter") ? Chaine() : stream->Data();
  }
  return {};
}

// Elements may have different encodings, so they are joined as UTF-8.
Chaine JoinedText(const ZPDFNodeArray& array) {
  if (array.Size() == 1) return ScalarText(array.GetTargetAt(0));
  Chaine joined;
  for (size_t i = 0; i < array.Size(); i++) {
    if (i > 0) joined += '\n';
    joined += PDFTextToUTF8(ScalarText(array.GetTargetAt(i)));
  }
  return UTF8ToPDFText(joined);
}

}  // namespace

const ZPDFNode* EntryAt(const ZPDFNodeDictionary& dictionary, std::string_view key) {
  const ZPDFNode* value = dictionary.GetTarget(key);
  return NodeCast<ZPDFNodeNull>(value) == nullptr ? value : nullptr;
}

Chaine WithoutSlashes(const Chaine& name) {
  size_t start = 0;
  while (start < name.size() && name[start] == '/') start++;
  return name.Mid(start);
}

void AppendPartialName(Chaine* full_name, bool has_name, const Chaine& name) {
  if (!has_name) return;
  if (!full_name->IsEmpty()) *full_name += '.';
  *full_name += name;
}

Chaine BestText(const ZPDFNode* value) {
  const auto* array = NodeCast<ZPDFNodeArray>(value);
  return array == nullptr ? ScalarText(value) : JoinedText(*array);
}

}  // namespace zforms
