#pragma once

#include <string>
#include <vector>

namespace zforms {

// Starts a program from the PATH, detached: it gets a session of its own and an empty standard input, and is not waited
// for. Arguments are passed unchanged, without a shell. False when it is not found or cannot be started. On POSIX
// systems only.
bool StartProgram(const std::vector<std::string>& command);

}  // namespace zforms
