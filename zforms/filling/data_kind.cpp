#include "zforms/filling/data_kind.h"

#include <algorithm>
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
     "this is a workbook (.xlsx, .ods) or another ZIP archive: save its sheet as CSV (UTF-8), and use the CSV file"},
    {"\xD0\xCF\x11\xE0"sv,
     "this is a workbook (.xls) or another compound file: save its sheet as CSV (UTF-8), and use the CSV file"},
    {"%PDF-"sv, "this is a PDF file, not data: \"zforms export\" writes the values of a form to a data file"},
    {"\0\0"sv, "this is not text: it begins with zero bytes"},
};

// Whether the text is a JSON number, true, false or null. Read as CSV, it would be the name of a column without rows.
bool IsBareJSON(std::string_view text) {
  constexpr std::string_view kWords[] = {"null", "true", "false"};
  const bool is_number = text.find_first_not_of("+-.0123456789eE") == std::string_view::npos;
  return std::find(std::begin(kWords), std::end(kWords), text) != std::end(kWords) ||
         (is_number && text.find_first_of("0123456789") != std::string_view::npos && text.front() != 'e' &&
          text.front() != 'E');
}

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
  if (head.size() >= kWholeHead) return {};
  text = TrimBlanks(text);
  if (text.empty()) return "the input is empty";
  return IsBareJSON(text) ? "this is a JSON value without a field name; write an object such as {\"name\": \"value\"}"
                          : "";
}

std::unique_ptr<RowReader> OpenRows(ByteSource&& source, std::string* error) {
  constexpr size_t kLooked = 1 << 12;
  const std::string_view head = source.Look(kLooked);
  *error = source.Failure().empty() ? FaultOfData(head.substr(0, kLooked)) : source.Failure();
  if (!error->empty()) return nullptr;
  const std::string_view text = TrimBlanks(WithoutUTF8Mark(head));
  if (text.starts_with('<') || text.starts_with("%FDF")) {
    *error = "this begins like XML, XFDF or FDF; rows must be in CSV or JSON";
    return nullptr;
  }
  std::unique_ptr<RowReader> reader;
  if (text.starts_with('{') || text.starts_with('[')) {
    if (head.starts_with(kUTF8Mark)) source.Consume(kUTF8Mark.size());
    reader = std::make_unique<JsonReader>(std::move(source));
  } else {
    reader = std::make_unique<CsvReader>(std::move(source));
  }
  *error = reader->Failure();
  return error->empty() ? std::move(reader) : nullptr;
}

}  // namespace zforms
