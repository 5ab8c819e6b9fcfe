#include "tool/base/table.h"

#include <algorithm>
#include <cstdint>
#include <numeric>
#include <string_view>
#include <utility>

#include "tool/base/console.h"

namespace zforms::tool {
namespace {

constexpr size_t kNarrowest = 8;
constexpr std::string_view kGap = "  ";
constexpr std::string_view kEllipsis = "\xE2\x80\xA6";

// The character at the front of valid UTF-8 and its length in bytes.
std::pair<uint32_t, size_t> FirstCharacter(std::string_view text) {
  const auto lead = static_cast<unsigned char>(text[0]);
  const size_t length = lead < 0x80 ? 1 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
  uint32_t code = length == 1 ? lead : lead & (0x7FU >> length);
  for (size_t i = 1; i < length && i < text.size(); i++)
    code = code << 6 | (static_cast<unsigned char>(text[i]) & 0x3F);
  return {code, std::min(length, text.size())};
}

size_t CharacterWidth(uint32_t code) {
  if ((code >= 0x300 && code <= 0x36F) || code == 0x200B || code == 0xFEFF) return 0;
  const bool wide = (code >= 0x1100 && code <= 0x115F) || (code >= 0x2E80 && code <= 0xA4CF) ||
                    (code >= 0xAC00 && code <= 0xD7A3) || (code >= 0xF900 && code <= 0xFAFF) ||
                    (code >= 0xFE30 && code <= 0xFE6F) || (code >= 0xFF00 && code <= 0xFF60) ||
                    (code >= 0xFFE0 && code <= 0xFFE6) || (code >= 0x1F300 && code <= 0x1FAFF) ||
                    (code >= 0x20000 && code <= 0x3FFFD);
  return wide ? 2 : 1;
}

std::string Cut(std::string_view text, size_t width) {
  std::string result;
  size_t used = 0;
  for (size_t i = 0; i < text.size();) {
    const auto [code, length] = FirstCharacter(text.substr(i));
    if (used + CharacterWidth(code) > width - 1) break;
    result += text.substr(i, length);
    used += CharacterWidth(code);
    i += length;
  }
  result += kEllipsis;
  return result;
}

}  // namespace

size_t DisplayWidth(std::string_view text) {
  size_t width = 0;
  for (size_t i = 0; i < text.size();) {
    const auto [code, length] = FirstCharacter(text.substr(i));
    width += CharacterWidth(code);
    i += length;
  }
  return width;
}

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
  // A column with nothing under its head is not worth its place.
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
