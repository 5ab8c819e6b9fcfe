#pragma once

#include <memory>
#include <string>

#include "zforms/filling/row_reader.h"

namespace zforms::tool {

// Opens the table in a file or at standard input (see OpenRows). Null with a reason when it cannot be opened or is not
// a table.
std::unique_ptr<RowReader> OpenTable(const std::string& path, std::string* error);

// True when a table was not read to its end for a temporary reason, such as a lost connection. False when its contents
// are wrong. See RowReader::Failure.
bool HasTrouble(const RowReader& reader);

}  // namespace zforms::tool
