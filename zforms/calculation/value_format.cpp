#include "zforms/calculation/value_format.h"

#include <algorithm>
#include <utility>

#include "zforms/calculation/script_call.h"
#include "zforms/platform/base/ascii.h"

namespace zforms {
namespace {

constexpr double kMostDecimals = 30;

size_t DecimalsOf(double number) { return static_cast<size_t>(std::clamp(number, 0.0, kMostDecimals)); }

// The formats of AFSpecial_Format, by number.
struct SpecialFormat {
  std::string_view mask;  // "9" stands for a digit
  const char* what;
};

constexpr SpecialFormat kSpecials[] = {{"99999", "a postal code of 5 digits"},
                                       {"99999-9999", "a postal code of 9 digits"},
                                       {"(999) 999-9999", "a telephone number of 7 or 10 digits"},
                                       {"999-99-9999", "a number of 9 digits"}};

// The pattern with a digit of the value in place of each "9".
std::string Placed(std::string_view pattern, std::string_view digits) {
  std::string text;
  for (const char c : pattern) {
    text += c == '9' ? digits.front() : c;
    if (c == '9') digits.remove_prefix(1);
  }
  return text;
}

}  // namespace

std::optional<ValueFormat> ValueFormat::Of(const ScriptCall& call) {
  const std::string_view name = call.function;
  const auto dated = [](std::optional<DatePattern> pattern) {
    return pattern ? std::optional(ValueFormat(std::move(*pattern))) : std::nullopt;
  };
  if (name == "AFNumber_Format") {
    const int negative = static_cast<int>(std::clamp(call.NumberAt(2), 0.0, 3.0));
    return ValueFormat(
        Number{DecimalsOf(call.NumberAt(0)), SeparatorsOf(call.NumberAt(1)), negative, call.TextAt(4), call.FlagAt(5)});
  }
  if (name == "AFPercent_Format") {
    return ValueFormat(Percent{DecimalsOf(call.NumberAt(0)), SeparatorsOf(call.NumberAt(1)), call.FlagAt(2)});
  }
  if (name == "AFDate_FormatEx" || name == "AFTime_FormatEx") return dated(DatePattern::Of(call.TextAt(0)));
  if (name == "AFDate_Format") return dated(DatePattern::OfDate(call.NumberAt(0)));
  if (name == "AFTime_Format") return dated(DatePattern::OfTime(call.NumberAt(0)));
  const double special = call.NumberAt(0);
  if (name != "AFSpecial_Format" || !(special >= 0) || special > 3) return std::nullopt;
  return ValueFormat(static_cast<Special>(static_cast<int>(special)));
}

std::optional<FormattedValue> ValueFormat::Apply(std::string_view value) const {
  if (value.empty()) return FormattedValue{};
  return std::visit([value](const auto& format) { return Print(format, value); }, kind_);
}

std::string ValueFormat::What() const {
  if (const auto* pattern = std::get_if<DatePattern>(&kind_)) {
    const bool is_time = pattern->Text().find_first_of("dmy") == std::string::npos;
    return (is_time ? "a time (" : "a date (") + pattern->Text() + ")";
  }
  const auto* special = std::get_if<Special>(&kind_);
  return special == nullptr ? "a number" : kSpecials[static_cast<size_t>(*special)].what;
}

Separators ValueFormat::NumberSeparators() const {
  if (const auto* number = std::get_if<Number>(&kind_)) return number->separators;
  const auto* percent = std::get_if<Percent>(&kind_);
  return percent == nullptr ? Separators::kComma : percent->separators;
}

std::optional<FormattedValue> ValueFormat::Print(const Number& format, std::string_view value) {
  const std::optional<double> number = ReadNumber(value, format.separators);
  if (!number) return std::nullopt;
  const bool is_negative = *number < 0;
  const bool has_parentheses = is_negative && format.negative >= 2;
  std::string text = PrintNumber(*number, format.decimals, format.separators);
  if (is_negative && format.negative == 0 && !format.is_before) text.insert(0, "-");
  text = format.is_before ? format.currency + text : text + format.currency;
  if (is_negative && format.negative == 0 && format.is_before) text.insert(0, "-");
  if (has_parentheses) text = "(" + text + ")";
  return FormattedValue{text, is_negative && format.negative % 2 == 1};
}

std::optional<FormattedValue> ValueFormat::Print(const Percent& format, std::string_view value) {
  const std::optional<double> number = ReadNumber(value, format.separators);
  if (!number) return std::nullopt;
  std::string text = (*number < 0 ? "-" : "") + PrintNumber(*number * 100, format.decimals, format.separators);
  return FormattedValue{format.is_before ? "%" + text : text + "%"};
}

std::optional<FormattedValue> ValueFormat::Print(const DatePattern& format, std::string_view value) {
  auto text = format.Print(value);
  return text ? std::optional(FormattedValue{std::move(*text)}) : std::nullopt;
}

std::optional<FormattedValue> ValueFormat::Print(Special format, std::string_view value) {
  std::string digits;
  std::copy_if(value.begin(), value.end(), std::back_inserter(digits), IsDigitASCII);
  constexpr std::string_view kPunctuation = "()-+. /";
  const bool has_others = std::any_of(value.begin(), value.end(), [&](char c) {
    return !IsDigitASCII(c) && kPunctuation.find(c) == std::string_view::npos;
  });
  std::string_view pattern = kSpecials[static_cast<size_t>(format)].mask;
  if (format == Special::kPhone && digits.size() == 7) pattern = "999-9999";
  const auto places = static_cast<size_t>(std::count(pattern.begin(), pattern.end(), '9'));
  if (has_others || digits.size() != places) return std::nullopt;
  return FormattedValue{Placed(pattern, digits)};
}

std::optional<ValueRange> ValueRange::Of(const ScriptCall& call) {
  if (call.function != "AFRange_Validate") return std::nullopt;
  ValueRange range;
  if (call.FlagAt(0)) range.least_ = call.NumberAt(1);
  if (call.FlagAt(2)) range.most_ = call.NumberAt(3);
  return range;
}

std::string ValueRange::WhyNot(std::string_view value) const {
  const std::optional<double> number = ReadNumber(value);
  if (!number || ((!least_ || *number >= *least_) && (!most_ || *number <= *most_))) return {};
  const std::string given = "\"" + std::string(value) + "\" is not ";
  if (!most_) return given + "at least " + ValueOfNumber(*least_);
  if (!least_) return given + "at most " + ValueOfNumber(*most_);
  return given + "between " + ValueOfNumber(*least_) + " and " + ValueOfNumber(*most_);
}

}  // namespace zforms
