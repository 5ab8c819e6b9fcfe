#pragma once

#include <string_view>

#include "zforms/pdf/array_node.h"
#include "zforms/pdf/dictionary_node.h"
#include "zforms/platform/base/chaine.h"

namespace zforms {

// How the form model reads dictionaries; for this folder's sources.

// The value with references followed; null when the key is absent or its value is
// the null object, which stands for absence (ISO 32000-1 7.3.7).
const ZPDFNode* EntryAt(const ZPDFNodeDictionary& dictionary, std::string_view key);
inline bool HasEntry(const ZPDFNodeDictionary& dictionary, std::string_view key) {
  return EntryAt(dictionary, key) != nullptr;
}

// The value with references followed; null when absent or of another kind.
inline ZPDFNodeDictionary* DictionaryAt(ZPDFNodeDictionary& dictionary, std::string_view key) {
  return NodeCast<ZPDFNodeDictionary>(dictionary.GetTarget(key));
}
inline const ZPDFNodeDictionary* DictionaryAt(const ZPDFNodeDictionary& dictionary, std::string_view key) {
  return NodeCast<ZPDFNodeDictionary>(dictionary.GetTarget(key));
}
inline ZPDFNodeArray* ArrayAt(ZPDFNodeDictionary& dictionary, std::string_view key) {
  return NodeCast<ZPDFNodeArray>(dictionary.GetTarget(key));
}
inline const ZPDFNodeArray* ArrayAt(const ZPDFNodeDictionary& dictionary, std::string_view key) {
  return NodeCast<ZPDFNodeArray>(dictionary.GetTarget(key));
}

// Without the slashes at its start.
Chaine WithoutSlashes(const Chaine& name);

// Continues a full name by one field's partial name. A field without "/T" adds
// nothing, not even a period.
void AppendPartialName(Chaine* full_name, bool has_name, const Chaine& name);

// The text of a value of any kind, as a PDF text string: a string's bytes, a name
// without its slash, a number or boolean as written, the bytes of a stream that
// no filter has changed, the texts of an array's elements joined by line feeds.
// Empty for everything else, null included.
Chaine BestText(const ZPDFNode* value);

}  // namespace zforms
