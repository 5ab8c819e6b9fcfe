#include "zforms/filling/csv_writer.h"

#include <algorithm>

#include "zforms/platform/base/ascii.h"

namespace zforms {
namespace {

// A number without its sign in usual formats: "1 234,50", ".5e-3", "12%".
bool IsUnsignedNumber(std::string_view text) {
  constexpr std::string_view kDigits = "0123456789";
  if (text.ends_with('%')) text.remove_suffix(1);
  const size_t exponent = text.find_first_of("eE");
  if (exponent != std::string_view::npos) {
    std::string_view digits = text.substr(exponent + 1);
    if (digits.starts_with('+') || digits.starts_with('-')) digits.remove_prefix(1);
    if (digits.empty() || digits.find_first_not_of(kDigits) != std::string_view::npos) return false;
    text = text.substr(0, exponent);
  }
  bool any = false;
  while (!text.empty()) {
    // Decimal points and commas, and separators between groups of digits, including no-break spaces.
    size_t taken = 0;
    for (const std::string_view mark : {".", ",", " ", "\xC2\xA0", "\xE2\x80\xAF"}) {
      if (text.starts_with(mark)) taken = mark.size();
    }
    const bool is_digit = kDigits.find(text[0]) != std::string_view::npos;
    if (taken == 0 && !is_digit) return false;
    any = any || is_digit;
    text.remove_prefix(std::max<size_t>(taken, 1));
  }
  return any;
}

// Whether the text after a "+" can be a telephone number: at least five digits, for a country code and four more.
bool IsInternationalTelephoneNumber(std::string_view text) {
  constexpr std::ptrdiff_t kFewestDigits = 5;
  return !text.empty() && IsDigitASCII(text[0]) &&
         text.find_first_not_of("0123456789 .-/()") == std::string_view::npos &&
         std::count_if(text.begin(), text.end(), IsDigitASCII) >= kFewestDigits;
}

bool IsFormula(std::string_view text) {
  if (text.empty()) return false;
  const std::string_view rest = text.substr(1);
  switch (text[0]) {
    case '=':
    case '@':
    case '\t':
    case '\n':
    case '\r': return true;
    case '+': return !IsUnsignedNumber(rest) && !IsInternationalTelephoneNumber(rest);
    case '-': return !IsUnsignedNumber(rest);
    default: return false;
  }
}

void AppendCell(std::string* out, std::string_view text) {
  // Text with blanks at the ends is quoted too, because some readers trim it.
  const bool plain =
      text.find_first_of(",;\t\"\r\n") == std::string_view::npos && !text.starts_with(' ') && !text.ends_with(' ');
  if (plain) {
    out->append(text);
    return;
  }
  out->push_back('"');
  for (const char c : text) {
    if (c == '"') out->push_back('"');
    out->push_back(c);
  }
  out->push_back('"');
}

}  // namespace

std::string ForSpreadsheet(std::string_view text) { return (IsFormula(text) ? "'" : "") + std::string(text); }

void AppendCSVLine(std::string* out, const std::vector<std::string>& cells, bool for_spreadsheet) {
  const size_t start = out->size();
  for (size_t i = 0; i < cells.size(); i++) {
    if (i > 0) out->push_back(',');
    AppendCell(out, for_spreadsheet ? ForSpreadsheet(cells[i]) : cells[i]);
  }
  // A row with one empty cell is written as "", because an empty line would not count as a row.
  if (out->size() == start) out->append("\"\"");
  out->append("\r\n");
}

}  // namespace zforms
