#include "tool/base/table.h"

#include <algorithm>
#include <numeric>
#include <string_view>
#include <utility>

#include "tool/base/console.h"
#include "zforms/platform/text/clusters.h"

namespace zforms::tool {
namespace {

constexpr size_t kNarrowest = 8;
constexpr std::string_view kGap = "  ";
constexpr std::string_view kEllipsis = "\xE2\x80\xA6";

std::string Cut(std::string_view text, size_t width) {
  std::string result;
  size_t used = 0;
  while (!text.empty()) {
    const std::string_view cluster = TakeCluster(&text);
    used += ClusterWidth(cluster);
    if (used > width - 1) break;
    result += cluster;
  }
  result += kEllipsis;
  return result;
}

}  // namespace

Table::Table(std::vector<std::string> head) { rows_.push_back(std::move(head)); }

void Table::AddRow(std::vector<std::string> row) {
  for (std::string& cell : row) cell = Printable(cell);
  rows_.push_back(std::move(row));
}

std::vector<size_t> Table::Widths(size_t width) const {
  std::vector<size_t> widths(rows_.front().size());
  for (const auto& row : rows_) {
    for (size_t i = 0; i < widths.size(); i++) widths[i] = std::max(widths[i], DisplayWidth(row[i]));
  }
  // Leaves out columns that are empty below their head.
  for (size_t i = 0; i < widths.size(); i++) {
    const auto is_empty = [i](const auto& row) { return row[i].empty(); };
    if (rows_.size() > 1 && std::all_of(rows_.begin() + 1, rows_.end(), is_empty)) widths[i] = 0;
  }
  const size_t gaps = kGap.size() * (widths.size() - 1);
  while (width > 0 && std::accumulate(widths.begin(), widths.end(), gaps) > width) {
    const auto widest = std::max_element(widths.begin(), widths.end());
    if (*widest <= kNarrowest) break;
    --*widest;
  }
  return widths;
}

std::string Table::Text(size_t width) const {
  const std::vector<size_t> widths = Widths(width);
  std::string text;
  for (const auto& row : rows_) {
    std::string line;
    for (size_t i = 0; i < widths.size(); i++) {
      if (widths[i] == 0) continue;
      const size_t taken = DisplayWidth(row[i]);
      const bool fits = taken <= widths[i];
      line += fits ? row[i] : Cut(row[i], widths[i]);
      if (fits) line.append(widths[i] - taken, ' ');
      line += kGap;
    }
    line.erase(line.find_last_not_of(' ') + 1);
    text += line + "\n";
  }
  return text;
}

}  // namespace zforms::tool
