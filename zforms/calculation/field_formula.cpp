#include "zforms/calculation/field_formula.h"

#include <algorithm>
#include <cmath>

#include "zforms/calculation/script_call.h"

namespace zforms {
namespace {

constexpr int kDeepest = 100;
// AFSimple_Calculate rounds its result to six decimals.
constexpr double kKeptDecimals = 1e6;

// The expression between "BVCALC" and "EVCALC", with the names of fields written as string literals.
std::optional<std::string> NotationIn(std::string_view script) {
  constexpr std::string_view kBegin = "BVCALC", kEnd = "EVCALC";
  const size_t from = script.find(kBegin);
  const size_t to = from == std::string_view::npos ? from : script.find(kEnd, from);
  if (to == std::string_view::npos) return std::nullopt;
  const std::string_view text = script.substr(from + kBegin.size(), to - from - kBegin.size());
  constexpr std::string_view kSigns = "+-*/()";
  constexpr std::string_view kBlanks = " \t\r\n";
  std::string expression;
  for (size_t at = 0; at < text.size();) {
    const char c = text[at];
    if (kSigns.find(c) != std::string_view::npos || kBlanks.find(c) != std::string_view::npos) {
      expression += text[at++];
      continue;
    }
    std::string name;
    while (at < text.size() && kSigns.find(text[at]) == std::string_view::npos &&
           kBlanks.find(text[at]) == std::string_view::npos) {
      if (text[at] == '\\' && at + 1 < text.size()) at++;
      name += text[at++];
    }
    if (name.find_first_not_of("0123456789.") == std::string::npos) {
      expression += name;
      continue;
    }
    expression += '"';
    for (const char character : name)
      expression += std::string(character == '"' || character == '\\' ? 1 : 0, '\\') + character;
    expression += '"';
  }
  return expression;
}

}  // namespace

std::optional<FieldFormula> FieldFormula::Of(std::string_view script) {
  FieldFormula formula;
  const std::string code = WithoutComments(script);
  if (const auto call = ParseCall(code)) return formula.TakeCall(*call) ? std::optional(formula) : std::nullopt;
  const auto notation = code.empty() ? NotationIn(script) : std::nullopt;
  ScriptReader reader(notation ? *notation : code);
  if (!notation && !(reader.Take("event.value") && reader.Take("="))) return std::nullopt;
  if (!formula.ReadSum(reader, 0) || !reader.AtEnd() || formula.names_.empty()) return std::nullopt;
  return formula;
}

bool FieldFormula::TakeCall(const ScriptCall& call) {
  constexpr std::string_view kTotals[] = {"", "SUM", "PRD", "AVG", "MIN", "MAX"};
  if (call.function != "AFSimple_Calculate" || call.arguments.size() != 2) return false;
  const auto* const found = std::find(std::begin(kTotals), std::end(kTotals), call.TextAt(0));
  if (found == std::end(kTotals) || found->empty()) return false;
  total_ = static_cast<Total>(found - std::begin(kTotals));
  names_ = call.ListAt(1);
  return !names_.empty();
}

bool FieldFormula::ReadSum(ScriptReader& reader, int depth) {
  if (depth > kDeepest || !ReadProduct(reader, depth)) return false;
  for (;;) {
    const bool adds = reader.Take("+");
    if (!adds && !reader.Take("-")) return true;
    if (!ReadProduct(reader, depth)) return false;
    entries_.push_back({adds ? Step::kAdd : Step::kSubtract});
  }
}

bool FieldFormula::ReadProduct(ScriptReader& reader, int depth) {
  if (!ReadOperand(reader, depth)) return false;
  for (;;) {
    const bool multiplies = reader.Take("*");
    if (!multiplies && !reader.Take("/")) return true;
    if (!ReadOperand(reader, depth)) return false;
    entries_.push_back({multiplies ? Step::kMultiply : Step::kDivide});
  }
}

bool FieldFormula::ReadOperand(ScriptReader& reader, int depth) {
  if (depth > kDeepest) return false;
  if (reader.Take("(")) return ReadSum(reader, depth + 1) && reader.Take(")");
  if (const auto number = reader.TakeNumber()) {
    entries_.push_back({Step::kNumber, *number});
    return true;
  }
  if (reader.Take("-")) {
    if (!ReadOperand(reader, depth + 1)) return false;
    entries_.push_back({Step::kNegate});
    return true;
  }
  std::optional<std::string> name = reader.TakeString();
  if (!name) {
    if (!reader.Take("AFMakeNumber") || !reader.Take("(")) return false;
    if (reader.Take("this")) reader.Take(".");
    if (!reader.Take("getField") || !reader.Take("(")) return false;
    name = reader.TakeString();
    if (!name || !reader.Take(")") || !reader.Take(".") || !reader.Take("value") || !reader.Take(")")) return false;
  }
  entries_.push_back({Step::kField, 0, names_.size()});
  names_.push_back(std::move(*name));
  return true;
}

double FieldFormula::TotalOf(const std::vector<std::vector<double>>& numbers) const {
  std::vector<double> all;
  for (const auto& some : numbers) all.insert(all.end(), some.begin(), some.end());
  if (all.empty()) return 0;
  double total = total_ == Total::kProduct ? 1 : 0;
  for (const double number : all) total = total_ == Total::kProduct ? total * number : total + number;
  switch (total_) {
    case Total::kAverage: return total / static_cast<double>(all.size());
    case Total::kLeast: return *std::min_element(all.begin(), all.end());
    case Total::kMost: return *std::max_element(all.begin(), all.end());
    default: return total;
  }
}

std::optional<double> FieldFormula::Evaluate(const std::vector<std::vector<double>>& numbers) const {
  const auto finite = [](double number) { return std::isfinite(number) ? std::optional(number) : std::nullopt; };
  if (total_ != Total::kNone) return finite(std::round(TotalOf(numbers) * kKeptDecimals) / kKeptDecimals);
  std::vector<double> stack;
  for (const Entry& entry : entries_) {
    if (entry.step == Step::kNumber || entry.step == Step::kField) {
      const bool is_absent = entry.step == Step::kField && numbers[entry.name].empty();
      stack.push_back(entry.step == Step::kNumber ? entry.number : is_absent ? 0 : numbers[entry.name].front());
      continue;
    }
    const double last = stack.back();
    stack.pop_back();
    if (entry.step == Step::kNegate) {
      stack.push_back(-last);
      continue;
    }
    double& first = stack.back();
    switch (entry.step) {
      case Step::kAdd: first += last; break;
      case Step::kSubtract: first -= last; break;
      case Step::kMultiply: first *= last; break;
      default: first /= last; break;
    }
  }
  return finite(stack.back());
}

}  // namespace zforms
