// Days counted since 1 January 1904 and the dates of the proleptic Gregorian calendar, both ways.
#pragma once

#include <cstdint>

namespace tollmere {

inline constexpr std::int64_t kSecondsPerDay = 86'400;

// 1 January 1970 on the scale of days since 1 January 1904, and the same moment in seconds.
inline constexpr std::int64_t kDaysTo1970 = 24'107;
inline constexpr std::int64_t kSecondsTo1970 = kDaysTo1970 * kSecondsPerDay;

struct CivilDate {
  std::int64_t year;
  int month;  // 1 to 12
  int day;    // 1 to the length of the month

  bool operator==(const CivilDate&) const = default;
};

constexpr bool IsLeapYear(std::int64_t year) noexcept {
  // Of the years that 25 divides, those that 16 divides are leap years; of all others, those that 4 divides.
  return (year & (year % 25 == 0 ? 15 : 3)) == 0;
}

// The length of month 1 to 12.
constexpr int DaysInMonth(std::int64_t year, int month) noexcept {
  if (month == 2) {
    return IsLeapYear(year) ? 29 : 28;
  }
  return 30 + ((month ^ (month >> 3)) & 1);  // Long and short months alternate, but July and August are long.
}

// How many days of the year lie before month 1 to 12.
constexpr int DaysBeforeMonth(std::int64_t year, int month) noexcept {
  const int after_february = IsLeapYear(year) ? -1 : -2;
  return (367 * month - 362) / 12 + (month > 2 ? after_february : 0);
}

constexpr std::int64_t FloorDivide(std::int64_t dividend, std::int64_t divisor) noexcept {
  const std::int64_t quotient = dividend / divisor;
  return quotient - static_cast<std::int64_t>(dividend % divisor < 0);
}

// Both conversions count years from 1 March, so that the leap day is the last of its year, in eras
// of 400 years, after which the calendar repeats. 1 March of year 0 lies 695,361 days before 1904.
inline constexpr std::int64_t kDaysPerEra = 146'097;
inline constexpr std::int64_t kDaysFromYear0March1 = 695'361;

// `month` is 1 to 12; `day` may be any number and counts on from the first of that month. Good for
// every year and day of 32 bits and far beyond.
constexpr std::int64_t DaysFromCivil(std::int64_t year, int month, std::int64_t day) noexcept {
  const std::int64_t march_year = year - static_cast<std::int64_t>(month <= 2);
  const std::int64_t era = FloorDivide(march_year, 400);
  const std::int64_t year_of_era = march_year - era * 400;            // 0 to 399
  const int month_from_march = month > 2 ? month - 3 : month + 9;     // 0 to 11
  const std::int64_t day_of_year = (153 * month_from_march + 2) / 5;  // of the month's first day
  const std::int64_t day_of_era = year_of_era * 365 + year_of_era / 4 - year_of_era / 100 + day_of_year;
  return era * kDaysPerEra + day_of_era + (day - 1) - kDaysFromYear0March1;
}

// For the days of every 32-bit year. Each division by a constant is a multiplication by its reciprocal and a
// shift; the low bits then hold the fraction of a year, and of a month.
constexpr CivilDate CivilFromDays(std::int64_t days) noexcept {
  constexpr std::int64_t kEras = 5'500'000;  // makes every such day positive
  const auto shifted = static_cast<std::uint64_t>(days + kDaysFromYear0March1 + kEras * kDaysPerEra) * 4 + 3;
  const std::uint64_t century = shifted / kDaysPerEra;
  const std::uint64_t quarter_day_of_century = (shifted % kDaysPerEra) | 3U;
  constexpr std::uint64_t kReciprocalOfYear = 2'939'745;  // 2^32 / 1461, rounded up
  const std::uint64_t years = kReciprocalOfYear * quarter_day_of_century;
  const auto day_of_year = static_cast<std::uint32_t>((years & 0xFFFF'FFFFU) / kReciprocalOfYear / 4);
  const std::uint32_t months = 2141 * day_of_year + 197'913;  // 2^16 / 2141 is a month's mean length
  const bool next_year = day_of_year >= 306;                  // January and February
  const auto year = static_cast<std::int64_t>(century * 100 + (years >> 32U)) - kEras * 400;
  return {year + static_cast<std::int64_t>(next_year), static_cast<int>(months >> 16U) - (next_year ? 12 : 0),
          static_cast<int>((months & 0xFFFFU) / 2141) + 1};
}

// 1 to 7, 1 being Sunday. 1 January 1904 was a Friday. For the days of every 32-bit year.
constexpr int WeekdayFromDays(std::int64_t days) noexcept {
  constexpr std::int64_t kWholeWeeks = std::int64_t{7} << 38;  // makes every such day positive
  return static_cast<int>(static_cast<std::uint64_t>(days + 5 + kWholeWeeks) % 7) + 1;
}

static_assert(DaysBeforeMonth(2027, 12) == 334 && DaysBeforeMonth(2028, 3) == 60);
static_assert(DaysFromCivil(1904, 1, 1) == 0 && DaysFromCivil(1970, 1, 1) == kDaysTo1970);

}  // namespace tollmere
