#pragma once

#include <string>
#include <vector>

#include "tool/cli/command_pages.h"

namespace zforms::tool {

// The manual page of a command in the language of man(7); `all` are those of the program, the first is its own.
std::string ManualPage(const CommandPage& page, const std::vector<CommandPage>& all);

}  // namespace zforms::tool
