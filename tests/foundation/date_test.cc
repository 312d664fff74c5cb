#include "foundation/date.h"

#include <gtest/gtest.h>

#include <chrono>
#include <clocale>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <sstream>

#include "support/files.h"
#include "support/test_clock.h"

namespace tollmere::testing {
namespace {

using Setter = void (Date::*)(std::int32_t) noexcept;

constexpr std::pair<char, Setter> kSetters[] = {{'Y', &Date::SetYear},   {'M', &Date::SetMonth},
                                                {'D', &Date::SetDay},    {'h', &Date::SetHour},
                                                {'m', &Date::SetMinute}, {'s', &Date::SetSecond}};

// Carries out assignments such as "M=2 D=10" one after the other.
void Assign(Date& date, const std::string& assignments) {
  std::istringstream stream(assignments);
  char field = 0;
  char equals = 0;
  for (std::int32_t value = 0; stream >> field >> equals >> value;) {
    for (const auto& [name, setter] : kSetters) {
      if (name == field) {
        (date.*setter)(value);
      }
    }
  }
}

TEST(DateTest, RollsOverAtOnce) {
  for (const auto& row : Table("date_assignments.txt")) {
    Date date;
    const bool is_moment = row[0].find(':') != std::string::npos;
    date.SetTotalSeconds(is_moment ? TotalSeconds(row[0]) : std::strtod(row[0].c_str(), nullptr));
    Assign(date, row[1]);
    EXPECT_EQ(Text(date) + " " + std::to_string(date.DayOfWeek()), row[2]) << row[0] << " " << row[1];
  }
}

// Against the standard library's calendar, day by day through a whole cycle of it, both ways.
TEST(DateTest, StepsThroughTheCalendar) {
  using namespace std::chrono;
  for (const int step : {1, -1}) {
    Date date;
    date.SetTotalSeconds(TotalSeconds("1999-12-31 23:30:15"));
    sys_days day = 1999y / December / 31;
    for (int i = 0; i < 147'000; ++i) {
      const year_month_day civil(year(date.Year()), month(static_cast<unsigned>(date.Month())),
                                 std::chrono::day(static_cast<unsigned>(date.Day())));
      ASSERT_EQ(sys_days(civil), day);
      ASSERT_EQ(date.DayOfWeek(), static_cast<int>(weekday(day).c_encoding()) + 1);
      const auto seconds = day.time_since_epoch().count() * kSecondsPerDay + kSecondsTo1970 + 84'615;
      ASSERT_EQ(date.TotalSeconds(), static_cast<double>(seconds));
      date.SetDay(date.Day() + step);
      day += days(step);
    }
  }
}

TEST(DateTest, EveryDoubleAndEveryFieldValueIsTaken) {
  constexpr std::int32_t kLeast = std::numeric_limits<std::int32_t>::min();
  for (const double seconds :
       {0.0, -0.25, 1e-300, -1e-300, 4294967295.75, std::nextafter(4294967296.0, 0.0), 0x1p52 - 0.5,
        0x1p53 - 1, 0x1p53, -0x1p53, 1e17, -1e17, 1e300, -1e300, HUGE_VAL, -HUGE_VAL, std::nan("")}) {
    Date date;
    date.SetTotalSeconds(seconds);
    const double read = date.TotalSeconds();
    EXPECT_EQ(std::memcmp(&read, &seconds, sizeof read), 0) << seconds;
    for (const auto& [name, setter] : kSetters) {
      for (const std::int32_t value : {kLeast, -1, 0, 1, 29, 60, -(kLeast + 1)}) {
        Date changed;
        changed.SetTotalSeconds(seconds);
        (changed.*setter)(value);
        // Both views agree.
        ASSERT_EQ(Text(changed), Text(CopyOf(changed))) << seconds << " " << name << "=" << value;
      }
    }
  }
}

TEST(DateTest, AFractionGoesWithASecondAndWithNothingElse) {
  Date date;
  date.SetTotalSeconds(TotalSeconds("2027-01-31 10:00:59") + 0.75);
  Assign(date, "M=2 D=28 h=25 m=-3");
  EXPECT_EQ(date.TotalSeconds(), TotalSeconds("2027-03-29 00:57:59") + 0.75);
  date.SetSecond(0);
  EXPECT_EQ(date.TotalSeconds(), TotalSeconds("2027-03-29 00:57:00"));
}

TEST(DateTest, ANewDateIsOnTheWallClockOfTheMachinesPlace) {
  for (const auto& row : Table("zones.txt")) {
    setenv("TZ", row[0].c_str(), 1);
    SetClock(UnixSeconds(row[1]) - 1);
    Date();  // A changed zone is seen when the clock's second changes, and so by the next one.
    AdvanceClock(1);
    EXPECT_EQ(Text(Date()), row[2]) << row[0] << " " << row[1];
  }
  setenv("TZ", "UTC", 1);
  constexpr std::int64_t kBeyondTheCalendar = std::int64_t{1} << 58;
  SetClock(kBeyondTheCalendar);
  EXPECT_EQ(Date().TotalSeconds(), static_cast<double>(kBeyondTheCalendar + kSecondsTo1970));
  SetClock(0);
}

TEST(DateTest, TextsInTheUsersLanguage) {
  TemporaryFolder folder;
  setenv("LOCPATH", folder.Path().c_str(), 1);
  Date date;
  date.SetTotalSeconds(TotalSeconds("2027-01-31 10:00:05"));
  std::string missing;
  for (const std::vector<std::string>& row : Table("long_dates.txt")) {
    const std::string name = row[0] + ".UTF-8";
    std::system(("localedef -i " + row[0] + " -f UTF-8 " + folder.Path() + "/" + name + " 2>&-").c_str());
    if (std::setlocale(LC_TIME, name.c_str()) == nullptr) {
      missing += " " + row[0];
      continue;
    }
    EXPECT_EQ(date.LongDate(), row[1]) << row[0];
    EXPECT_EQ(date.LongTime(), row[2]) << row[0];
  }
  std::setlocale(LC_TIME, "C");
  unsetenv("LOCPATH");
  if (!missing.empty()) {
    GTEST_SKIP() << "localedef is missing, or its source of" << missing;
  }
}

}  // namespace
}  // namespace tollmere::testing
