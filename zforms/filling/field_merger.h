#pragma once

#include <string>

#include "zforms/xfdf/xfdf.h"

namespace zforms {

// ZXFDF lists the last of several fields of one name, and no field without a name. So that filling loses no value
// silently, this puts fields of one full name together: groups get the fields of all of them. False, with a reason,
// when two fields of one full name have different values. `left_out` says, if anything, what has no name.
bool MergeFields(ZXFDF* data, std::string* left_out, std::string* error);

}  // namespace zforms
