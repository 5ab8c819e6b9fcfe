#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace zforms {

// A script that is one call of a function with literal arguments. Editors of forms write such calls for the formats,
// checks and sums that their dialogs offer: `AFNumber_Format(2, 0, 0, 0, "", true);`.
struct ScriptCall {
  using Argument = std::variant<double, bool, std::string, std::vector<std::string>>;

  std::string function;
  std::vector<Argument> arguments;

  // The argument in three types: as a number (true is 1), as a text, or as a list (a text is split at its commas). Each
  // function returns 0 or an empty result when the argument is absent or of another kind.
  double NumberAt(size_t index) const;
  bool FlagAt(size_t index) const { return NumberAt(index) != 0; }
  std::string TextAt(size_t index) const;
  std::vector<std::string> ListAt(size_t index) const;
};

// The script without its comments, and without white space and semicolons at both ends.
std::string WithoutComments(std::string_view script);
// The call; nothing when the script is anything else. The text is UTF-8 without comments.
std::optional<ScriptCall> ParseCall(std::string_view script);

// Reads the literals of a script from its front. Each function removes what it has read from the text.
class ScriptReader {
 public:
  explicit ScriptReader(std::string_view text) : text_(text) { SkipBlanks(); }

  bool AtEnd() const { return text_.empty(); }
  // True when the text begins with the word or sign, which is then removed.
  bool Take(std::string_view word);
  std::string_view TakeName();
  std::optional<std::string> TakeString();
  std::optional<double> TakeNumber();
  std::optional<std::vector<std::string>> TakeStrings(std::string_view end);

 private:
  void SkipBlanks();
  bool TakeEscape(std::string* to);
  bool TakeCode(size_t digits, std::string* to);

  std::string_view text_;
};

}  // namespace zforms
