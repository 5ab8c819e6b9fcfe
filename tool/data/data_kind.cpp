#include "tool/data/data_kind.h"

#include "zforms/platform/base/chaine.h"

namespace zforms::tool {
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
  for (const std::string_view mark : {"\xEF\xBB\xBF"sv, "\xFF\xFE"sv, "\xFE\xFF"sv}) {
    if (text.starts_with(mark)) text.remove_prefix(mark.size());
  }
  return head.size() < kWholeHead && TrimBlanks(text).empty() ? "is empty" : "";
}

}  // namespace zforms::tool
