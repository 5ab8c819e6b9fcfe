#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace zforms {

// Numbers as the scripts of forms read and write them.

// The separators of thousands and decimals in AFNumber_Format and AFPercent_Format; the numbers are the
// values of their argument "sepStyle".
enum class Separators {
  kCommaPoint = 0,       // 1,234.56
  kPoint = 1,            // 1234.56
  kPointComma = 2,       // 1.234,56
  kComma = 3,            // 1234,56
  kApostrophePoint = 4,  // 1'234.56
};
Separators SeparatorsOf(double style);

// Reads a number: a sign, digits and one decimal separator, a point or a comma. Returns nothing for any other
// text, such as "1,234.50". Also returns nothing for "1,234" when the field separates thousands by commas: the user
// means 1234, but PDF viewers would read 1.234.
std::optional<double> ReadNumber(std::string_view text, Separators separators = Separators::kComma);

// The value for a computed number, rounded to 15 significant digits so that sums of cents have no binary remainder; the
// decimal separator is a point.
std::string ValueOfNumber(double number);

// The number without its sign, with the given number of decimals. Rounds the decimal text that ValueOfNumber returns;
// halves are rounded away from zero.
std::string PrintNumber(double number, size_t decimals, Separators separators);

}  // namespace zforms
