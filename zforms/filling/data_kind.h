#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "zforms/filling/row_reader.h"
#include "zforms/platform/base/export.h"

namespace zforms {

// Why the first bytes of data, 4 KB or all of them, show that it holds no values that
// are read: nothing is in it, it is a workbook, a PDF file, no text at all. Empty when
// it may hold some.
ZFORMS_API std::string FaultOfData(std::string_view head);

// Reads a table: lines of JSON when its first character is "{", else CSV. Null with
// a reason when the source cannot be read or is neither.
ZFORMS_API std::unique_ptr<RowReader> OpenRows(ByteSource&& source, std::string* error);

}  // namespace zforms
