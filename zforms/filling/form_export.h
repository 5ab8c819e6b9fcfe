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

// The names of the first column in a table of several forms, which contains the file of each form: "_file" is used when
// a form has a field named "file". When data contain such a column, it fills no field and gives no message.
inline constexpr const char* kFileColumns[] = {"file", "_file"};
inline bool IsFileColumn(std::string_view name) { return name == kFileColumns[0] || name == kFileColumns[1]; }

class ZPDFParser;

// The values of one form.
struct ZFORMS_API FormValues {
  std::string file;  // empty when the table has no column for the file
  std::vector<ZFormField> fields;
};

// The forms as a table in UTF-8, in a format that takes several forms (see ExportFormatName).
//
// CSV has a column for each field that any of the forms has, in the order in which the fields appear. Several values
// are the lines of one cell. For a spreadsheet, no cell is a formula (see ForSpreadsheet). JSON has an object for each
// form: a field with one value is a text, a field with several values a list, a field without a value null. The objects
// are in a list, unless `is_one`. When several fields have the same name, the value of the first is used.
ZFORMS_API std::string ExportTable(const std::vector<FormValues>& forms, ExportFormat format, bool is_one,
                                   bool for_spreadsheet = false);

// One form as XFDF or FDF, with the identifiers of its document. Fields without a value are left out. `file` is the
// name of the form's file, to which XFDF and FDF refer; it may be empty. `replaced` becomes the number of characters
// that XML does not allow.
ZFORMS_API Chaine ExportDocument(const FormValues& form, const ZPDFParser& parser, ExportFormat format,
                                 size_t* replaced);

}  // namespace zforms
