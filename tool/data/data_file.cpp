#include "tool/data/data_file.h"

#include <utility>

#include "tool/base/files.h"
#include "tool/data/postgres_rows.h"
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

bool HasTrouble(const RowReader& reader) {
  if (const auto* rows = dynamic_cast<const PostgresRows*>(&reader)) return rows->HasTrouble();
  return !reader.Source().Failure().empty() && reader.Source().Failure() != kCutUTF16;
}

}  // namespace zforms::tool
