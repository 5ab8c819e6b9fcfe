#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace zforms::tool {

// FileNamePattern makes file names from the values of a row: "{id}-{name}.pdf".
// "{{" and "}}" stand for braces. What file systems refuse in a value becomes "_",
// and names are cut at 200 bytes, so that every name is good on every system.
class FileNamePattern {
 public:
  // The value of a column; null when the row has none.
  using ValueOf = std::function<const std::string*(const std::string& key)>;

  // False with a reason when it is no pattern for the name of a file.
  bool Parse(std::string_view pattern, std::string* error);
  // The columns named in it.
  const std::vector<std::string>& Keys() const { return keys_; }
  // Empty with a reason when a value is missing, or nothing is left of the name.
  std::string Make(const ValueOf& value_of, std::string* error) const;

 private:
  bool ParseKey(std::string_view pattern, size_t* at, std::string* error);

  // A literal text before each key, and one behind the last.
  std::vector<std::string> literals_;
  std::vector<std::string> keys_;
};

// A name that every file system takes, ending in `suffix`; empty when nothing that
// can be seen is left of it.
std::string SafeFileName(std::string_view stem, std::string_view suffix);

}  // namespace zforms::tool
