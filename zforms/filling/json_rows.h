#pragma once

#include <string>
#include <string_view>

#include "zforms/filling/row_reader.h"
#include "zforms/platform/base/export.h"

namespace zforms {

// Reads one JSON object and replaces the names and values of the row; fault, number and line are not changed. A member
// of a nested object gets the name "outer.inner". The elements of a list are several values of one name. Numbers keep
// their digits; null is a missing value. False, with the reason and its place, when the text is not an object or two
// members have the same name. `whole` is the text that contains `text`, and `first_line` the number of the first line
// of `whole`; both are used to state the place. `whole` is empty when `text` is one line and the caller states its
// number.
ZFORMS_API bool ReadJsonRow(std::string_view text, Row* row, std::string* error, std::string_view whole = {},
                            uint64_t first_line = 1);

// JsonReader reads a table of JSON objects. There are three layouts: one object on each line (empty lines are skipped);
// objects that follow each other, each over any number of lines; and one list of objects.
class ZFORMS_API JsonReader : public RowReader {
 public:
  explicit JsonReader(ByteSource&& source);

  bool Next(Row* row) override;

 private:
  bool ReadLine();
  bool NextLine(Row* row);
  bool NextElement(Row* row);
  bool SkipBlanks();
  bool BeginsElement();
  bool ReadElement();
  bool Fail(const std::string& what);

  std::string text_;
  uint64_t line_;  // the line of the next byte, or of the last row in a table with one object on each line
  uint64_t count_ = 0;
  bool is_list_ = false;
  bool has_lines_ = true;  // each line is an object
  bool is_open_ = false;   // the list has begun
};

}  // namespace zforms
