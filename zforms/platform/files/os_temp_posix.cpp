#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <string>
#include <system_error>

#include "zforms/platform/files/os_temp.h"

namespace zforms {

Chaine MakePrivateFolder() {
  // NOLINTNEXTLINE(concurrency-mt-unsafe): the environment is not changed while this is read.
  const char* const wanted = std::getenv("TMPDIR");
  std::string path = wanted != nullptr && wanted[0] == '/' ? wanted : "/tmp";
  path += "/zforms-XXXXXX";
  // mkdtemp creates the folder with the permissions 0700.
  return ::mkdtemp(path.data()) == nullptr ? Chaine() : Chaine(path);
}

void RemoveFolder(const Chaine& path) {
  std::error_code ignored;
  std::filesystem::remove_all(std::filesystem::path(path.ToString()), ignored);
}

}  // namespace zforms
