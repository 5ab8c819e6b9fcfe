#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "zforms/platform/base/chaine.h"
#include "zforms/platform/base/containers.h"
#include "zforms/platform/base/export.h"

namespace zforms {

// A value of a row of data, UTF-8. When the value is a list, `more` has all elements after the first.
struct ZFORMS_API Cell {
  std::string text;
  std::vector<std::string> more;
  bool is_null = false;  // no value, which differs from an empty text
};

// The values of a cell for a form's data, with CR LF for every line end.
ZFORMS_API PTableau<Chaine> TextsOf(const Cell& cell);

using RowNames = std::shared_ptr<const std::vector<std::string>>;

// A row of data, such as a record of a CSV file. Rows with the same columns share their names.
struct ZFORMS_API Row {
  uint64_t number = 0;  // the first is 1
  uint64_t line = 0;    // where it starts in its file, from 1
  std::string fault;    // why the row cannot be used; empty when it can
  RowNames names;
  std::vector<Cell> cells;  // one for each name, unless there is a fault
};

}  // namespace zforms
