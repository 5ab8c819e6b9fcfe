#include <sys/auxv.h>

#include <filesystem>
#include <system_error>

#include "tool/base/program_path.h"

namespace zforms::tool {

std::string ProgramPath() {
  std::error_code error;
  std::filesystem::path path = std::filesystem::read_symlink("/proc/self/exe", error);
  if (!error) return path.string();
  // If /proc is not mounted, uses the path by which the program was started; see getauxval(3).
  // NOLINTNEXTLINE(performance-no-int-to-ptr): the interface gives the address as a number.
  const auto* const started = reinterpret_cast<const char*>(getauxval(AT_EXECFN));
  if (started != nullptr) path = std::filesystem::canonical(started, error);
  return error ? std::string() : path.string();
}

}  // namespace zforms::tool
