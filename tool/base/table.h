#pragma once

#include <string>
#include <vector>

namespace zforms::tool {

// The character that is shown in place of a line end in a cell.
inline constexpr char kLineEndSign[] = "\u21B5";

// Table formats rows of UTF-8 texts in columns for a terminal. When they do not fit into `width` columns of the
// terminal (0: unlimited), the texts in the widest columns are shortened and end in an ellipsis. Control characters are
// made visible; empty columns are left out.
class Table {
 public:
  explicit Table(std::vector<std::string> head);
  void AddRow(std::vector<std::string> row);
  std::string Text(size_t width) const;

 private:
  std::vector<size_t> Widths(size_t width) const;

  std::vector<std::vector<std::string>> rows_;  // the first row is the head
};

}  // namespace zforms::tool
