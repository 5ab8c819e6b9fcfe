#pragma once

#include <string>
#include <vector>

namespace zforms::tool {

// How a line end is shown in a cell.
inline constexpr char kLineEndSign[] = "\u21B5";

// Table lays out rows of UTF-8 texts in columns for reading in a terminal. When
// they do not fit into `width` columns (0: any), the widest columns are cut with
// an ellipsis. Control characters are shown, not obeyed; empty columns left out.
class Table {
 public:
  explicit Table(std::vector<std::string> head);
  void AddRow(std::vector<std::string> row);
  std::string Text(size_t width) const;

 private:
  std::vector<size_t> Widths(size_t width) const;

  std::vector<std::vector<std::string>> rows_;  // the head first
};

}  // namespace zforms::tool
