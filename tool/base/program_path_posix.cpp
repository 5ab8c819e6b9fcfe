#include <filesystem>
#include <system_error>

#include "tool/base/program_path.h"

namespace zforms::tool {

std::string ProgramPath() {
  std::error_code error;
  const std::filesystem::path path = std::filesystem::read_symlink("/proc/self/exe", error);
  return error ? std::string() : path.string();
}

}  // namespace zforms::tool
