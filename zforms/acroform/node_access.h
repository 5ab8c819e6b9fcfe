#pragma once

#include <string_view>

#include "zforms/pdf/array_node.h"
#include "zforms/pdf/dictionary_node.h"
#include "zforms/platform/base/chaine.h"

namespace zforms {

// Functions with which the form model reads dictionaries; for this folder's sources.

// The value with references resolved; null when the key is absent or its value is the null object, which means absent
// (ISO 32000-1 7.3.7).
const ZPDFNode* EntryAt(const ZPDFNodeDictionary& dictionary, std::string_view key);
inline bool HasEntry(const ZPDFNodeDictionary& dictionary, std::string_view key) { return dictionary.Holds(key); }

// The value with references resolved; null when absent or of another kind.
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

// The name without leading slashes.
Chaine WithoutSlashes(const Chaine& name);

// Appends one field's partial name to a full name. A field without "/T" adds nothing, not even a period.
void AppendPartialName(Chaine* full_name, bool has_name, const Chaine& name);

// Converts a value of any kind to a PDF text string: a string's bytes, a name without its slash, a number or boolean as
// written, the bytes of a stream without filters, the texts of an array's elements joined by line feeds. Empty for
// everything else, including null.
Chaine BestText(const ZPDFNode* value);

}  // namespace zforms
