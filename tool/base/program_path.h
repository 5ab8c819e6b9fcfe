#pragma once

#include <string>

namespace zforms::tool {

// The file of this program, in UTF-8; empty when the system does not say.
std::string ProgramPath();

// The folder of that name among the files that are installed with this program, by its
// place beside it; empty when the program's own place is not known.
std::string ProgramData(const std::string& name);

}  // namespace zforms::tool
