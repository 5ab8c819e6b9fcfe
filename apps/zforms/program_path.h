#pragma once

#include <string>

namespace zforms::tool {

// The file of this program, in UTF-8; empty when the system does not say.
std::string ProgramPath();

}  // namespace zforms::tool
