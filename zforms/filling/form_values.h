#pragma once

#include <cstdint>
#include <string>

#include "zforms/platform/base/chaine.h"
#include "zforms/platform/base/export.h"
#include "zforms/platform/files/file_io.h"
#include "zforms/xfdf/xfdf.h"

namespace zforms {

// The note about data without any value; such data are not an error.
inline constexpr const char* kNoValues = "the data contain no value: no field is filled";

// The limits for reading data with values: the maximum size, and a check of the first bytes.
ZFORMS_API ReadLimits LimitsOfValues();

// Reads the values for one form: XFDF, FDF, one JSON object, or CSV with one row. The format is found by the first
// characters, or else by the suffix of `name`, the name of the data's file. `line` becomes the line in which the object
// or the row starts, 0 for XFDF and FDF. False, with a reason, when the data cannot be read. When the result is true,
// `error` may say what was left out.
ZFORMS_API bool ReadValues(const Chaine& bytes, const std::string& name, ZXFDF* data, uint64_t* line,
                           std::string* error);

// True when ReadValues would read these data as CSV.
ZFORMS_API bool IsTable(const Chaine& bytes, const std::string& name);

// Whether the document has a value.
ZFORMS_API bool HoldsValues(const ZXFDF& data);

}  // namespace zforms
