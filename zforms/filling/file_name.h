#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "zforms/filling/row.h"
#include "zforms/platform/base/export.h"

namespace zforms {

// FileNamePattern makes file names from the values of a row: "{id}-{name}.pdf". "{{" and "}}" mean braces. Characters
// of a value that file systems refuse become "_", and names are cut at 200 bytes, so that every name is valid on every
// system. Any thread may read it after Parse.
class ZFORMS_API FileNamePattern {
 public:
  static constexpr const char* kRowKey = "row";

  // The value of a column; null when the row has none.
  using ValueOf = std::function<const std::string*(const std::string& key)>;

  // False with a reason when it is not a valid pattern.
  bool Parse(std::string_view pattern, std::string* error);
  // The columns used by the pattern.
  const std::vector<std::string>& Keys() const { return keys_; }
  // Empty with a reason when a value is missing, or when the name would be empty.
  std::string Make(const ValueOf& value_of, std::string* error) const;
  // The name for a row. A key is the name of a column, or "row", which stands for the number of the row in at least six
  // digits.
  std::string MakeFor(const Row& row, std::string* error) const;

 private:
  bool ParseKey(std::string_view pattern, size_t* at, std::string* error);

  // The literal text before each key, and the text after the last key.
  std::vector<std::string> literals_;
  std::vector<std::string> keys_;
};

// A name that every file system accepts, ending in `suffix`; empty when no visible character would be left.
ZFORMS_API std::string SafeFileName(std::string_view stem, std::string_view suffix);

}  // namespace zforms
