#include "tool/data/data_file.h"

#include <utility>

#include "tool/base/files.h"
#include "zforms/filling/data_kind.h"

namespace zforms::tool {

std::unique_ptr<RowReader> OpenTable(const std::string& path, std::string* error) {
  ByteSource source;
  if (path == kStandardStream) {
    source.OpenStream(StandardInput());
  } else if (!source.Open(path)) {
    *error = source.Failure();
    return nullptr;
  }
  return OpenRows(std::move(source), error);
}

}  // namespace zforms::tool
