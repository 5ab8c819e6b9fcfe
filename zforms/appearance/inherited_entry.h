#pragma once

#include <string_view>

namespace zforms {

class ZAcroFormField;
class ZPDFNode;

// The value of the field or of its nearest ancestor that has the key, with references followed; null where none has it.
const ZPDFNode* InheritedEntry(const ZAcroFormField& field, std::string_view key);

}  // namespace zforms
