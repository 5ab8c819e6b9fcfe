#pragma once

#include <string>
#include <vector>

#include "tool/cli/command_pages.h"

namespace zforms::tool {

// Scripts by which the shells complete the command line of zforms: commands, options, values where there are few, else
// the names of files. The first page is that of the program itself.
std::string BashCompletion(const std::vector<CommandPage>& pages);
std::string ZshCompletion(const std::vector<CommandPage>& pages);
std::string FishCompletion(const std::vector<CommandPage>& pages);

}  // namespace zforms::tool
