#pragma once

#include <string_view>

namespace zforms {

// What a file name may hold so that every system takes it for an ordinary file.

// Whether some system refuses the character in a file name, or takes it for something else.
bool IsRefusedInFileName(char c);

// Whether Windows opens a device under the name: "NUL" and its like, in any letter case and with any suffix.
bool IsDeviceName(std::string_view name);

}  // namespace zforms
