// Property lists, the reload of the alarm list, the check pass, and whole ticks.
#include <cstdint>
#include <string>

#include "bench_clock.h"
#include "foundation/property_list/property_list.h"
#include "measured.h"
#include "preferences/local_preferences.h"
#include "sample_alarms.h"
#include "sample_domain.h"
#include "schedule/alarm.h"
#include "watch/check_alarms_timer.h"

namespace tollmere {
namespace {

using Write = std::string (*)(const PropertyListValue&);

void ParseAndRelease(benchmark::State& state, Write write) {
  const std::string bytes = write(SampleDomainValue(1000, Items::kAll));
  for (auto _ : state) {
    benchmark::DoNotOptimize(ParsePropertyList(bytes));
  }
  if (ParsePropertyList(bytes) == nullptr) {
    state.SkipWithError("the list is not read");
  }
  state.counters[kBytes] = static_cast<double>(bytes.size());
}
BENCHMARK_CAPTURE(ParseAndRelease, xml, WriteXml)->Name("PropertyList/Xml");
BENCHMARK_CAPTURE(ParseAndRelease, binary, WriteBinary)->Name("PropertyList/Binary");

// The first reload parses the file and logs every alarm; those that are measured find it unchanged.
void ReloadUnchanged(benchmark::State& state, const std::string& bytes, int alarms, int watched) {
  const StandingClock clock;
  const SampleDomain domain(bytes);
  LocalPreferences::Reload();
  for (auto _ : state) {
    LocalPreferences::Reload();
  }
  if (LocalPreferences::xAlarmArray.size() != static_cast<std::size_t>(watched)) {
    state.SkipWithError("the alarms are not all there");
  }
  SetPieces(state, alarms);
}

void ReloadBinary(benchmark::State& state) {
  const int alarms = static_cast<int>(state.range(0));
  ReloadUnchanged(state, WriteBinary(SampleDomainValue(alarms, Items::kWhereNeeded)), alarms,
                  alarms / 10 * 9);
}
BENCHMARK(ReloadBinary)->Name("Reload")->Arg(10)->Arg(100)->Arg(1000)->Arg(10000);

// From XML, whose stored objects are each alarm's own, and with all nested items.
void ReloadXml(benchmark::State& state) {
  ReloadUnchanged(state, WriteXml(SampleDomainValue(1000, Items::kAll)), 1000, 900);
}
BENCHMARK(ReloadXml)->Name("Reload/Xml1000");

void PassWalkedSecond(benchmark::State& state) {
  constexpr int kAlarms = 112;  // of which 100 or 101 are watched
  const StandingClock clock;
  const SampleDomain domain(SampleDomainValue(kAlarms, Items::kWhereNeeded));
  LocalPreferences::Reload();
  const Ref<Date> second = New<Date>();
  second->SetSecond(second->Second() - 1);
  for (auto _ : state) {
    CheckAlarmsTimer::CheckAlarms(second);
  }
  SetPieces(state, static_cast<std::int64_t>(LocalPreferences::xAlarmArray.size()));
}
BENCHMARK(PassWalkedSecond)->Name("Pass/WalkedSecond");

void TickUnchanged(benchmark::State& state) {
  const StandingClock clock;
  const SampleDomain domain(SampleDomainValue(1000, Items::kAll));
  const Ref<CheckAlarmsTimer> timer = New<CheckAlarmsTimer>();
  timer->Event_Action();
  for (auto _ : state) {
    timer->Event_Action();
  }
}
BENCHMARK(TickUnchanged)->Name("Tick/Unchanged1000");

// The first tick after a sleep of so many seconds, over 100 alarms.
void TickAfterSleep(benchmark::State& state, std::int64_t seconds) {
  const StandingClock clock;
  const SampleDomain domain(SampleDomainValue(100, Items::kAll));
  const Ref<CheckAlarmsTimer> timer = New<CheckAlarmsTimer>();
  for (auto _ : state) {
    state.PauseTiming();
    StandingClock::Put(kBenchMoment - seconds);
    timer->Event_Action();  // A clock that is set back makes no walk.
    StandingClock::Put(kBenchMoment);
    state.ResumeTiming();
    timer->Event_Action();
  }
}
BENCHMARK_CAPTURE(TickAfterSleep, night, 8 * 3600)->Name("Tick/After8Hours")->Iterations(1);
BENCHMARK_CAPTURE(TickAfterSleep, fortnight, 14 * 86'400)->Name("Tick/After2Weeks")->Iterations(1);

// The most work that a stored list can ask for by its number of alarms: as many as there may be of a kind
// whose search goes through all its years and finds nothing.
void WorstSearches(benchmark::State& state) {
  constexpr int kAlarms = 90'000;  // almost the million stored objects that a list may have
  PropertyListValue::Array alarms;
  for (int number = 0; number < kAlarms; ++number) {
    alarms.emplace_back(PropertyListValue::Dictionary{
        {"AlarmType", AlarmTypeWeeklyRelative},
        {"WeeklyDaysRelative",
         PropertyListValue::Dictionary{
             {"x0", PropertyListValue::Dictionary{{"WeeklyDayRelativeEnabled", true}}}}}});
  }
  ReloadUnchanged(state, WriteBinary(PropertyListValue::Dictionary{{"Alarms", std::move(alarms)}}), kAlarms,
                  kAlarms);
}
BENCHMARK(WorstSearches)->Name("Worst/Searches")->Iterations(1)->Repetitions(1);

// And by its exclusions: every day that the search tries is excluded, and the whole list is read for each of
// them.
void WorstExclusions(benchmark::State& state) {
  ReloadUnchanged(state,
                  WriteBinary(PropertyListValue::Dictionary{
                      {"Alarms", PropertyListValue::Array{PropertyListValue::Dictionary{
                                     {"DateYear", kAny}, {"DateMonth", kAny}, {"DateDay", kAny}}}},
                      {"Exclusions", ExclusionText(0, 3660)}}),
                  1, 1);
}
BENCHMARK(WorstExclusions)->Name("Worst/Exclusions")->Iterations(1)->Repetitions(1);

}  // namespace
}  // namespace tollmere
