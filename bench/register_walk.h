// The least that a walk over the days of the calendar can cost: the fields in registers and nothing else.
#pragma once

namespace tollmere {

struct RegisterDate {
  int year;
  int month;    // 1 to 12
  int day;      // 1 to 31
  int weekday;  // 0 to 6, 0 being Sunday
};

// The days of kBenchMoment and of kBehindLeapDay.
inline constexpr RegisterDate kBenchDay = {2026, 6, 10, 3};
inline constexpr RegisterDate kDayBehindLeapDay = {2028, 3, 1, 3};

inline int LengthOfMonth(int year, int month) {
  if (month == 2) {
    return year % 4 == 0 && (year % 100 != 0 || year % 400 == 0) ? 29 : 28;
  }
  return 30 + ((month + (month >> 3)) & 1);
}

inline void StepForward(RegisterDate& date) {
  date.weekday = date.weekday == 6 ? 0 : date.weekday + 1;
  ++date.day;
  if (date.day > 28 && date.day > LengthOfMonth(date.year, date.month)) {
    date.day = 1;
    if (++date.month > 12) {
      date.month = 1;
      ++date.year;
    }
  }
}

}  // namespace tollmere
