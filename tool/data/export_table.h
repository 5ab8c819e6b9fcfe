#pragma once

#include <string>
#include <utility>
#include <vector>

#include "tool/base/files.h"
#include "zforms/acroform/field_report.h"

namespace zforms::tool {

// The exported fields of one form; a field without a value has none.
struct FormValues {
  std::string file;  // empty when the table does not say which form a row is of
  std::vector<std::pair<std::string, std::vector<std::string>>> fields;
};

// Whether the field can have a value, and a name to export it by.
bool HasData(const FieldReport& field);
// Whether the form marks the field as not to be exported (NoExport, ISO 32000-1 table 221).
bool IsNoExport(const FieldReport& field);
// Whether a reader that submits the form sends the field, with a value or without.
bool IsExportable(const FieldReport& field);

// The forms as CSV (RFC 4180, UTF-8), with a column for each field that one of them
// has, in the order in which they appear. Several values are the lines of one cell. For a
// spreadsheet no cell is a formula (see ForSpreadsheet).
std::string TableAsCSV(const std::vector<FormValues>& forms, bool for_spreadsheet);

// One form as a JSON object: texts, lists where a field has several values, null
// without a value. `indent` is negative for one line.
std::string FormAsJSON(const FormValues& form, int indent);

}  // namespace zforms::tool
