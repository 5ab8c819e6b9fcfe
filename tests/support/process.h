#pragma once

#include <string>

namespace zforms {

struct CommandResult {
  int status;  // the exit status, -1 when the command could not be run
  std::string output;
};

// Runs a command of the system's shell; its output is what it wrote to both standard streams.
CommandResult RunCommand(const std::string& command);

// The processor time that this process has used, in seconds.
double ProcessSeconds();

}  // namespace zforms
