#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "tool/base/console.h"
#include "zforms/filling/row_reader.h"
#include "zforms/xfdf/xfdf.h"

namespace zforms::tool {

// What is said of data that give no field a value, be it an empty one: that is no fault.
inline constexpr const char* kNoValues = "the data hold no value: no field is filled";

// Reads the values for one form: XFDF, FDF, one JSON object, or CSV with one row; what
// it is shows in its first characters. `line` becomes the line in which the object or
// the row starts, 0 for data without rows. False, and said on the console, which is that
// of the data, when it cannot be read.
bool ReadData(const std::string& path, ZXFDF* data, uint64_t* line, Console& console);

// Opens the table in a file or at standard input (see OpenRows). Null with a reason when it cannot be opened or is not
// a table.
std::unique_ptr<RowReader> OpenTable(const std::string& path, std::string* error);

}  // namespace zforms::tool
