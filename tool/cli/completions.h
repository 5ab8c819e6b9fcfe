#pragma once

#include <string>
#include <vector>

#include "tool/cli/command_pages.h"

namespace zforms::tool {

// Scripts by which the shells complete the command line of zforms: commands, options, the values of an option that has
// a fixed list of them, else file names. The first page must describe the program itself.
std::string BashCompletion(const std::vector<CommandPage>& pages);
std::string ZshCompletion(const std::vector<CommandPage>& pages);
std::string FishCompletion(const std::vector<CommandPage>& pages);

}  // namespace zforms::tool
