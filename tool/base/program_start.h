#pragma once

#include <string>
#include <vector>

namespace zforms::tool {

// Prepares the process at its start: standard streams are set to binary mode, and a console shows UTF-8. From then on,
// when another program truncates a mapped file while it is read, the process ends with a message and status 2. Returns
// the arguments of the program in UTF-8, its name first.
std::vector<std::string> PrepareProgram(int argc, const char* const* argv);

// A variable of the environment in UTF-8; empty when it is not set. Call it before there are other threads.
std::string EnvironmentText(const std::string& name);

}  // namespace zforms::tool
