#pragma once

#include <string>

#include "zforms/xfdf/xfdf.h"

namespace zforms {

// Joins fields with the same full name; a group then has the fields of all groups with its name. Without this, filling
// would lose values without a message: ZXFDF lists only the last of several fields of one name, and no field without a
// name. False, with a reason, when two fields of one full name have different values. `left_out` says how many fields
// have no name and are left out, if any.
bool MergeFields(ZXFDF* data, std::string* left_out, std::string* error);

}  // namespace zforms
