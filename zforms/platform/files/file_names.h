#pragma once

#include <string_view>

#include "zforms/platform/base/export.h"

namespace zforms {

// What a file name may hold so that every system takes it for an ordinary file.

// Whether some system refuses the character in a file name, or takes it for something else.
ZFORMS_API bool IsRefusedInFileName(char c);

// Whether Windows opens a device under the name: "NUL" and its like, in any letter case and with any suffix.
ZFORMS_API bool IsDeviceName(std::string_view name);

}  // namespace zforms
