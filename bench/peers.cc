// What the agent's figures are held against: the same work by the system's own means, and the least that it
// can cost.
#include <chrono>
#include <ctime>

#include "measured.h"
#include "register_walk.h"

namespace tollmere {
namespace {

// Every walk runs over the same ten years again and again.
constexpr int kWalkedDays = 3652;

std::tm FirstDay() {
  std::tm day{};
  day.tm_year = kBenchDay.year - 1900;
  day.tm_mon = kBenchDay.month - 1;
  day.tm_mday = kBenchDay.day;
  day.tm_hour = 10;
  day.tm_isdst = -1;
  return day;
}

void PeerMktime(benchmark::State& state) {
  std::tm day = FirstDay();
  int left = kWalkedDays;
  for (auto _ : state) {
    ++day.tm_mday;
    day.tm_isdst = -1;
    Use(std::mktime(&day));
    if (--left == 0) {
      day = FirstDay();
      left = kWalkedDays;
    }
  }
}
BENCHMARK(PeerMktime)->Name("Peer/Mktime");

void PeerChronoRoundTrip(benchmark::State& state) {
  using namespace std::chrono;
  const year_month_day first = year(kBenchDay.year) / kBenchDay.month / kBenchDay.day;
  year_month_day day = first;
  int left = kWalkedDays;
  for (auto _ : state) {
    const sys_days next = sys_days(day) + days(1);
    day = year_month_day(next);
    Use(static_cast<int>(day.year()), static_cast<unsigned>(day.month()), static_cast<unsigned>(day.day()),
        weekday(next).c_encoding());
    if (--left == 0) {
      day = first;
      left = kWalkedDays;
    }
  }
}
BENCHMARK(PeerChronoRoundTrip)->Name("Peer/ChronoRoundTrip");

void PeerClockLocaltime(benchmark::State& state) {
  std::tm fields{};
  for (auto _ : state) {
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    localtime_r(&now.tv_sec, &fields);
    benchmark::DoNotOptimize(fields);
  }
}
BENCHMARK(PeerClockLocaltime)->Name("Peer/ClockLocaltime");

void LimitStepFields(benchmark::State& state) {
  RegisterDate date = kBenchDay;
  int left = kWalkedDays;
  for (auto _ : state) {
    StepForward(date);
    Use(date.year, date.month, date.day, date.weekday);
    if (--left == 0) {
      date = kBenchDay;
      left = kWalkedDays;
    }
  }
}
BENCHMARK(LimitStepFields)->Name("Limit/StepFields");

constexpr int kAnyField = -1;

struct WantedDate {
  int year, month, day;  // or kAnyField
};

// A date alarm's walk in registers: steps as in Limit/StepFields, for ten years or up to a day that has what
// is wanted, each day with its tests against the end and the beginning and for the three fields.
int DaysUntil(WantedDate wanted, RegisterDate date, std::int64_t begin) {
  constexpr std::int64_t kSecondsPerDay = 86'400;
  const std::int64_t end = begin + kWalkedDays * kSecondsPerDay;
  std::int64_t second = begin;
  for (int days = 0;; ++days, StepForward(date), second += kSecondsPerDay) {
    Use(date.year, date.month, date.day, date.weekday);
    if (second >= end) {
      return days;
    }
    if (second < begin || (wanted.year != kAnyField && wanted.year != date.year) ||
        (wanted.month != kAnyField && wanted.month != date.month) ||
        (wanted.day != kAnyField && wanted.day != date.day)) {
      continue;
    }
    return days;
  }
}

void LimitWalkUntil(benchmark::State& state, RegisterDate first, int month, int day) {
  int days = 0;
  for (auto _ : state) {
    days = DaysUntil({Opaque(kAnyField), Opaque(month), Opaque(day)}, first, Opaque(std::int64_t{0}));
    Use(days);
  }
  SetPieces(state, days);
}
BENCHMARK_CAPTURE(LimitWalkUntil, never, kBenchDay, 4, 31)->Name("Limit/Walk10Years");
BENCHMARK_CAPTURE(LimitWalkUntil, leap_day, kDayBehindLeapDay, 2, 29)->Name("Limit/WalkToLeapDay");

// One month as a weekly-relative alarm goes through it: its length counted by stepping, then each day with
// its weekday and the occurrence of that weekday. Returns how many days are selected.
int CountSelected(RegisterDate date, const bool (&weekdays)[7], const bool (&occurrences)[5], int& length) {
  const RegisterDate first = date;
  for (length = 0; date.month == first.month; ++length) {
    StepForward(date);
  }
  int selected = 0;
  int counts[7] = {};
  for (date = first; date.month == first.month; StepForward(date)) {
    const int n = counts[date.weekday]++;
    selected += static_cast<int>(weekdays[date.weekday] && occurrences[n]);
  }
  return selected;
}

void LimitWalk26Years(benchmark::State& state) {
  const bool weekdays[7] = {true, true, true, true, true, true, true};
  bool occurrences[5] = {};
  benchmark::DoNotOptimize(occurrences);
  int days = 0;
  for (auto _ : state) {
    RegisterDate month = {kBenchDay.year, kBenchDay.month, 1, 1};
    int selected = 0;
    days = 0;
    while (month.year <= kBenchDay.year + 25) {
      int length = 0;
      selected += CountSelected(month, weekdays, occurrences, length);
      days += length;
      month.weekday = (month.weekday + length) % 7;
      month.year += month.month / 12;
      month.month = month.month % 12 + 1;
    }
    Use(selected, days);
  }
  SetPieces(state, days);
}
BENCHMARK(LimitWalk26Years)->Name("Limit/Walk26Years");

}  // namespace
}  // namespace tollmere
