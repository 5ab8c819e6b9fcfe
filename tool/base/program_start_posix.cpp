#include <cstdlib>

#include "tool/base/program_start.h"

namespace zforms::tool {

std::vector<std::string> PrepareProgram(int argc, const char* const* argv) { return {argv, argv + argc}; }

std::string EnvironmentText(const std::string& name) {
  // NOLINTNEXTLINE(concurrency-mt-unsafe): read before there are other threads.
  const char* const text = std::getenv(name.c_str());
  return text == nullptr ? std::string() : text;
}

}  // namespace zforms::tool
