#include "tool/base/program_path.h"

#include "tool/base/files.h"

namespace zforms::tool {

std::string ProgramData(const std::string& name) {
  const std::string program = ProgramPath();
  if (program.empty()) return {};
  const std::filesystem::path folder = FilePath(program).parent_path() / ZFORMS_DATA / FilePath(name);
  return PathText(folder.lexically_normal());
}

}  // namespace zforms::tool
