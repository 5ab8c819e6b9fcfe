#pragma once

#include <string>
#include <vector>

#include "tool/cli/command_pages.h"

namespace zforms::tool {

// The manual page of a command, as source text for man(7). `all` has the pages of all commands; the first one is that
// of the program itself.
std::string ManualPage(const CommandPage& page, const std::vector<CommandPage>& all);

}  // namespace zforms::tool
