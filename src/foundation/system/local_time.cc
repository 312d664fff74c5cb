// What Date needs of the system: the present moment in the machine's time zone, and texts in the user's
// language.
#include <langinfo.h>

#include <algorithm>
#include <ctime>
#include <limits>
#include <string_view>

#include "foundation/date.h"
#include "foundation/system/clock.h"
#include "foundation/text.h"

namespace tollmere {
namespace {

// The local wall-clock time, in seconds since 1904.
std::int64_t LocalSeconds(std::int64_t wall_clock) noexcept {
  tzset();  // A changed time zone takes effect without a restart.
  const std::time_t moment = wall_clock;
  std::tm fields{};
  if (localtime_r(&moment, &fields) == nullptr) {
    return wall_clock + kSecondsTo1970;  // beyond the calendar
  }
  // From the fields and not from the offset to UTC, since some zones count leap seconds.
  const std::int64_t days =
      DaysFromCivil(std::int64_t{fields.tm_year} + 1900, fields.tm_mon + 1, fields.tm_mday);
  return days * kSecondsPerDay + std::int64_t{fields.tm_hour} * 3600 + std::int64_t{fields.tm_min} * 60 +
         std::min(fields.tm_sec, 59);
}

enum class Order { kMonthFirst, kDayFirst, kYearFirst };

// Which of the three comes first in a form of strftime, such as "%d.%m.%Y".
Order OrderOf(std::string_view form) noexcept {
  for (std::size_t at = form.find('%'); at != std::string_view::npos; at = form.find('%', at + 1)) {
    at =
        std::min(form.find_first_not_of("-_0^#EO", at + 1), form.size() - 1);  // the letter, behind its flags
    if (std::string_view("de").find(form[at]) != std::string_view::npos) {
      return Order::kDayFirst;
    }
    if (std::string_view("yYCF").find(form[at]) != std::string_view::npos) {
      return Order::kYearFirst;
    }
    if (std::string_view("mbBhD").find(form[at]) != std::string_view::npos) {
      break;
    }
  }
  return Order::kMonthFirst;
}

}  // namespace

const Date::State& Date::Present() noexcept {
  // Many Dates are made within one second.
  static std::int64_t remembered_second = std::numeric_limits<std::int64_t>::min();
  static State remembered{};
  const std::int64_t wall_clock = ReadWallClock();
  if (wall_clock != remembered_second) [[unlikely]] {
    remembered = AtSecond(LocalSeconds(wall_clock), 0.0);
    remembered_second = wall_clock;
  }
  return remembered;
}

std::string Date::LongDate() const {
  const auto name = [](nl_item first, int index) -> std::string { return nl_langinfo(first + index); };
  const std::string weekday = name(DAY_1, DayOfWeek() - 1) + ", ";
  const std::string month = name(MON_1, Month() - 1);
  switch (OrderOf(nl_langinfo(D_FMT))) {
    case Order::kDayFirst:
      return weekday + Str(Day()) + " " + month + " " + Str(Year());
    case Order::kYearFirst:
      return weekday + Str(Year()) + " " + month + " " + Str(Day());
    case Order::kMonthFirst:
      break;
  }
  return weekday + month + " " + Str(Day()) + ", " + Str(Year());
}

std::string Date::LongTime() const {
  std::tm fields{};
  fields.tm_hour = Hour();
  fields.tm_min = Minute();
  fields.tm_sec = Second();
  // The day is that of the moment too, since a locale's form may ask for it.
  fields.tm_mday = Day();
  fields.tm_mon = Month() - 1;
  fields.tm_wday = DayOfWeek() - 1;
  fields.tm_isdst = -1;  // Not known: a form that asks for the zone gets nothing for it.
  char text[128];
  const std::string_view time(text, std::strftime(text, sizeof text, "%X", &fields));
  const std::size_t first = std::min(time.find_first_not_of(' '), time.size());
  return std::string(time.substr(first, time.find_last_not_of(' ') + 1 - first));
}

}  // namespace tollmere
