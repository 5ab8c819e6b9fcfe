#include "zforms/filling/data_kind.h"

#include <utility>

#include "zforms/filling/csv_reader.h"
#include "zforms/filling/json_rows.h"
#include "zforms/platform/base/chaine.h"
#include "zforms/platform/text/byte_order_mark.h"

namespace zforms {
namespace {

using namespace std::string_view_literals;

constexpr struct {
  std::string_view start;
  std::string_view fault;
} kKinds[] = {
    {"PK\x03\x04"sv,
     "is a workbook (.xlsx, .ods) or another ZIP archive: save its sheet as CSV (UTF-8), and give that"},
    {"\xD0\xCF\x11\xE0"sv,
     "is a workbook (.xls) or another compound file: save its sheet as CSV (UTF-8), and give that"},
    {"%PDF-"sv, "is a PDF file, not data: \"zforms export\" writes the values of a form"},
    {"\0\0"sv, "is no text: it begins with zero bytes"},
};

}  // namespace

std::string FaultOfData(std::string_view head) {
  constexpr size_t kWholeHead = 4096;
  for (const auto& [start, fault] : kKinds) {
    if (head.starts_with(start)) return std::string(fault);
  }
  std::string_view text = head;
  for (const std::string_view mark : {kUTF8Mark, kUTF16LEMark, kUTF16BEMark}) {
    if (text.starts_with(mark)) text.remove_prefix(mark.size());
  }
  return head.size() < kWholeHead && TrimBlanks(text).empty() ? "is empty" : "";
}

std::unique_ptr<RowReader> OpenRows(ByteSource&& source, std::string* error) {
  constexpr size_t kLooked = 1 << 12;
  const std::string_view head = source.Look(kLooked);
  *error = source.Failure().empty() ? FaultOfData(head.substr(0, kLooked)) : source.Failure();
  if (!error->empty()) return nullptr;
  const std::string_view text = TrimBlanks(WithoutUTF8Mark(head));
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
    if (head.starts_with(kUTF8Mark)) source.Consume(kUTF8Mark.size());
    reader = std::make_unique<JsonReader>(std::move(source));
  } else {
    reader = std::make_unique<CsvReader>(std::move(source));
  }
  *error = reader->Failure();
  return error->empty() ? std::move(reader) : nullptr;
}

}  // namespace zforms
