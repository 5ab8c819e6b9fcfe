#pragma once

#include <cstdint>
#include <string>

#include "zforms/platform/base/chaine.h"
#include "zforms/platform/base/export.h"
#include "zforms/platform/files/file_io.h"
#include "zforms/xfdf/xfdf.h"

namespace zforms {

// What is to be noted of data without any value, which are no fault.
inline constexpr const char* kNoValues = "the data contain no value: no field is filled";

// How much of such data is read, and what none can begin with.
ZFORMS_API ReadLimits LimitsOfValues();

// Reads the values for one form: XFDF, FDF, one JSON object, or CSV with one row; what it is shows in its first
// characters, else in the ending of `name`, that of its file. `line` becomes the line in which the object or the row
// starts, 0 for data without rows. False, with a reason, when it cannot be read; with a true result `error` may say
// what was left out.
ZFORMS_API bool ReadValues(const Chaine& bytes, const std::string& name, ZXFDF* data, uint64_t* line,
                           std::string* error);

// Whether ReadValues takes such data for CSV, whose columns are the names.
ZFORMS_API bool IsTable(const Chaine& bytes, const std::string& name);

// Whether the document has a value.
ZFORMS_API bool HoldsValues(const ZXFDF& data);

}  // namespace zforms
