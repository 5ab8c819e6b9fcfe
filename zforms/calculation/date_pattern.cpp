#include "zforms/calculation/date_pattern.h"

#include <algorithm>
#include <charconv>
#include <chrono>

#include "zforms/platform/base/ascii.h"

namespace zforms {
namespace {

constexpr std::string_view kDatePatterns[] = {"m/d",         "m/d/yy",       "mm/dd/yy",       "mm/yy",       "d-mmm",
                                              "d-mmm-yy",    "dd-mmm-yy",    "yy-mm-dd",       "mmm-yy",      "mmmm-yy",
                                              "mmm d, yyyy", "mmmm d, yyyy", "m/d/yy h:MM tt", "m/d/yy HH:MM"};
constexpr std::string_view kTimePatterns[] = {"HH:MM", "h:MM tt", "HH:MM:ss", "h:MM:ss tt"};
constexpr std::string_view kMonths[] = {"January", "February", "March",     "April",   "May",      "June",
                                        "July",    "August",   "September", "October", "November", "December"};
constexpr std::string_view kDays[] = {"Sunday", "Monday", "Tuesday", "Wednesday", "Thursday", "Friday", "Saturday"};
constexpr size_t kShortName = 3;
constexpr int64_t kCentury = 100;
constexpr int64_t kLastOfThisCentury = 49;

// How often a letter may be repeated in one part of a pattern; 0 for a letter that patterns do not have.
constexpr size_t LongestOf(char letter) {
  switch (letter) {
    case 'd':
    case 'm':
    case 'y': return 4;
    case 'H':
    case 'h':
    case 'M':
    case 's':
    case 't': return 2;
    default: return 0;
  }
}

template <size_t N>
std::optional<DatePattern> PatternOf(const std::string_view (&patterns)[N], double number) {
  if (!(number >= 0) || number >= static_cast<double>(N)) return std::nullopt;
  return DatePattern::Of(patterns[static_cast<size_t>(number)]);
}

// Takes up to `most` digits from the front; -1 when there is none.
int64_t TakeDigits(size_t most, std::string_view* value) {
  size_t count = 0;
  while (count < std::min(most, value->size()) && IsDigitASCII((*value)[count])) count++;
  int64_t number = -1;
  std::from_chars(value->data(), value->data() + count, number);
  value->remove_prefix(count);
  return number;
}

std::string Padded(int64_t number, size_t width) {
  const std::string digits = std::to_string(number);
  return std::string(width > digits.size() ? width - digits.size() : 0, '0') + digits;
}

}  // namespace

std::optional<DatePattern> DatePattern::Of(std::string_view pattern) {
  DatePattern made;
  made.text_ = pattern;
  for (size_t at = 0; at < pattern.size();) {
    const char c = pattern[at];
    if (IsLetterASCII(c)) {
      const size_t end = std::min(pattern.find_first_not_of(c, at), pattern.size());
      const size_t length = std::min(end - at, LongestOf(c));
      if (length == 0 || (c == 'y' && length % 2 == 1)) return std::nullopt;
      made.parts_.push_back({c, length});
      at += length;
      continue;
    }
    if (c == '\\') at++;
    if (made.parts_.empty() || made.parts_.back().kind != 0) made.parts_.emplace_back();
    if (at < pattern.size()) made.parts_.back().text += pattern[at++];
  }
  const auto is_part = [](const Part& part) { return part.kind != 0; };
  if (std::none_of(made.parts_.begin(), made.parts_.end(), is_part)) return std::nullopt;
  return made;
}

std::optional<DatePattern> DatePattern::OfDate(double number) { return PatternOf(kDatePatterns, number); }
std::optional<DatePattern> DatePattern::OfTime(double number) { return PatternOf(kTimePatterns, number); }

bool DatePattern::Has(char kind) const {
  return std::any_of(parts_.begin(), parts_.end(), [kind](const Part& part) { return part.kind == kind; });
}

std::optional<std::string> DatePattern::Print(std::string_view value) const {
  Moment moment;
  if (!Read(value, &moment) && !ReadISO(value, &moment)) return std::nullopt;
  std::string text;
  for (const Part& part : parts_) text += PrintPart(part, moment);
  return text;
}

// --- reading ---

bool DatePattern::Read(std::string_view value, Moment* moment) const {
  *moment = {};
  for (size_t i = 0; i < parts_.size(); i++) {
    if (!ReadPart(i, &value, moment)) return false;
  }
  return value.empty() && Settle(moment);
}

bool DatePattern::ReadPart(size_t index, std::string_view* value, Moment* moment) const {
  const Part& part = parts_[index];
  if (part.kind == 0) {
    if (!value->starts_with(part.text)) return false;
    value->remove_prefix(part.text.size());
    return true;
  }
  const bool is_named = part.length > 2 && part.kind != 'y';
  if (is_named || part.kind == 't') return ReadName(part, value, moment);
  // A number directly before another part with letters takes only as many digits as its own part has letters.
  const bool is_tight = index + 1 < parts_.size() && parts_[index + 1].kind != 0;
  const size_t most = is_tight ? part.length : part.kind == 'y' ? 4 : 2;
  return ReadNumber(part, most, value, moment);
}

bool DatePattern::ReadNumber(const Part& part, size_t most, std::string_view* value, Moment* moment) {
  const size_t before = value->size();
  int64_t number = TakeDigits(most, value);
  const size_t digits = before - value->size();
  if (number < 0 || (part.kind == 'y' && digits != 2 && digits != 4)) return false;
  if (part.kind == 'y' && digits == 2) number += number <= kLastOfThisCentury ? 20 * kCentury : 19 * kCentury;
  switch (part.kind) {
    case 'y': moment->year = number; break;
    case 'm': moment->month = number; break;
    case 'd': moment->day = number; break;
    case 'M': moment->minute = number; break;
    case 's': moment->second = number; break;
    default: moment->hour = number; break;
  }
  return true;
}

bool DatePattern::ReadName(const Part& part, std::string_view* value, Moment* moment) {
  if (part.kind == 't') {
    const bool is_afternoon = StartsIgnoringASCIICase(*value, "p");
    if (value->empty() || (!is_afternoon && !StartsIgnoringASCIICase(*value, "a"))) return false;
    moment->is_afternoon = is_afternoon;
    value->remove_prefix(std::min(part.length, value->size()));
    return true;
  }
  const auto take = [&](const auto& names) -> int64_t {
    for (size_t i = 0; i < std::size(names); i++) {
      const std::string_view name = names[i].substr(0, part.length == kShortName ? kShortName : names[i].size());
      if (value->size() < name.size() || !StartsIgnoringASCIICase(*value, name)) continue;
      value->remove_prefix(name.size());
      return static_cast<int64_t>(i) + 1;
    }
    return 0;
  };
  const int64_t number = part.kind == 'm' ? take(kMonths) : take(kDays);
  if (part.kind == 'm') moment->month = number;
  return number > 0;
}

// Whether the parts are a day of the calendar and a time of the day.
bool DatePattern::Settle(Moment* moment) const {
  const bool is_half = Has('t');
  if (is_half && (moment->hour > 12 || (Has('h') && moment->hour < 1))) return false;
  if (is_half) moment->hour = moment->hour % 12 + (moment->is_afternoon ? 12 : 0);
  // Without a year, 29 February is valid: the default year 2000 has it.
  const std::chrono::year_month_day day{std::chrono::year(static_cast<int>(moment->year)),
                                        std::chrono::month(static_cast<unsigned>(moment->month)),
                                        std::chrono::day(static_cast<unsigned>(moment->day))};
  return day.ok() && moment->hour < 24 && moment->minute < 60 && moment->second < 60;
}

bool DatePattern::ReadISO(std::string_view value, Moment* moment) {
  static const std::optional<DatePattern> kForms[] = {Of("yyyy-mm-dd"), Of("yyyy-mm-dd\\THH:MM"),
                                                      Of("yyyy-mm-dd\\THH:MM:ss"), Of("HH:MM:ss"), Of("HH:MM")};
  return std::any_of(std::begin(kForms), std::end(kForms),
                     [&](const auto& form) { return form && form->Read(value, moment); });
}

// --- printing ---

std::string DatePattern::PrintPart(const Part& part, const Moment& moment) {
  const std::chrono::year_month_day day{std::chrono::year(static_cast<int>(moment.year)),
                                        std::chrono::month(static_cast<unsigned>(moment.month)),
                                        std::chrono::day(static_cast<unsigned>(moment.day))};
  const size_t shown = part.length == kShortName ? kShortName : std::string_view::npos;
  const int64_t half = (moment.hour + 11) % 12 + 1;
  switch (part.kind) {
    case 'y': return Padded(part.length == 2 ? moment.year % kCentury : moment.year, part.length);
    case 'm':
      if (part.length > 2) return std::string(kMonths[moment.month - 1].substr(0, shown));
      return Padded(moment.month, part.length);
    case 'd':
      if (part.length > 2) return std::string(kDays[std::chrono::weekday(day).c_encoding()].substr(0, shown));
      return Padded(moment.day, part.length);
    case 'H': return Padded(moment.hour, part.length);
    case 'h': return Padded(half, part.length);
    case 'M': return Padded(moment.minute, part.length);
    case 's': return Padded(moment.second, part.length);
    case 't': return std::string(moment.hour < 12 ? "am" : "pm").substr(0, part.length);
    default: return part.text;
  }
}

}  // namespace zforms
