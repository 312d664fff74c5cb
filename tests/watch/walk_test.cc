// A walk over the seconds of a gap, beside one that visits each of them.
#include <gtest/gtest.h>

#include <random>
#include <utility>

#include "foundation/system/debug_log.h"
#include "launch/engine.h"
#include "preferences/core_preferences.h"
#include "preferences/local_preferences.h"
#include "support/log_capture.h"
#include "support/stored_lists.h"
#include "support/test_clock.h"
#include "watch/check_alarms_timer.h"

namespace tollmere::testing {
namespace {

// Says at each ring how far the walk has come. The clock is set during its first; one that fails leaves the
// walk.
struct LoggingAlarm final : TLMAlarm {
  void Execute(bool first, bool second) override {
    System::DebugLog(Name + " rings, checked up to " + Text(CheckAlarmsTimer::dRecentCheck));
    if (fails) {
      throw NilObjectException();
    }
    if (std::exchange(sets_clock, false)) {
      AdvanceClock(40 * UniqueID - 60);
    }
    Engine::dLastLaunchAttempt = New<Date>();  // Nothing is launched in this minute.
    TLMAlarm::Execute(first, second);
  }
  bool fails = false;
  bool sets_clock = true;
};

class WalkTest : public StoreTest {
 protected:
  // A whole number from `low` on, and below `high`.
  std::int64_t Any(std::int64_t low, std::int64_t high) {
    return low + static_cast<std::int64_t>(random_() % static_cast<std::uint64_t>(high - low));
  }
  bool OneIn(std::int64_t count) { return Any(0, count) == 0; }
  Ref<Date> AnyMoment(std::int64_t low, std::int64_t high) {
    const Ref<Date> moment = New<Date>();
    moment->SetTotalSeconds(static_cast<double>(Any(low, high) + kSecondsTo1970));
    return moment;
  }

  // An alarm of any kind whose times lie in and around the time from `low` to `high`.
  Ref<TLMAlarm> AnyAlarm(std::int64_t low, std::int64_t high) {
    const Ref<LoggingAlarm> alarm = New<LoggingAlarm>();
    alarm->Constructor();
    alarm->UniqueID = static_cast<std::int32_t>(Any(0, 4));
    alarm->Name = "alarm " + std::to_string(LocalPreferences::xAlarmArray.size());
    const Ref<Date> day = AnyMoment(low, high);
    alarm->Type = static_cast<std::int32_t>(Any(0, 6));
    alarm->DateYear = OneIn(2) ? kAny : day->Year();
    alarm->DateMonth = OneIn(2) ? kAny : day->Month();
    alarm->DateDay = OneIn(2) ? kAny : day->Day();
    alarm->Hour = day->Hour();
    alarm->Minute = alarm->HourlyChimeMinute = day->Minute();
    alarm->WeeklyDays.fill(!OneIn(3));
    alarm->AllowMultiple = OneIn(2);
    alarm->IsPreset = OneIn(20);
    alarm->fails = OneIn(20);
    alarm->SetEnabled(!OneIn(10));
    alarm->LastRungDateTime = OneIn(3) ? nullptr : AnyMoment(low, high);
    if (alarm->LastRungDateTime != nullptr && !OneIn(5)) {
      alarm->LastRungDateTime->SetSecond(0);
    }
    alarm->SetNextRingTime(nullptr);
    if (OneIn(5)) {
      alarm->NextRingDateTime = AnyMoment(low, high);
      const double moment = alarm->NextRingDateTime->TotalSeconds();
      alarm->NextRingDateTime->SetTotalSeconds(OneIn(4) ? -1e300 : moment + 0.25);
    }
    return alarm;
  }

  // The pass of a tick that visits every second.
  static void PlainPass() {
    const Date now;
    const Ref<Date> walk = CopyOf(*CheckAlarmsTimer::dRecentCheck);
    if (walk->TotalSeconds() >= now.TotalSeconds() - 1.0) {
      return CheckAlarmsTimer::CheckAlarms(nullptr);
    }
    while (walk->TotalSeconds() != now.TotalSeconds()) {
      walk->SetSecond(walk->Second() + 1);
      CheckAlarmsTimer::CheckAlarms(walk);
    }
  }

  // All that the pass leaves behind: of a tick that finds the clock stepped forward or back, and whose reload
  // may have seen it elsewhere.
  std::vector<std::string> Outcome(unsigned scenario, bool plain) {
    random_.seed(scenario);
    const std::int64_t recent = UnixSeconds("2027-03-31 23:55:00") + Any(0, 600);
    const std::int64_t gap = OneIn(300) ? Any(2, 3 * kSecondsPerDay) : Any(-90, OneIn(20) ? 7200 : 300);
    const std::int64_t now = recent + (OneIn(10) ? 1 : gap);
    const std::int64_t low = std::min(recent, now) - 90;
    const std::int64_t high = std::max(recent, now) + 90;
    SetClock(Any(low, high));
    LocalPreferences::xAlarmArray.clear();
    for (std::int64_t count = Any(0, 7); count > 0; --count) {
      LocalPreferences::xAlarmArray.push_back(AnyAlarm(low, high));
    }
    LocalPreferences::MasteRingHistory = New<Dictionary>();
    SetClock(recent);
    CheckAlarmsTimer::dRecentCheck = New<Date>();
    SetClock(now);
    try {
      plain ? PlainPass() : CheckAlarmsTimer::CheckAlarms(nullptr);
      // What is no walk ends at the present moment, wherever its rings have set the clock.
      EXPECT_TRUE(now > recent + 1 || Text(CheckAlarmsTimer::dRecentCheck) == Text(Date()));
    } catch (const NilObjectException&) {
    }
    std::vector<std::string> outcome = TakeLog();
    rings_ += outcome.size();
    for (const Ref<TLMAlarm>& alarm : LocalPreferences::xAlarmArray) {
      outcome.push_back(alarm->Name + " " + std::to_string(alarm->Enabled()) + " next " +
                        Text(alarm->NextRingDateTime) + " last " + Text(alarm->LastRungDateTime));
    }
    for (std::int32_t id = 0; id < 4; ++id) {
      const Variant* const ring = LocalPreferences::MasteRingHistory->If(Int32ToVariant(id));
      outcome.push_back(ring != nullptr ? Text(Cast<Date>(VariantToObject(*ring))) : "none");
    }
    outcome.push_back("checked up to " + Text(CheckAlarmsTimer::dRecentCheck));
    return outcome;
  }

  std::mt19937_64 random_;
  std::size_t rings_ = 0;
};

TEST_F(WalkTest, AWalkDoesWhatOneOfEverySecondDoes) {
  for (const char* domain : {"", "RingPastAlarms=true"}) {
    Store(ListXml({}, domain));
    CorePreferencesModified::Sync();
    for (unsigned scenario = 0; scenario < 3000; ++scenario) {
      const std::vector<std::string> plain = Outcome(scenario, true);
      ASSERT_EQ(Outcome(scenario, false), plain) << "scenario " << scenario << " " << domain;
    }
    EXPECT_GT(rings_, 3000U);
  }
}

}  // namespace
}  // namespace tollmere::testing
