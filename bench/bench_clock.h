// The clock of the benchmarks: the machine's own, or one that stands still where it has been put.
#pragma once

#include <cstdint>

namespace tollmere {

// Every search begins here, so that it covers the same days whenever the benchmarks are run: Wednesday,
// 10 June 2026, 10:42:00 in Berlin, in seconds since 1970.
inline constexpr std::int64_t kBenchMoment = 1'781'080'920;

// The day behind a leap day, from which it is 1,460 days to the next: Wednesday, 1 March 2028, 10:42:00.
inline constexpr std::int64_t kBehindLeapDay = 1'835'516'520;

// Puts the clock to a moment for as long as it lives; the machine's own clock runs again after it.
class StandingClock {
 public:
  explicit StandingClock(std::int64_t moment = kBenchMoment) noexcept { Put(moment); }
  ~StandingClock();
  StandingClock(const StandingClock&) = delete;
  StandingClock& operator=(const StandingClock&) = delete;

  static void Put(std::int64_t moment) noexcept;
};

}  // namespace tollmere
