#pragma once

#include <string>

namespace zforms::tool {

// The path of this program, in UTF-8; empty when the system does not report it.
std::string ProgramPath();

// The folder of that name among the files installed with this program, found relative to the program; empty when the
// program's path is unknown.
std::string ProgramData(const std::string& name);

}  // namespace zforms::tool
