#include <gtest/gtest.h>

#include <chrono>

#include "preferences/core_preferences.h"
#include "support/files.h"
#include "support/stored_lists.h"
#include "support/test_clock.h"

namespace tollmere::testing {
namespace {

using NextRingTimeTest = StoreTest;

class TimetableTest : public StoreTest, public ::testing::WithParamInterface<Section> {};

TEST_P(TimetableTest, Agrees) {
  for (const std::string& line : GetParam().lines) {
    const std::vector<std::string> row = Cells(line);
    SetClock(row[0]);
    Store(ListXml({}, row.size() > 3 && !row[3].empty() ? "Exclusions=" + row[3] : ""));
    CorePreferencesModified::Sync();
    const Ref<TLMAlarm> alarm = AlarmOf(row[2]);
    const Ref<Date> from = row.size() > 4 ? New<Date>() : nullptr;
    if (from != nullptr) {
      from->SetTotalSeconds(row[4] == "the end" ? 1e300 : TotalSeconds(row[4]));
    }
    alarm->SetNextRingTime(from);
    EXPECT_EQ(Text(alarm->NextRingDateTime), row[1]) << line;
  }
}
INSTANTIATE_TEST_SUITE_P(Schedule, TimetableTest, ::testing::ValuesIn(Sections("next_ring_times.txt", "## ")),
                         [](const auto& section) { return section.param.name; });

// The calendar says by itself which occurrence of its weekday a day is, from either end.
TEST_F(NextRingTimeTest, WeeklyRelativeAgreesWithTheCalendar) {
  using namespace std::chrono;
  for (unsigned row = 0; row < 7 * 5 * 2; ++row) {
    const unsigned weekday_index = row % 7;
    const unsigned n = row / 7 % 5;
    const bool from_end = row >= 35;
    const Ref<TLMAlarm> alarm = TLMAlarm::Make();
    alarm->Type = AlarmTypeWeeklyRelative;
    alarm->WeeklyDaysRelative[weekday_index] = true;
    alarm->WeeklyDaysRelativeOccurrences[n] = true;
    alarm->WeeklyDaysRelativeFromMonthEnd = from_end;
    SetClock("2027-01-01");
    for (int rings = 0; rings < 30; ++rings) {
      alarm->SetNextRingTime(nullptr);
      ASSERT_NE(alarm->NextRingDateTime, nullptr);
      const Date& ring = *alarm->NextRingDateTime;
      const unsigned day = static_cast<unsigned>(ring.Day());
      const unsigned last = unsigned(
          (year(ring.Year()) / month(static_cast<unsigned>(ring.Month())) / std::chrono::last).day());
      ASSERT_EQ(ring.DayOfWeek(), static_cast<int>(weekday_index) + 1) << Text(ring);
      ASSERT_EQ((from_end ? last - day : day - 1) / 7, n) << Text(ring);
      // On to the first of the next month, a day that every month has.
      SetClock(UnixSeconds(Text(ring).substr(0, 10)) +
               static_cast<std::int64_t>(last - day + 1) * kSecondsPerDay);
    }
  }
}

}  // namespace
}  // namespace tollmere::testing
