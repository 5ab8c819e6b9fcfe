#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

#include "zforms/calculation/date_pattern.h"
#include "zforms/calculation/number_text.h"

namespace zforms {

struct ScriptCall;

// What a widget shows in place of its field's value.
struct FormattedValue {
  std::string text;     // UTF-8
  bool is_red = false;  // a negative number that the form shows in red
};

// How a field shows its value, by one of the format functions of forms: AFNumber_Format, AFPercent_Format,
// AFDate_Format, AFDate_FormatEx, AFTime_Format, AFTime_FormatEx and AFSpecial_Format. The value stays as it is.
// Immutable.
class ValueFormat {
 public:
  // Nothing when the call is of another function, or has arguments that are not supported.
  static std::optional<ValueFormat> Of(const ScriptCall& call);

  // The text that is shown for a value in UTF-8; empty for an empty value. std::nullopt when the format does not apply
  // to the value (see What).
  std::optional<FormattedValue> Apply(std::string_view value) const;
  // What the format applies to, such as "a number" or "a date (dd/mm/yyyy)".
  std::string What() const;
  // The separators of numbers in this field; by default a comma is a decimal separator.
  Separators NumberSeparators() const;

 private:
  struct Number {
    size_t decimals = 0;
    Separators separators = Separators::kCommaPoint;
    int negative = 0;  // the sign: 0 a minus, 1 red, 2 parentheses, 3 red parentheses
    std::string currency = {};
    bool is_before = false;
  };
  struct Percent {
    size_t decimals = 0;
    Separators separators = Separators::kCommaPoint;
    bool is_before = false;
  };
  enum class Special { kZip = 0, kZipPlus4 = 1, kPhone = 2, kSocialSecurity = 3 };
  using Kind = std::variant<Number, Percent, DatePattern, Special>;

  explicit ValueFormat(Kind kind) : kind_(std::move(kind)) {}
  static std::optional<FormattedValue> Print(const Number& format, std::string_view value);
  static std::optional<FormattedValue> Print(const Percent& format, std::string_view value);
  static std::optional<FormattedValue> Print(const DatePattern& format, std::string_view value);
  static std::optional<FormattedValue> Print(Special format, std::string_view value);

  Kind kind_;
};

// The limits of AFRange_Validate.
class ValueRange {
 public:
  static std::optional<ValueRange> Of(const ScriptCall& call);
  // Why the value is refused, such as "\"12\" is not between 1 and 10"; empty when it is accepted. A text that is not a
  // number is accepted.
  std::string WhyNot(std::string_view value) const;

 private:
  std::optional<double> least_;
  std::optional<double> most_;
};

}  // namespace zforms
