#include "zforms/platform/base/number.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>
#include <system_error>

namespace zforms {
namespace {

constexpr std::string_view kDigits = "0123456789";

struct Integer {
  bool negative = false;
  bool fits = true;
  uint64_t magnitude = 0;
};

Integer ReadInteger(std::string_view text) {
  text = TrimBlanks(text);
  Integer result;
  if (text.starts_with('-') || text.starts_with('+')) {
    result.negative = text.front() == '-';
    text.remove_prefix(1);
  }
  const auto read = std::from_chars(text.data(), text.data() + text.size(), result.magnitude);
  result.fits = read.ec != std::errc::result_out_of_range;
  return result;
}

template <class Unsigned>
Unsigned ReadUnsigned(std::string_view text) {
  constexpr Unsigned kMost = std::numeric_limits<Unsigned>::max();
  const Integer read = ReadInteger(text);
  if (!read.fits || read.magnitude > kMost) return kMost;
  return static_cast<Unsigned>(read.negative ? 0 - read.magnitude : read.magnitude);
}

// The longest prefix that consists of digits and at most one point.
std::string_view FixedPointPart(std::string_view text) {
  size_t end = std::min(text.find_first_not_of(kDigits), text.size());
  if (end < text.size() && text[end] == '.') end = std::min(text.find_first_not_of(kDigits, end + 1), text.size());
  return text.substr(0, end);
}

template <class... Arguments>
Chaine Formatted(Arguments... arguments) {
  // The smallest double has the longest text: a sign, "0." and 324 decimals.
  char buffer[400];
  const auto written = std::to_chars(buffer, buffer + sizeof(buffer), arguments...);
  return {buffer, static_cast<size_t>(written.ptr - buffer)};
}

}  // namespace

int32_t ParseInt(std::string_view text) {
  const Integer read = ReadInteger(text);
  const uint64_t most = read.negative ? uint64_t{1} << 31 : (uint64_t{1} << 31) - 1;
  const int64_t magnitude = static_cast<int64_t>(read.fits ? std::min(read.magnitude, most) : most);
  return static_cast<int32_t>(read.negative ? -magnitude : magnitude);
}

uint32_t ParseUInt(std::string_view text) {
  // Fast path: nearly all numbers are a few digits.
  if (text.size() - 1 >= 10) return ReadUnsigned<uint32_t>(text);
  uint64_t value = 0;
  for (const char c : text) {
    if (c < '0' || c > '9') return ReadUnsigned<uint32_t>(text);
    value = value * 10 + static_cast<uint64_t>(c - '0');
  }
  return static_cast<uint32_t>(std::min<uint64_t>(value, UINT32_MAX));
}

uint64_t ParseUInt64(std::string_view text) { return ReadUnsigned<uint64_t>(text); }

double ParseDouble(std::string_view text) {
  text = TrimBlanks(text);
  const size_t signs = std::min(text.find_first_not_of("+-"), text.size());
  const bool negative = text.substr(0, signs).find('-') != std::string_view::npos;
  const std::string_view number = FixedPointPart(text.substr(signs));
  double value = 0;
  const auto read = std::from_chars(number.data(), number.data() + number.size(), value, std::chars_format::fixed);
  if (read.ec == std::errc::result_out_of_range) {
    // The value is too large, or too close to zero. A nonzero digit before the point means too large.
    const bool large = number.substr(0, number.find('.')).find_first_not_of('0') != std::string_view::npos;
    value = large ? std::numeric_limits<double>::max() : 0;
  }
  return negative ? -value : value;
}

Chaine FormatInt(int64_t value) { return Formatted(value); }

Chaine FormatUInt(uint64_t value) { return Formatted(value); }

Chaine FormatDouble(double value) {
  if (!std::isfinite(value) || value == 0) return "0";
  return Formatted(value, std::chars_format::fixed);
}

void AppendPadded(Chaine* out, uint64_t value, int width) {
  const Chaine digits = FormatUInt(value);
  const size_t wanted = static_cast<size_t>(std::max(width, 0));
  if (digits.size() < wanted) {
    const size_t zeros = wanted - digits.size();
    std::fill_n(out->AppendUninitialized(zeros), zeros, '0');
  }
  out->Append(digits);
}

}  // namespace zforms
