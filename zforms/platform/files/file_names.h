#pragma once

#include <string_view>

namespace zforms {

// Checks by which a file name is made valid on every system.

// Whether some system refuses the character in a file name, or takes it for something else.
bool IsRefusedInFileName(char c);

// Whether Windows opens a device under the name: "NUL" and its like, in any letter case and with any suffix.
bool IsDeviceName(std::string_view name);

}  // namespace zforms
