// SetNextRingTime(Nil) whole, one alarm of each kind.
#include <cstdint>
#include <limits>

#include "bench_clock.h"
#include "measured.h"
#include "preferences/local_preferences.h"
#include "sample_domain.h"
#include "schedule/alarm.h"

namespace tollmere {
namespace {

using Prepare = void (*)(TLMAlarm&);

Ref<TLMAlarm> AlarmAt(std::int32_t type, std::int32_t hour, std::int32_t minute) {
  const Ref<TLMAlarm> alarm = TLMAlarm::Make();
  alarm->Type = type;
  alarm->Hour = hour;
  alarm->Minute = minute;
  alarm->DateYear = alarm->DateMonth = alarm->DateDay = kAny;
  return alarm;
}

// `pieces` is how many days the search walks where figures are given for one day, else 1.
void NextRing(benchmark::State& state, std::int32_t type, Prepare prepare, std::int64_t pieces,
              std::int64_t moment = kBenchMoment) {
  const StandingClock clock(moment);
  const SampleDomain domain("empty");
  const Ref<TLMAlarm> alarm = AlarmAt(type, 7, 30);
  prepare(*alarm);
  for (auto _ : state) {
    alarm->SetNextRingTime(nullptr);
    benchmark::DoNotOptimize(alarm->NextRingDateTime.Get());
  }
  SetPieces(state, pieces);
}

BENCHMARK_CAPTURE(
    NextRing, daily, AlarmTypeDate, [](TLMAlarm&) {}, 1)
    ->Name("NextRing/Daily");
BENCHMARK_CAPTURE(
    NextRing, weekly, AlarmTypeWeekly, [](TLMAlarm& alarm) { alarm.WeeklyDays[1] = true; }, 1)
    ->Name("NextRing/Weekly");
BENCHMARK_CAPTURE(
    NextRing, never_date, AlarmTypeDate,
    [](TLMAlarm& alarm) {
      alarm.DateMonth = 4;
      alarm.DateDay = 31;
    },
    3652)
    ->Name("NextRing/NeverDate");
BENCHMARK_CAPTURE(
    NextRing, leap_day, AlarmTypeDate,
    [](TLMAlarm& alarm) {
      alarm.DateMonth = 2;
      alarm.DateDay = 29;
    },
    1460, kBehindLeapDay)
    ->Name("NextRing/LeapDay");
BENCHMARK_CAPTURE(
    NextRing, last_friday, AlarmTypeWeeklyRelative,
    [](TLMAlarm& alarm) {
      alarm.WeeklyDaysRelativeFromMonthEnd = true;
      alarm.WeeklyDaysRelativeOccurrences[0] = true;
      alarm.WeeklyDaysRelative[5] = true;
    },
    1)
    ->Name("NextRing/LastFriday");
BENCHMARK_CAPTURE(
    NextRing, tuesdays, AlarmTypeWeeklyRelative,
    [](TLMAlarm& alarm) {
      alarm.WeeklyDaysRelativeOccurrences[1] = alarm.WeeklyDaysRelativeOccurrences[3] = true;
      alarm.WeeklyDaysRelative[2] = true;
    },
    1)
    ->Name("NextRing/SecondAndFourthTuesday");
BENCHMARK_CAPTURE(
    NextRing, never_relative, AlarmTypeWeeklyRelative,
    [](TLMAlarm& alarm) { alarm.WeeklyDaysRelative.fill(true); }, 9344)
    ->Name("NextRing/NeverRelative");

// Searches that begin a quarter of a million years before the present.
constexpr std::int32_t kFarPast = std::numeric_limits<std::int32_t>::min();
BENCHMARK_CAPTURE(
    NextRing, far_past, AlarmTypeWeekly,
    [](TLMAlarm& alarm) {
      alarm.WeeklyDays[1] = true;
      alarm.Hour = kFarPast;
    },
    1)
    ->Name("NextRing/FarPast");
BENCHMARK_CAPTURE(
    NextRing, far_past_chime, AlarmTypeHourlyChime,
    [](TLMAlarm& alarm) { alarm.HourlyChimeMinute = kFarPast; }, 1)
    ->Name("NextRing/FarPast/Chime");

constexpr int kExclusions = 100;

// A daily alarm whose next hundred days are excluded by its own list, and the hundred behind them by
// the global one.
void NextRingExcluded(benchmark::State& state) {
  const StandingClock clock;
  const SampleDomain domain("exclusions");
  const Ref<TLMAlarm> alarm = AlarmAt(AlarmTypeDate, 10, 45);
  for (int day = 0; day < kExclusions; ++day) {
    Date excluded;
    excluded.SetDay(excluded.Day() + day);
    alarm->Exclusions.push_back(DayOf(excluded));
  }
  for (auto _ : state) {
    alarm->SetNextRingTime(nullptr);
    benchmark::DoNotOptimize(alarm->NextRingDateTime.Get());
  }
}
BENCHMARK(NextRingExcluded)->Name("NextRing/Excluded");

// The part of it that is done for each of the last 101 days.
void ExclusionsGet(benchmark::State& state) {
  const StandingClock clock;
  const SampleDomain domain("exclusions");
  for (auto _ : state) {
    benchmark::DoNotOptimize(LocalPreferences::Exclusions_Get());
  }
}
BENCHMARK(ExclusionsGet)->Name("NextRing/Excluded/GlobalListOnce");

}  // namespace
}  // namespace tollmere
