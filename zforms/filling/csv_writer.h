#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "zforms/platform/base/export.h"

namespace zforms {

// Appends the texts as one record of CSV (RFC 4180), with "," between them and CR LF at the end. A text is quoted when
// it contains a separator (",", ";" or a tab), a quote or a line end, or when it begins or ends with a blank. With
// `for_spreadsheet`, each cell is changed by ForSpreadsheet.
ZFORMS_API void AppendCSVLine(std::string* out, const std::vector<std::string>& cells, bool for_spreadsheet);

// Puts "'" before a text that a spreadsheet would take for a formula: one that begins with "=", "@", a tab or a line
// end, or with "+" or "-" when it is neither a number nor a telephone number.
ZFORMS_API std::string ForSpreadsheet(std::string_view text);

}  // namespace zforms
