// What a Date asks the system: the present moment in the machine's own zone, and the texts of the user's
// language.
#include <langinfo.h>

#include <algorithm>
#include <ctime>
#include <limits>

#include "foundation/date.h"
#include "foundation/system/clock.h"
#include "foundation/text.h"

namespace tollmere {
namespace {

// What a clock on the wall of the machine's own place shows, in seconds since 1904.
std::int64_t LocalSeconds(std::int64_t wall_clock) noexcept {
  tzset();  // A zone that the user changes is taken up without a restart.
  const std::time_t moment = wall_clock;
  std::tm fields{};
  if (localtime_r(&moment, &fields) == nullptr) {
    return wall_clock + kSecondsTo1970;  // No calendar reaches this far.
  }
  // From the fields and not from the offset to UTC, since there are zones that count leap seconds.
  const std::int64_t days =
      DaysFromCivil(std::int64_t{fields.tm_year} + 1900, fields.tm_mon + 1, fields.tm_mday);
  return days * kSecondsPerDay + std::int64_t{fields.tm_hour} * 3600 + std::int64_t{fields.tm_min} * 60 +
         std::min(fields.tm_sec, 59);
}

}  // namespace

const Date::State& Date::Present() noexcept {
  // Within one second nothing changes, and new Dates are made many times a second.
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
  return name(DAY_1, DayOfWeek() - 1) + ", " + name(MON_1, Month() - 1) + " " + Str(Day()) + ", " +
         Str(Year());
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
  char text[128];
  return std::string(text, std::strftime(text, sizeof text, "%X", &fields));
}

}  // namespace tollmere
