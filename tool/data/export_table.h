#pragma once

#include <string>
#include <utility>
#include <vector>

#include "tool/base/files.h"
#include "zforms/acroform/field_report.h"

namespace zforms::tool {

// The exported fields of one form; a field without a value has an empty list.
struct FormValues {
  std::string file;  // empty when the table has no column for the file
  std::vector<std::pair<std::string, std::vector<std::string>>> fields;
};

// True when the field can have a value, and has a name.
bool HasData(const FieldReport& field);
// True when the form marks the field as not to be exported (NoExport, ISO 32000-1 table 221).
bool IsNoExport(const FieldReport& field);
// True when a reader that submits the form sends the field, with or without a value.
bool IsExportable(const FieldReport& field);

// The forms as CSV (RFC 4180, UTF-8), with a column for each field of any form, in order of first appearance. Several
// values become the lines of one cell. With `for_spreadsheet` no cell can be taken for a formula (see ForSpreadsheet).
std::string TableAsCSV(const std::vector<FormValues>& forms, bool for_spreadsheet);

// One form as a JSON object: texts, lists for several values, null without a value. A negative `indent` writes one
// line.
std::string FormAsJSON(const FormValues& form, int indent);

}  // namespace zforms::tool
