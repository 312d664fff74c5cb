// The agent over years, over steps of the clock, and over changes of zone; and what never happens.
#include <gtest/gtest.h>
#include <malloc.h>

#include <map>

#include "launch/engine.h"
#include "preferences/local_preferences.h"
#include "support/files.h"
#include "support/log_capture.h"
#include "support/stored_lists.h"
#include "support/test_clock.h"
#include "watch/check_alarms_timer.h"

namespace tollmere::testing {
namespace {

const std::vector<std::string> kMixedList = Sections("mixed_list.txt", "# ").front().lines;

std::size_t MemoryInUse() {
  const struct mallinfo2 heap = mallinfo2();
  return heap.uordblks + heap.hblkhd;
}

class SimulatedYearsTest : public StoreTest {
 protected:
  // One tick; every ring and every attempt is noted, and what must hold at each tick is looked at.
  void Tick() {
    std::vector<Ref<TLMAlarm>> due;  // what the last tick saw coming for this minute
    Date minute;
    minute.SetSecond(0);
    for (const Ref<TLMAlarm>& alarm : LocalPreferences::xAlarmArray) {
      if (alarm->Enabled() && Text(alarm->NextRingDateTime) == Text(minute)) {
        due.push_back(alarm);
      }
    }
    const Ref<Date> attempt = Engine::dLastLaunchAttempt;
    Engine::tmrCheckAlarms->Event_Action();
    ASSERT_EQ(Text(CheckAlarmsTimer::dRecentCheck), Text(Date()));
    for (const Ref<TLMAlarm>& alarm : due) {
      const Variant ring = LocalPreferences::MasteRingHistory->Value(Int32ToVariant(alarm->UniqueID));
      ASSERT_EQ(Text(Cast<Date>(VariantToObject(ring))), Text(minute)) << alarm->Name << " did not ring";
    }
    if (Engine::dLastLaunchAttempt != attempt) {
      ++attempts_;
      ASSERT_FALSE(Engine::IsSameMinute(attempt, Engine::dLastLaunchAttempt)) << Text(attempt);
    }
    for (const std::string& line : TakeLog()) {
      if (line.ends_with("if not launched within the past minute.")) {
        ++rings_[line.substr(7, line.find('"', 7) - 7)];
      }
    }
  }
  void TickFor(std::int64_t seconds, std::int64_t step = 1) {
    for (std::int64_t i = 0; i < seconds && !HasFatalFailure(); i += step) {
      Tick();
      AdvanceClock(step);
    }
  }

  std::map<std::string, int> rings_;
  int attempts_ = 0;
};

// Each day is ticked through around one of the minutes in which alarms fall due. What is launched, and how
// often, is for the night.
TEST_F(SimulatedYearsTest, FourYearsOfAMixedList) {
  Store(ListXml(kMixedList));
  constexpr int kDays = 1461;
  constexpr int kMinutes[] = {0, 12 * 60, 2 * 60 + 30, 23 * 60 + 59};
  std::size_t memory_after_first_year = 0;
  for (int day = 0; day < kDays && !HasFatalFailure(); ++day) {
    SetClock(UnixSeconds("2027-01-01") + day * kSecondsPerDay + kMinutes[day % 4] * 60 - 62);
    CheckAlarmsTimer::dRecentCheck = nullptr;  // What lies between the samples is not walked.
    for (const std::int64_t step : {1, 1, 58, 1, 1, 1, 57, 1, 1}) {
      Engine::dLastLaunchAttempt = New<Date>();
      TickFor(step, step);
    }
    memory_after_first_year = day == 366 ? MemoryInUse() : memory_after_first_year;
  }
  EXPECT_LE(MemoryInUse(), memory_after_first_year + 65'536);
  EXPECT_EQ(rings_["daily"], kDays / 4);
  EXPECT_EQ(rings_["chime"], kDays / 4 * 2 + 1);
  EXPECT_EQ(rings_["past"], 0);
  EXPECT_GT(rings_["monthly"], 6);
  EXPECT_GT(rings_["friday"], 8);
}

TEST_F(SimulatedYearsTest, ANightSecondBySecond) {
  Store(ListXml(kMixedList, "RingPastAlarms=true"));
  SetClock("2028-05-31 22:00:00");  // a Wednesday
  TickFor(6 * 3600);
  EXPECT_EQ(rings_, (std::map<std::string, int>{
                        {"daily", 1}, {"monthly", 1}, {"weekly", 1}, {"chime", 6}, {"past", 6 * 60}}));
  EXPECT_EQ(attempts_, 6 * 60);
}

TEST_F(SimulatedYearsTest, ChangesOfZone) {
  for (const auto& row : Table("zone_changes.txt")) {
    SetUp();
    rings_.clear();
    Store(ListXml(kMixedList));
    setenv("TZ", row[0].c_str(), 1);
    SetClock(UnixSeconds(row[1]) - 3 * 3600);
    Date();
    TickFor(8 * 3600, 5);
    EXPECT_EQ(std::to_string(rings_["daily"]) + " " + std::to_string(rings_["chime"]), row[2])
        << row[0] << row[1];
  }
}

TEST_F(SimulatedYearsTest, AWalkOverAnEmptyListIsLeftWhenTheProcessIsToEnd) {
  Tick();
  AdvanceClock(2);
  ProcessEnd::Request();
  EXPECT_THROW(Engine::tmrCheckAlarms->Event_Action(), EndOfProcess);
}

}  // namespace
}  // namespace tollmere::testing
