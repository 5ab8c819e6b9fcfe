#include "zforms/platform/http/http_date.h"

#include <chrono>
#include <string_view>

#include "zforms/platform/base/number.h"

namespace zforms {

Chaine HTTPDate(int64_t seconds) {
  using std::chrono::floor;
  constexpr std::string_view kDays = "SunMonTueWedThuFriSat";
  constexpr std::string_view kMonths = "JanFebMarAprMayJunJulAugSepOctNovDec";
  const std::chrono::sys_seconds time{std::chrono::seconds(seconds)};
  const auto day = floor<std::chrono::days>(time);
  const std::chrono::year_month_day date(day);
  const std::chrono::hh_mm_ss clock(time - day);
  Chaine text(kDays.substr(std::chrono::weekday(day).c_encoding() * 3, 3));
  text += ", ";
  AppendPadded(&text, static_cast<unsigned>(date.day()), 2);
  text += ' ';
  text += kMonths.substr((static_cast<unsigned>(date.month()) - 1) * 3, 3);
  text += ' ';
  AppendPadded(&text, static_cast<uint64_t>(static_cast<int>(date.year())), 4);
  text += ' ';
  AppendPadded(&text, static_cast<uint64_t>(clock.hours().count()), 2);
  text += ':';
  AppendPadded(&text, static_cast<uint64_t>(clock.minutes().count()), 2);
  text += ':';
  AppendPadded(&text, static_cast<uint64_t>(clock.seconds().count()), 2);
  text += " GMT";
  return text;
}

Chaine HTTPDateNow() {
  const auto now = std::chrono::system_clock::now().time_since_epoch();
  return HTTPDate(std::chrono::duration_cast<std::chrono::seconds>(now).count());
}

}  // namespace zforms
