#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace zforms {

struct ScriptCall;
class ScriptReader;

// How a field is computed from others: by AFSimple_Calculate, or by an expression in simplified field notation ("a +
// b * 2"), from which editors make `event.value = AFMakeNumber(getField("a").value) + ...`. Immutable.
class FieldFormula {
 public:
  // Reads the formula from a script, which may have comments. Nothing when the script does anything else.
  static std::optional<FieldFormula> Of(std::string_view script);

  // The full names of the fields that the formula needs, in UTF-8. A name stands for all fields below it.
  const std::vector<std::string>& Names() const { return names_; }
  // The result of the formula. `numbers` has, for each name, the numbers of its fields. Nothing when the result is not
  // a finite number.
  std::optional<double> Evaluate(const std::vector<std::vector<double>>& numbers) const;

 private:
  enum class Step : unsigned char { kNumber, kField, kAdd, kSubtract, kMultiply, kDivide, kNegate };
  struct Entry {
    Step step;
    double number = 0;
    size_t name = 0;
  };
  enum class Total : unsigned char { kNone, kSum, kProduct, kAverage, kLeast, kMost };

  bool TakeCall(const ScriptCall& call);
  bool ReadSum(ScriptReader& reader, int depth);
  bool ReadProduct(ScriptReader& reader, int depth);
  bool ReadOperand(ScriptReader& reader, int depth);
  double TotalOf(const std::vector<std::vector<double>>& numbers) const;

  Total total_ = Total::kNone;
  std::vector<Entry> entries_;  // in the order of their evaluation, operands first
  std::vector<std::string> names_;
};

}  // namespace zforms
