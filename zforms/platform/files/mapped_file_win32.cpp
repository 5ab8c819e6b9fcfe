#include "zforms/platform/files/mapped_file.h"

namespace zforms {

// Reads the file instead of mapping it: as long as a file is mapped, no program can replace or truncate it.
bool MapFile(const Chaine& path, Chaine* out, std::string* error, const ReadLimits& limits) {
  return ReadFile(path, out, error, limits);
}

const char* MappedFileAt(const void* /*address*/) noexcept { return nullptr; }

}  // namespace zforms
