#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "zforms/acroform/form_field.h"
#include "zforms/filling/export_format.h"
#include "zforms/platform/base/chaine.h"
#include "zforms/platform/base/export.h"

namespace zforms {

// The first column of a table of several forms: the file of each. The second name is for forms with a field of the
// first one. Such a column in data fills no field, and is no fault.
inline constexpr const char* kFileColumns[] = {"file", "_file"};
inline bool IsFileColumn(std::string_view name) { return name == kFileColumns[0] || name == kFileColumns[1]; }

class ZPDFParser;

// The values of one form.
struct ZFORMS_API FormValues {
  std::string file;  // empty when the table has no column for the file
  std::vector<ZFormField> fields;
};

// The forms as a table in one of the formats that take several, UTF-8.
//
// CSV has a column for each field that one of them has, in the order in which they appear. Several values are the lines
// of one cell. For a spreadsheet no cell is a formula (see ForSpreadsheet). JSON has an object for each form, with
// texts, lists where a field has several values, null without a value; a list of them unless `is_one`. The first of
// several fields with one name counts.
ZFORMS_API std::string ExportTable(const std::vector<FormValues>& forms, ExportFormat format, bool is_one,
                                   bool for_spreadsheet = false);

// One form as XFDF or FDF, with the identifiers of its document. Fields without a value are left out. `file` is the
// name of the form's file, by which data refer to it; empty for none. `replaced` becomes the number of characters that
// XML has no place for.
ZFORMS_API Chaine ExportDocument(const FormValues& form, const ZPDFParser& parser, ExportFormat format,
                                 size_t* replaced);

}  // namespace zforms
