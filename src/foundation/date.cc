#include "foundation/date.h"

#include <algorithm>
#include <limits>

namespace tollmere {
namespace {

// Below this, a step of any field stays within the range in which a double counts single seconds.
constexpr std::int64_t kWholeLimit = std::int64_t{1} << 52;

// Years that lie within that range, either way.
constexpr std::int64_t kWholeYears = 100'000'000;

// The moments that a 32-bit year can show.
constexpr std::int64_t kFirstSecond =
    DaysFromCivil(std::numeric_limits<std::int32_t>::min(), 1, 1) * kSecondsPerDay;
constexpr std::int64_t kLastSecond =
    DaysFromCivil(std::numeric_limits<std::int32_t>::max(), 12, 31) * kSecondsPerDay + kSecondsPerDay - 1;

}  // namespace

// The state at a whole second that a 32-bit year can show.
Date::State Date::AtWholeSecond(std::int64_t second) noexcept {
  State state{};
  state.day_number = FloorDivide(second, kSecondsPerDay);
  state.time = static_cast<std::int32_t>(second - state.day_number * kSecondsPerDay);
  const CivilDate civil = CivilFromDays(state.day_number);
  state.year = static_cast<std::int32_t>(civil.year);
  state.month = civil.month;
  state.day = civil.day;
  state.plain_days = second > -kWholeLimit && second < kWholeLimit ? kPlainDays : 0;
  state.total_seconds = static_cast<double>(second);
  return state;
}

// The state at a whole second with a fraction of 0 or more and less than 1.
Date::State Date::AtSecond(std::int64_t second, double fraction) noexcept {
  double total_seconds = static_cast<double>(second) + fraction;
  if (std::fabs(total_seconds) >= kExactLimit) {
    return AtTotal(total_seconds);  // The double may stand on another second: it decides.
  }
  State state = AtWholeSecond(second);
  if (fraction != 0.0) {
    if (std::floor(total_seconds) != static_cast<double>(second)) {
      // The fraction was so near to 1 that it was rounded up: stay within the second.
      total_seconds = std::nextafter(total_seconds, -HUGE_VAL);
    }
    state.plain_days = 0;
    state.total_seconds = total_seconds;
  }
  return state;
}

Date::State Date::AtTotal(double total_seconds) noexcept {
  if (std::fabs(total_seconds) < kExactLimit) [[likely]] {
    auto floor = static_cast<std::int64_t>(total_seconds);
    floor -= static_cast<std::int64_t>(static_cast<double>(floor) > total_seconds);
    State state = AtSecond(floor, total_seconds - static_cast<double>(floor));
    state.total_seconds = total_seconds;  // To the last bit, also where the sum above was rounded.
    return state;
  }
  std::int64_t second = 0;  // for NaN
  if (total_seconds >= static_cast<double>(kLastSecond)) {
    second = kLastSecond;
  } else if (total_seconds <= static_cast<double>(kFirstSecond)) {
    second = kFirstSecond;
  } else if (!std::isnan(total_seconds)) {
    second = static_cast<std::int64_t>(total_seconds);  // A whole number: this is 2^53 and above.
  }
  State state = AtWholeSecond(second);
  state.plain_days = 0;  // also for NaN, whose second is 0
  state.total_seconds = total_seconds;
  return state;
}

// A whole state on another day that exists, at the same time of day.
Date::State Date::OnDay(State state, std::int64_t year, std::int32_t month, std::int32_t day) noexcept {
  state.day_number = DaysFromCivil(year, month, day);
  state.year = static_cast<std::int32_t>(year);
  state.month = month;
  state.day = day;
  return state;
}

Date::State Date::WithMonth(State state, std::int64_t year, std::int64_t month) noexcept {
  const std::int64_t carry = month >= 1 && month <= 12 ? 0 : FloorDivide(month - 1, 12);
  year += carry;
  const auto month_of_year = static_cast<std::int32_t>(month - carry * 12);
  if (state.plain_days != 0 && year > -kWholeYears && year < kWholeYears &&
      (state.day <= 28 || state.day <= DaysInMonth(year, month_of_year))) [[likely]] {
    return OnDay(state, year, month_of_year, state.day);
  }
  const std::int64_t days = DaysFromCivil(year, month_of_year, state.day);
  return AtSecond(days * kSecondsPerDay + state.time, Fraction(state));
}

Date::State Date::WithDay(State state, std::int32_t day) noexcept {
  const std::int64_t days = state.day_number + day - state.day;
  return AtSecond(days * kSecondsPerDay + state.time, Fraction(state));
}

}  // namespace tollmere
