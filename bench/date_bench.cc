#include "bench_clock.h"
#include "foundation/date.h"
#include "measured.h"

namespace tollmere {
namespace {

void DateStepDay(benchmark::State& state) {
  constexpr int kWalkedDays = 3652;
  const StandingClock clock;
  Date date;
  int left = kWalkedDays;
  for (auto _ : state) {
    date.SetDay(date.Day() + 1);
    Use(date.Year(), date.Month(), date.Day(), date.DayOfWeek(), date.TotalSeconds());
    if (--left == 0) {
      date.SetDay(date.Day() - kWalkedDays);
      left = kWalkedDays;
    }
  }
}
BENCHMARK(DateStepDay)->Name("Date/StepDay");

// On the machine's own clock.
void DatePresent(benchmark::State& state) {
  for (auto _ : state) {
    Date date;
    benchmark::DoNotOptimize(date);
  }
}
BENCHMARK(DatePresent)->Name("Date/Present");

}  // namespace
}  // namespace tollmere
