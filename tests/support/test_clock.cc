#include "support/test_clock.h"

#include <cstdio>

#include "foundation/calendar_math.h"
#include "foundation/system/clock.h"

namespace tollmere {
namespace testing {
namespace {

std::int64_t test_clock = 1'800'000'000;

}  // namespace

std::int64_t UnixSeconds(std::string_view moment) {
  int fields[6] = {0, 1, 1};
  auto& [year, month, day, hour, minute, second] = fields;
  std::sscanf(std::string(moment).c_str(), "%d-%d-%d%*c%d:%d:%d", &year, &month, &day, &hour, &minute,
              &second);
  return (DaysFromCivil(year, month, day) - kDaysTo1970) * kSecondsPerDay + hour * 3600 + minute * 60 +
         second;
}

double TotalSeconds(std::string_view moment) {
  return static_cast<double>(UnixSeconds(moment) + kSecondsTo1970);
}

void SetClock(std::int64_t unix_seconds) { test_clock = unix_seconds; }
void SetClock(std::string_view moment) { SetClock(UnixSeconds(moment)); }
void AdvanceClock(std::int64_t seconds) { test_clock += seconds; }

std::string Text(const Date& date) {
  char text[64];
  std::snprintf(text, sizeof text, "%04d-%02d-%02d %02d:%02d:%02d", date.Year(), date.Month(), date.Day(),
                date.Hour(), date.Minute(), date.Second());
  return text;
}

std::string Text(const Ref<Date>& date) { return date != nullptr ? Text(*date) : "Never"; }

}  // namespace testing

std::int64_t ReadWallClock() noexcept { return testing::test_clock; }

}  // namespace tollmere
