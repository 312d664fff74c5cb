// Property lists, the reload of the alarm list, the check pass, the walk, and whole ticks.
#include <cstdint>
#include <string>

#include "bench_clock.h"
#include "foundation/property_list/property_list.h"
#include "measured.h"
#include "preferences/local_preferences.h"
#include "sample_domain.h"
#include "schedule/alarm.h"
#include "watch/check_alarms_timer.h"

namespace tollmere {
namespace {

// 1,000 alarms of 28 keys with all their nested items.
void ParseAndRelease(benchmark::State& state, const char* domain) {
  const std::string bytes = DomainBytes(domain);
  for (auto _ : state) {
    benchmark::DoNotOptimize(ParsePropertyList(bytes));
  }
  if (ParsePropertyList(bytes) == nullptr) {
    state.SkipWithError("the list is not read");
  }
  state.counters[kBytes] = static_cast<double>(bytes.size());
}
BENCHMARK_CAPTURE(ParseAndRelease, xml, "1000-all-items-xml")->Name("PropertyList/Xml");
BENCHMARK_CAPTURE(ParseAndRelease, binary, "1000-all-items")->Name("PropertyList/Binary");

// The first reload parses the file and logs every alarm; those that are measured find it unchanged.
void ReloadUnchanged(benchmark::State& state, const std::string& domain_name, int alarms, int watched) {
  const StandingClock clock;
  const SampleDomain domain(domain_name);
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
  ReloadUnchanged(state, std::to_string(alarms), alarms, alarms / 10 * 9);
}
BENCHMARK(ReloadBinary)->Name("Reload")->Arg(10)->Arg(100)->Arg(1000)->Arg(10000);

// From XML, whose stored objects are each alarm's own, and with all nested items.
void ReloadXml(benchmark::State& state) { ReloadUnchanged(state, "1000-all-items-xml", 1000, 900); }
BENCHMARK(ReloadXml)->Name("Reload/Xml1000");

// A second of the day before.
void PassWalkedSecond(benchmark::State& state) {
  const StandingClock clock;
  const SampleDomain domain("112");  // of which 100 or 101 are watched
  LocalPreferences::Reload();
  const Ref<Date> second = New<Date>();
  second->SetDay(second->Day() - 1);
  for (auto _ : state) {
    CheckAlarmsTimer::CheckAlarms(second);
  }
  SetPieces(state, static_cast<std::int64_t>(LocalPreferences::xAlarmArray.size()));
}
BENCHMARK(PassWalkedSecond)->Name("Pass/WalkedSecond");

void TickUnchanged(benchmark::State& state) {
  const StandingClock clock;
  const SampleDomain domain("1000-all-items");
  const Ref<CheckAlarmsTimer> timer = New<CheckAlarmsTimer>();
  timer->Event_Action();
  for (auto _ : state) {
    timer->Event_Action();
  }
}
BENCHMARK(TickUnchanged)->Name("Tick/Unchanged1000");

// The pass of the first tick after so many seconds without one. The list has been reloaded before it.
void Walk(benchmark::State& state, const char* domain_name, std::int64_t seconds) {
  const StandingClock clock;
  const SampleDomain domain(domain_name);
  const auto prepare = [&] {
    LocalPreferences::Reload();
    StandingClock::Put(kBenchMoment - seconds);
    CheckAlarmsTimer::dRecentCheck = New<Date>();
    StandingClock::Put(kBenchMoment);
  };
  prepare();
  CheckAlarmsTimer::CheckAlarms(
      nullptr);  // The one attempt of this minute to start the application is made here.
  for (auto _ : state) {
    state.PauseTiming();
    prepare();
    state.ResumeTiming();
    CheckAlarmsTimer::CheckAlarms(nullptr);
  }
}
constexpr std::int64_t k56Years = 56 * 31'556'952LL;
BENCHMARK_CAPTURE(Walk, night, "100-all-items", 8 * 3600)->Name("Walk/8Hours100")->Iterations(100);
BENCHMARK_CAPTURE(Walk, years, "past", k56Years)->Name("Walk/56Years1000")->Iterations(50);
BENCHMARK_CAPTURE(Walk, years_with_past, "past-to-ring", k56Years)
    ->Name("Walk/56Years1000/RingPastAlarms")
    ->Iterations(50);

// The most work that a stored list can ask for by its number of alarms, and by its exclusions.
void Worst(benchmark::State& state, const char* domain, int alarms) {
  ReloadUnchanged(state, domain, alarms, alarms);
}
BENCHMARK_CAPTURE(Worst, searches, "worst-searches", 90'000)
    ->Name("Worst/Searches")
    ->Iterations(1)
    ->Repetitions(1);
BENCHMARK_CAPTURE(Worst, exclusions, "worst-exclusions", 1)
    ->Name("Worst/Exclusions")
    ->Iterations(1)
    ->Repetitions(1);

}  // namespace
}  // namespace tollmere
