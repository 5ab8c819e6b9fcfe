#pragma once

#include <string>

#include "apps/zforms/console.h"
#include "xfdf/xfdf.h"

namespace zforms::tool {

// Reads the values for one form: XFDF, FDF, one JSON object, or CSV with one row; what
// it is shows in its first characters. False, and said, when it cannot be read.
bool ReadData(const std::string& path, ZXFDF* data, Console& console);

}  // namespace zforms::tool
