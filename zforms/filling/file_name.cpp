#include "zforms/filling/file_name.h"

#include <algorithm>

#include "zforms/platform/files/file_names.h"
#include "zforms/platform/text/characters.h"

namespace zforms {
namespace {

constexpr std::string_view kSuffix = ".pdf";
constexpr size_t kMaxName = 200;
constexpr size_t kRowDigits = 6;

}  // namespace

std::string SafeFileName(std::string_view stem, std::string_view suffix) {
  std::string name(stem);
  for (char& c : name) {
    if (IsRefusedInFileName(c)) c = '_';
  }
  name.resize(SizeOfWholeCharacters(name, kMaxName - std::min(kMaxName, suffix.size())));
  while (name.ends_with(' ') || name.ends_with('.')) name.pop_back();
  name.erase(0, name.find_first_not_of(' '));
  if (name.empty()) return {};
  // A file name that starts with a dot is hidden; one that starts with a hyphen looks like an option.
  if (name.front() == '.' || name.front() == '-') name.front() = '_';
  if (IsDeviceName(name)) name.insert(0, 1, '_');
  return name.append(suffix);
}

bool FileNamePattern::Parse(std::string_view pattern, std::string* error) {
  if (pattern.ends_with(kSuffix)) pattern.remove_suffix(kSuffix.size());
  literals_.assign(1, std::string());
  keys_.clear();
  for (size_t at = 0; at < pattern.size(); at++) {
    const char c = pattern[at];
    const bool doubled = at + 1 < pattern.size() && pattern[at + 1] == c;
    if ((c == '{' || c == '}') && doubled) {
      at++;
    } else if (c == '{') {
      if (!ParseKey(pattern, &at, error)) return false;
      continue;
    } else if (c == '}') {
      *error = "a \"}\" without \"{\"; write \"}}\" for the character itself";
      return false;
    }
    if (IsRefusedInFileName(c)) {
      *error = std::string("a file name cannot contain \"") + c + "\"";
      return false;
    }
    literals_.back() += c;
  }
  if (!keys_.empty()) return true;
  *error = "the name has no column, such as {id}: all rows would get the same file";
  return false;
}

bool FileNamePattern::ParseKey(std::string_view pattern, size_t* at, std::string* error) {
  const size_t end = pattern.find('}', *at);
  if (end == std::string_view::npos || end == *at + 1) {
    *error = "a \"{\" without a column name and \"}\"; write \"{{\" for the character itself";
    return false;
  }
  keys_.emplace_back(pattern.substr(*at + 1, end - *at - 1));
  literals_.emplace_back();
  *at = end;
  return true;
}

std::string FileNamePattern::Make(const ValueOf& value_of, std::string* error) const {
  std::string stem = literals_.front();
  for (size_t i = 0; i < keys_.size(); i++) {
    const std::string* value = value_of(keys_[i]);
    if (value == nullptr) {
      *error = "the row has no value for {" + keys_[i] + "}, which the name of its file needs";
      return {};
    }
    stem += *value + literals_[i + 1];
  }
  std::string name = SafeFileName(stem, kSuffix);
  if (name.empty()) {
    *error = "the file name is empty: its columns are empty or contain only spaces and dots";
  }
  return name;
}

std::string FileNamePattern::MakeFor(const Row& row, std::string* error) const {
  std::string number = std::to_string(row.number);
  if (number.size() < kRowDigits) number.insert(0, kRowDigits - number.size(), '0');
  return Make(
      [&](const std::string& key) -> const std::string* {
        const auto found = std::find(row.names->begin(), row.names->end(), key);
        if (found == row.names->end()) return key == kRowKey ? &number : nullptr;
        const Cell& cell = row.cells[static_cast<size_t>(found - row.names->begin())];
        return cell.is_null ? nullptr : &cell.text;
      },
      error);
}

}  // namespace zforms
