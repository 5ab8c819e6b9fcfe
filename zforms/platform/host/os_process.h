#pragma once

#include <string>
#include <vector>

namespace zforms {

// Starts a program that is found on the PATH and lets it go: it has a session of
// its own, reads nothing, and is not waited for. Arguments go to it as they are;
// no shell sees them. False when it is not found or cannot be started. On POSIX
// systems only.
bool StartProgram(const std::vector<std::string>& command);

}  // namespace zforms
