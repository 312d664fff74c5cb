// A mutable calendar moment whose fields roll over at once.
#pragma once

#include <cmath>
#include <cstdint>
#include <string>
#include <vector>

#include "foundation/calendar_math.h"
#include "foundation/object.h"

namespace tollmere {

// A Date is a moment of local wall-clock time, in a calendar in which every day has 24 hours. The time
// zone matters only when a new Date takes the present moment. A moment has two views, which agree after
// every operation:
//
//   TotalSeconds   seconds since 1 January 1904, 00:00:00; any double, NaN and infinities included
//   the fields     Year, Month 1 to 12, Day 1 to 31, Hour 0 to 23, Minute and Second 0 to 59
//
// Every field takes every 32-bit value. A value beyond the field's range carries into the next larger
// unit or borrows from it, and the next read shows the result:
//
//   31 January 2027, Month := 2   ->  31 February, which is 3 March 2027
//   1 March 2028, Day := 0        ->  29 February 2028
//   23:59:59, Second := 60        ->  00:00:00 of the next day
//
// So the order of assignments matters: Year, Month, Day on a date that stands on the 31st can end in
// another month.
//
// The fields are exact as long as a double can count single seconds, which is 285 million years either
// way. Beyond that they follow the nearest double. A year beyond 32 bits shows as the last moment of the
// range, NaN as 1 January 1904. A TotalSeconds that was written is read back as the same double. Its
// fraction of a second survives writes to all fields but Second.
//
// Moments are compared by TotalSeconds. There is no copy constructor: CopyOf makes a new Date and sets its
// TotalSeconds. Only CopyOf and the texts allocate.
class Date final : public Object {
 public:
  // The present moment by the machine's clock and time zone, in whole seconds.
  Date() noexcept : state_(Present()) {}

  double TotalSeconds() const noexcept {
    return IsWhole() ? static_cast<double>(state_.day_number * kSecondsPerDay + state_.time)
                     : state_.total_seconds;
  }
  // TotalSeconds rounded down to a whole number.
  double WholeSeconds() const noexcept {
    return IsWhole() ? TotalSeconds() : std::floor(state_.total_seconds);
  }
  std::int32_t Year() const noexcept { return state_.year; }
  std::int32_t Month() const noexcept { return state_.month; }
  std::int32_t Day() const noexcept { return state_.day; }
  std::int32_t Hour() const noexcept { return state_.time / 3600; }
  std::int32_t Minute() const noexcept { return state_.time / 60 % 60; }
  std::int32_t Second() const noexcept { return state_.time % 60; }
  // 1 to 7; 1 is Sunday.
  std::int32_t DayOfWeek() const noexcept { return WeekdayFromDays(state_.day_number); }

  void SetTotalSeconds(double value) noexcept { state_ = AtTotal(value); }
  void SetYear(std::int32_t value) noexcept {
    if (value != state_.year || !IsWhole()) {
      state_ = WithMonth(state_, value, state_.month);
    }
  }
  void SetMonth(std::int32_t value) noexcept {
    if (IsWhole() && value >= 1 && value <= 12 && state_.day <= 28) [[likely]] {
      state_.day_number += DaysBeforeMonth(state_.year, value) - DaysBeforeMonth(state_.year, state_.month);
      state_.month = value;
    } else {
      state_ = WithMonth(state_, state_.year, value);
    }
  }
  void SetDay(std::int32_t value) noexcept {
    if (value >= 1 && value <= state_.plain_days) [[likely]] {
      state_.day_number += value - state_.day;
      state_.day = value;
      return;
    }
    const std::int32_t length = DaysInMonth(state_.year, state_.month);
    if (IsWhole() && value >= 1 && value <= length) {
      state_.day_number += value - state_.day;
      state_.day = value;
    } else if (IsWhole() && value == length + 1 && state_.month < 12) {
      // The step over the end of a month, which every search takes.
      state_.day_number += value - state_.day;
      state_.day = 1;
      ++state_.month;
    } else {
      state_ = WithDay(state_, value);
    }
  }
  void SetHour(std::int32_t value) noexcept {
    SetTime(state_.time + (std::int64_t{value} - Hour()) * 3600, Fraction(state_));
  }
  void SetMinute(std::int32_t value) noexcept {
    SetTime(state_.time + (std::int64_t{value} - Minute()) * 60, Fraction(state_));
  }
  // No fraction survives it: two moments of one minute, both put to second 0, are equal.
  void SetSecond(std::int32_t value) noexcept { SetTime(state_.time + std::int64_t{value} - Second(), 0.0); }

  // "Sunday, January 31, 2027", with the names of the user's language and in the order of its own short date:
  // "Sonntag, 31 Januar 2027".
  std::string LongDate() const;
  // The time of day in the user's own form, "10:00:00" in the C locale. It names no zone.
  std::string LongTime() const;

 private:
  // A moment is whole when it is a whole second well within the exact range. Its TotalSeconds then follow
  // from the day and the time of day, and steps are added to these. Every other moment stores them. The day
  // stands apart from the other fields, since a step changes it alone: side by side, a compiler packs them
  // into one vector register and takes them apart again at each step.
  struct State {
    std::int64_t day_number;  // days since 1 January 1904
    std::int32_t day;
    double total_seconds;  // where the moment is not whole
    std::int32_t year;
    std::int32_t month;
    std::int32_t time;        // of day, in seconds
    std::int32_t plain_days;  // the days that every month has, up to 28; 0 where the moment is not whole
  };
  static constexpr std::int32_t kPlainDays = 28;

  bool IsWhole() const noexcept { return state_.plain_days != 0; }

  // Puts the time of day, in seconds, which may lie on another day, and the fraction of a second.
  void SetTime(std::int64_t time, double fraction) noexcept {
    if (IsWhole() && time >= 0 && time < kSecondsPerDay) [[likely]] {
      state_.time = static_cast<std::int32_t>(time);
    } else {
      state_ = AtSecond(state_.day_number * kSecondsPerDay + time, fraction);
    }
  }

  static constexpr double kExactLimit = 9'007'199'254'740'992.0;  // 2^53

  // The rare cases of an assignment. They take and return values, so that a Date in a tight loop can be
  // kept in registers.
  static const State& Present() noexcept;
  static State AtTotal(double total_seconds) noexcept;
  static State AtWholeSecond(std::int64_t second) noexcept;
  static State AtSecond(std::int64_t second, double fraction) noexcept;
  static State OnDay(State state, std::int64_t year, std::int32_t month, std::int32_t day) noexcept;
  static State WithMonth(State state, std::int64_t year, std::int64_t month) noexcept;
  static State WithDay(State state, std::int32_t day) noexcept;
  // 0 where the moment is a whole second, and for what no double counts in fractions.
  static double Fraction(const State& state) noexcept {
    const double total = state.total_seconds;
    return state.plain_days == 0 && std::fabs(total) < kExactLimit ? total - std::floor(total) : 0.0;
  }

  State state_;
};

inline CivilDate DayOf(const Date& date) {
  return {.year = date.Year(), .month = date.Month(), .day = date.Day()};
}

using Dates = std::vector<Ref<Date>>;

// A new Date on the same moment.
inline Ref<Date> CopyOf(const Date& date) {
  Ref<Date> copy = New<Date>();
  copy->SetTotalSeconds(date.TotalSeconds());
  return copy;
}

}  // namespace tollmere
