#include "zforms/calculation/number_text.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>

#include "zforms/platform/base/ascii.h"

namespace zforms {
namespace {

constexpr int kSignificant = 15;
// Room for the digits of any number in fixed notation.
using Digits = std::array<char, 400>;

double Rounded(double number) {
  Digits digits;
  const auto* const end = digits.data() + digits.size();
  const auto* const last = std::to_chars(digits.data(), digits.data() + digits.size(), number,
                                         std::chars_format::scientific, kSignificant - 1)
                               .ptr;
  double rounded = number;
  if (last < end) std::from_chars(digits.data(), last, rounded);
  return rounded;
}

std::string FixedText(double number) {
  Digits digits;
  const auto result = std::to_chars(digits.data(), digits.data() + digits.size(), number, std::chars_format::fixed);
  return {digits.data(), result.ptr};
}

bool HasCommaAsDecimal(Separators separators) {
  return separators == Separators::kPointComma || separators == Separators::kComma;
}

// Adds one to the last digit of a number without a sign.
void Increment(std::string* number) {
  for (size_t at = number->size(); at-- > 0;) {
    char& c = (*number)[at];
    if (c == '.') continue;
    if (c != '9') {
      c++;
      return;
    }
    c = '0';
  }
  number->insert(0, "1");
}

// Rounds the number to that many decimals (5 rounds up), or adds zeros.
void RoundTo(size_t decimals, std::string* number) {
  if (number->find('.') == std::string::npos) *number += '.';
  const size_t end = number->find('.') + 1 + decimals;
  const bool rounds_up = end < number->size() && (*number)[end] >= '5';
  number->resize(end, '0');
  if (rounds_up) Increment(number);
  if (decimals == 0) number->pop_back();
}

}  // namespace

Separators SeparatorsOf(double style) { return static_cast<Separators>(std::clamp(static_cast<int>(style), 0, 4)); }

std::optional<double> ReadNumber(std::string_view text, Separators separators) {
  constexpr std::string_view kBlanks = " \t\r\n";
  const size_t from = text.find_first_not_of(kBlanks);
  if (from == std::string_view::npos) return std::nullopt;
  text = text.substr(from, text.find_last_not_of(kBlanks) - from + 1);
  if (text.starts_with('+')) text.remove_prefix(1);
  std::string number(text);
  const size_t sign = number.starts_with('-') ? 1 : 0;
  const size_t separator = number.find_first_of(".,");
  const auto digits = std::count_if(number.begin(), number.end(), IsDigitASCII);
  const size_t others = sign + (separator == std::string::npos ? 0 : 1);
  if (digits == 0 || static_cast<size_t>(digits) + others != number.size()) return std::nullopt;
  if (separator != std::string::npos && number[separator] == ',') {
    if (!HasCommaAsDecimal(separators) && number.size() - separator == 4) return std::nullopt;
    number[separator] = '.';
  }
  double value = 0;
  const auto [end, error] = std::from_chars(number.data(), number.data() + number.size(), value);
  return error == std::errc() && end == number.data() + number.size() ? std::optional(value) : std::nullopt;
}

std::string ValueOfNumber(double number) {
  const std::string text = FixedText(Rounded(number));
  return text == "-0" ? "0" : text;
}

std::string PrintNumber(double number, size_t decimals, Separators separators) {
  std::string text = ValueOfNumber(std::abs(number));
  RoundTo(decimals, &text);
  const size_t point = std::min(text.find('.'), text.size());
  const char* const group = separators == Separators::kCommaPoint        ? ","
                            : separators == Separators::kPointComma      ? "."
                            : separators == Separators::kApostrophePoint ? "'"
                                                                         : "";
  std::string grouped;
  for (size_t i = 0; i < point; i++) {
    if (i > 0 && (point - i) % 3 == 0) grouped += group;
    grouped += text[i];
  }
  if (point == text.size()) return grouped;
  return grouped + (HasCommaAsDecimal(separators) ? ',' : '.') + text.substr(point + 1);
}

}  // namespace zforms
