#pragma once

#include <string>
#include <string_view>

#include "zforms/filling/row_reader.h"
#include "zforms/platform/base/export.h"

namespace zforms {

// Reads one JSON object into the names and values of the row, in place of what it
// held; fault, number and line are left to the caller. Members of an object within
// have its name and a "." before their own; the elements of a list are values of one
// name; numbers keep their digits; null says nothing. False, with a reason and its place,
// when the text is something else or two members have one name;
// `whole` is all that the text is a part of; empty for a line, whose number the caller knows.
ZFORMS_API bool ReadJsonRow(std::string_view text, Row* row, std::string* error, std::string_view whole = {});

// JsonReader reads a table with one JSON object on each line; empty lines are skipped.
class ZFORMS_API JsonReader : public RowReader {
 public:
  explicit JsonReader(ByteSource&& source) : RowReader(std::move(source)) {}

  bool Next(Row* row) override;

 private:
  bool ReadLine();

  std::string text_;
  uint64_t line_ = 0;
  uint64_t count_ = 0;
};

}  // namespace zforms
