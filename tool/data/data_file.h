#pragma once

#include <memory>
#include <string>

#include "zforms/filling/row_reader.h"

namespace zforms::tool {

// Opens the table in a file or at standard input (see OpenRows). Null with a reason when it cannot be opened or is not
// a table.
std::unique_ptr<RowReader> OpenTable(const std::string& path, std::string* error);

}  // namespace zforms::tool
