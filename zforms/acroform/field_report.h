#pragma once

#include <cstdint>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "zforms/pdf/object_identifier.h"
#include "zforms/platform/base/export.h"

namespace zforms {
class ZAcroForm;
class ZAcroFormField;
class ZPDFNode;
class ZPDFParser;

// The properties of one field without named kids. Texts are UTF-8; type and flags are inherited as in viewers.
struct ZFORMS_API FieldReport {
  std::string name;
  std::string type;  // text, check, radio, push, combo, list, sig or none
  uint32_t flags = 0;
  std::vector<std::string> values;  // empty when absent; several only for an array
  std::vector<std::string> defaults;
  bool value_is_array = false;
  bool default_is_array = false;
  std::vector<std::pair<std::string, std::string>> options;  // export value, display name
  std::vector<std::string> states;                           // of all widgets, except "Off"
  size_t widgets = 0;
  uint32_t page = 0;            // from 1; 0 when no page shows the field
  bool is_listed = true;        // in the form's "/Fields"; false when only a page leads to it
  ZPDFObjectIdentifier object;  // 0 0 for a field that is a direct object
  std::string tool_tip;
  uint32_t max_length = 0;  // 0 when there is no limit
  ZAcroFormField* field = nullptr;
};

// The fields in the order of the form's tree; those found only on pages come last.
ZFORMS_API std::vector<FieldReport> ReportFields(ZAcroForm& form);

// Maps values that have been read to the objects that contain them.
ZFORMS_API std::unordered_map<const ZPDFNode*, ZPDFObjectIdentifier> ObjectsByValue(const ZPDFParser& parser);

// The flags as text, such as "read-only, required".
ZFORMS_API std::string FlagWords(const FieldReport& field);

}  // namespace zforms
