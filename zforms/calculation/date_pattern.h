#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace zforms {

// The pattern of AFDate_FormatEx and AFTime_FormatEx, such as "dd/mm/yyyy HH:MM". Its parts are d, dd, ddd, dddd, m,
// mm, mmm, mmmm, yy, yyyy, H, HH (to 24), h, hh (to 12), M, MM (minutes), s, ss, t and tt ("am"); names are English; a
// character after a backslash, and every character that is not a letter, stand for themselves. Years of two digits are
// those from 1950 to 2049; for "yy", a date may also have all four digits. Immutable.
class DatePattern {
 public:
  // Reads a pattern. Nothing when the text contains other letters.
  static std::optional<DatePattern> Of(std::string_view pattern);
  // The patterns that AFDate_Format and AFTime_Format have by number.
  static std::optional<DatePattern> OfDate(double number);
  static std::optional<DatePattern> OfTime(double number);

  const std::string& Text() const { return text_; }
  // The date or time as this pattern writes it: "4/3/24" gives "04/03/2024" with "dd/mm/yyyy". The value must follow
  // the pattern, perhaps with fewer digits, or ISO 8601. Nothing when it follows neither, or is not a day of the
  // calendar.
  std::optional<std::string> Print(std::string_view value) const;

 private:
  struct Part {
    char kind = 0;  // a letter of the pattern; 0 for text
    size_t length = 0;
    std::string text = {};
  };
  struct Moment {
    int64_t year = 2000, month = 1, day = 1, hour = 0, minute = 0, second = 0;
    bool is_afternoon = false;
  };

  bool Read(std::string_view value, Moment* moment) const;
  bool ReadPart(size_t index, std::string_view* value, Moment* moment) const;
  static bool ReadNumber(const Part& part, size_t most, std::string_view* value, Moment* moment);
  static bool ReadName(const Part& part, std::string_view* value, Moment* moment);
  bool Settle(Moment* moment) const;
  static bool ReadISO(std::string_view value, Moment* moment);
  static std::string PrintPart(const Part& part, const Moment& moment);
  bool Has(char kind) const;

  std::string text_;
  std::vector<Part> parts_;
};

}  // namespace zforms
