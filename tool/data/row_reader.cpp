#include "tool/data/row_reader.h"

#include <utility>

#include "tool/data/csv_reader.h"
#include "tool/data/data_kind.h"
#include "tool/data/json_rows.h"
#include "zforms/platform/base/chaine.h"

namespace zforms::tool {

RowReader::~RowReader() = default;

std::unique_ptr<RowReader> OpenRows(const std::string& path, std::string* error) {
  constexpr size_t kLooked = 1 << 12;
  ByteSource source;
  if (!source.Open(path)) {
    *error = source.Failure();
    return nullptr;
  }
  const std::string_view head = source.Look(kLooked);
  *error = source.Failure().empty() ? FaultOfData(head.substr(0, kLooked)) : source.Failure();
  if (!error->empty()) return nullptr;
  const std::string_view text = TrimBlanks(head.starts_with("\xEF\xBB\xBF") ? head.substr(3) : head);
  if (text.starts_with('<') || text.starts_with("%FDF")) {
    *error = "the file is not a table";
    return nullptr;
  }
  if (text.starts_with('[')) {
    *error = "the file is one JSON list; a table has one object on each line";
    return nullptr;
  }
  std::unique_ptr<RowReader> reader;
  if (text.starts_with('{')) {
    if (head.starts_with("\xEF\xBB\xBF")) source.Consume(3);
    reader = std::make_unique<JsonReader>(std::move(source));
  } else {
    reader = std::make_unique<CsvReader>(std::move(source));
  }
  *error = reader->Failure();
  return error->empty() ? std::move(reader) : nullptr;
}

}  // namespace zforms::tool
