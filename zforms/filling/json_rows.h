#pragma once

#include <string>
#include <string_view>

#include "zforms/filling/row_reader.h"
#include "zforms/platform/base/export.h"

namespace zforms {

// Reads one JSON object into the names and values of the row, in place of what it held; fault, number and line are left
// to the caller. Members of an object within have its name and a "." before their own; the elements of a list are
// values of one name; numbers keep their digits; null says nothing. False, with a reason and its place, when the text
// is something else or two members have one name. `whole` is all that the text is a part of, and `first_line` the
// number of its first line; empty for a text of one line, whose number the caller knows.
ZFORMS_API bool ReadJsonRow(std::string_view text, Row* row, std::string* error, std::string_view whole = {},
                            uint64_t first_line = 1);

// JsonReader reads a table of JSON objects: one on each line, where empty lines are skipped, or one after the other
// over any number of lines, or the elements of one list.
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
  uint64_t line_;  // in which the next byte stands, or, of a table of lines, that of the last one
  uint64_t count_ = 0;
  bool is_list_ = false;
  bool has_lines_ = true;  // each line is an object
  bool is_open_ = false;   // the list has begun
};

}  // namespace zforms
