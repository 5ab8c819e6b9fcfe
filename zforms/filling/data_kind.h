#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "zforms/filling/row_reader.h"
#include "zforms/platform/base/export.h"

namespace zforms {

// Why data cannot contain values, judged by the first 4 KB: they are empty, a workbook, a PDF file, a JSON value
// without a field name, or not text. The result is empty when the data may contain values.
ZFORMS_API std::string FaultOfData(std::string_view head);

// Opens a table: objects of JSON when the first character is "{" or "[", else CSV. Null, with a reason, when the source
// cannot be read or is not a table.
ZFORMS_API std::unique_ptr<RowReader> OpenRows(ByteSource&& source, std::string* error);

}  // namespace zforms
