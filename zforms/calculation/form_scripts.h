#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "zforms/platform/base/export.h"

namespace zforms {

class ZAcroForm;
class ZPDFNodeDictionary;

// A script of a document (ISO 32000-1 12.6.4.16).
struct FormScript {
  std::string event;  // what runs it, such as "calculate", "format", "page open"
  std::string field;  // the full name of the field, in UTF-8; empty for scripts of pages and of the document
  std::string text;   // in UTF-8
};

// The scripts of the document, its pages, its fields and their widgets, in this order.
ZFORMS_API std::vector<FormScript> ScriptsOf(const ZAcroForm& form);

// Describes the scripts, one line for each kind: `AFNumber_Format (format) of "a", "b" and 12 more`, `a custom script
// (calculate) of "total"`.
ZFORMS_API std::vector<std::string> DescribeScripts(const std::vector<FormScript>& scripts);

// The text of the script that the dictionary has as an action under the key, in UTF-8; nothing for other actions.
std::optional<std::string> ScriptAt(const ZPDFNodeDictionary& holder, std::string_view key);

}  // namespace zforms
