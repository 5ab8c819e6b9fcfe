#include <sys/wait.h>

#include <cstdio>
#include <ctime>

#include "tests/support/process.h"

namespace zforms {

CommandResult RunCommand(const std::string& command) {
  CommandResult result{-1, ""};
  std::FILE* pipe = popen((command + " 2>&1").c_str(), "r");
  if (pipe == nullptr) return result;
  char buffer[4096];
  for (size_t got = 0; (got = std::fread(buffer, 1, sizeof buffer, pipe)) > 0;) result.output.append(buffer, got);
  const int status = pclose(pipe);
  if (WIFEXITED(status)) result.status = WEXITSTATUS(status);
  return result;
}

double ProcessSeconds() { return static_cast<double>(std::clock()) / CLOCKS_PER_SEC; }

}  // namespace zforms
