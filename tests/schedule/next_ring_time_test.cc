#include <gtest/gtest.h>

#include <chrono>
#include <thread>

#include "foundation/event_loop.h"
#include "preferences/core_preferences.h"
#include "support/files.h"
#include "support/stored_lists.h"
#include "support/test_clock.h"

namespace tollmere::testing {
namespace {

using NextRingTimeTest = StoreTest;

TEST_F(NextRingTimeTest, Timetable) {
  for (const auto& row : Table("next_ring_times.txt")) {
    SetClock(row[0]);
    Store(ListXml({}, row.size() > 3 ? "Exclusions=" + row[3] : ""));
    CorePreferencesModified::Sync();
    const Ref<TLMAlarm> alarm = AlarmOf(row[2]);
    alarm->SetNextRingTime(nullptr);
    EXPECT_EQ(Text(alarm->NextRingDateTime), row[1]) << row[0] << "  " << row[2];
  }
}

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

TEST_F(NextRingTimeTest, AGivenMomentMovesTheFloorAndNothingElse) {
  SetClock("2027-06-15 10:00:00");
  const Ref<TLMAlarm> daily = AlarmOf("DateYear=-1 DateMonth=-1 DateDay=-1 Hour=8 Minute=0");
  const Ref<TLMAlarm> unknown = AlarmOf("AlarmType=9 Hour=11 Minute=0");
  const Ref<Date> later = New<Date>();
  later->SetTotalSeconds(TotalSeconds("2027-09-01 09:00:00"));
  daily->SetNextRingTime(later);
  unknown->SetNextRingTime(later);
  EXPECT_EQ(Text(daily->NextRingDateTime), "2027-09-02 08:00:00");
  EXPECT_EQ(Text(unknown->NextRingDateTime), "Never");
}

// At the end of what a year can show, the bounded searches are bounded still.
TEST_F(NextRingTimeTest, TheEndOfTheCalendar) {
  const Ref<Date> last = New<Date>();
  last->SetTotalSeconds(1e300);
  for (const char* words : {"DateYear=-1 DateMonth=-1 DateDay=32",
                            "AlarmType=2 WeeklyDaysRelative=0 WeeklyDaysRelativeOccurences=4"}) {
    const Ref<TLMAlarm> alarm = AlarmOf(words);
    alarm->SetNextRingTime(last);
    EXPECT_EQ(alarm->NextRingDateTime, nullptr) << words;
  }
}

TEST_F(NextRingTimeTest, TheSearchWithoutAnEndIsLeftWhenTheProcessIsToEnd) {
  const Ref<TLMAlarm> alarm = AlarmOf("AlarmType=1 WeeklyDays=0 Enabled=false");
  alarm->WeeklyDaysMonth = 13;
  std::jthread request([] {
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    end_of_process_requested = true;
  });
  EXPECT_THROW(alarm->SetEnabled(true), EndOfProcess);
}

}  // namespace
}  // namespace tollmere::testing
