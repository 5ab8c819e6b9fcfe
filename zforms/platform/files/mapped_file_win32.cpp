#include "zforms/platform/files/mapped_file.h"

namespace zforms {

// A mapped file could be neither replaced nor cut, by this program or any other, as long as the text is in use.
bool MapFile(const Chaine& path, Chaine* out, std::string* error, const ReadLimits& limits) {
  return ReadFile(path, out, error, limits);
}

const char* MappedFileAt(const void* /*address*/) noexcept { return nullptr; }

}  // namespace zforms
