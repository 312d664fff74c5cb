// Weekly-relative alarms: the second and fourth Tuesday, the last Friday, the first Monday of March.
#include "foundation/yield.h"
#include "schedule/alarm.h"

namespace tollmere {
namespace {

// No month has more days. The walks end when the month changes, which it never does in the last month that a
// 32-bit year can show.
constexpr std::int32_t kLongestMonth = 31;

}  // namespace

// The fields of dDay are assigned in this order on purpose, and the month's length is counted and not looked
// up. dDay starts on today's day of the month. If iMonth has no such day, dDay rolls into the next month, the
// count ends after one turn, and counting from the month's end finds at most day 1. This is intended.
Dates TLMAlarm::SetNextRingTime_WeeklyRelativeOccursThisMonth(std::int32_t iMonth, std::int32_t iYear) const {
  Dates aCandidates;
  if (WeeklyDaysRelativeMonth != kAny && iMonth != WeeklyDaysRelativeMonth) {
    return aCandidates;
  }

  Date dDay;
  dDay.SetYear(iYear);
  dDay.SetMonth(iMonth);
  dDay.SetHour(Hour);
  dDay.SetMinute(Minute);
  dDay.SetSecond(0);
  dDay.SetDay(1);

  std::int32_t iDaysInMonth = 0;
  do {
    ++iDaysInMonth;
    dDay.SetDay(dDay.Day() + 1);
    Yield();
  } while (dDay.Month() == iMonth && iDaysInMonth < kLongestMonth);

  // Month before year: the count of a December ends in January of the next year.
  dDay.SetMonth(iMonth);
  dDay.SetYear(iYear);
  dDay.SetDay(WeeklyDaysRelativeFromMonthEnd ? iDaysInMonth : 1);

  // Every day counts as an occurrence of its weekday, selected or not, excluded or not. If the second Tuesday
  // is excluded, the third one is still the third.
  const std::int32_t step = WeeklyDaysRelativeFromMonthEnd ? -1 : 1;
  std::array<std::size_t, 7> occurrences{};
  std::int32_t walked = 0;
  do {
    const auto weekday = static_cast<std::size_t>(dDay.DayOfWeek() - 1);
    const std::size_t n = ++occurrences[weekday];
    // Never more than five, except at the end of the calendar, where the walk stays on one day.
    const bool selected = n <= WeeklyDaysRelativeOccurrences.size() && WeeklyDaysRelativeOccurrences[n - 1];
    // IsExcluded goes to the preference store, so it is asked only about a selected day.
    if (WeeklyDaysRelative[weekday] && selected && !IsExcluded(dDay)) {
      aCandidates.push_back(CopyOf(dDay));
    }
    dDay.SetDay(dDay.Day() + step);
    Yield();
  } while (dDay.Month() == iMonth && ++walked < kLongestMonth);
  return aCandidates;
}

void TLMAlarm::SetNextRingTime_WeeklyRelative(std::optional<Date>& dOut, const Ref<Date>& dFrom) const {
  bool bAnySelected = false;
  for (const bool selected : WeeklyDaysRelative) {
    bAnySelected = bAnySelected || selected;
    Yield();
  }
  if (!bAnySelected) {
    dOut.reset();
    return;
  }
  // bAnySelected is not cleared in between: an alarm with weekdays but no occurrences goes through the whole
  // search and finds nothing.
  for (const bool selected : WeeklyDaysRelativeOccurrences) {
    bAnySelected = bAnySelected || selected;
    Yield();
  }
  if (!bAnySelected) {
    dOut.reset();
    return;
  }

  Date dStart;
  if (dFrom != nullptr) {
    dStart.SetTotalSeconds(dFrom->TotalSeconds());
  }
  dStart.SetSecond(0);
  Date dMonth;
  dMonth.SetYear(dStart.Year());
  dMonth.SetMonth(dStart.Month());
  dMonth.SetDay(1);
  if (LastRungDateTime != nullptr && LastRungDateTime->TotalSeconds() == dStart.TotalSeconds()) {
    dStart.SetMinute(dStart.Minute() + 1);
  }
  const std::int64_t iFirstYear = dStart.Year();

  do {
    // The first in the order of the list. Counted from the month's end, that is the latest that has not
    // passed.
    for (const Ref<Date>& candidate :
         SetNextRingTime_WeeklyRelativeOccursThisMonth(dMonth.Month(), dMonth.Year())) {
      if (candidate->TotalSeconds() >= dStart.TotalSeconds()) {
        dOut.emplace();
        dOut->SetTotalSeconds(candidate->TotalSeconds());
        return;
      }
      Yield();
    }
    const double month = dMonth.TotalSeconds();
    dMonth.SetMonth(dMonth.Month() + 1);
    Yield();
    if (dMonth.TotalSeconds() == month) {
      break;  // the end of the calendar
    }
  } while (dMonth.Year() <= iFirstYear + 25);
  dOut.reset();
}

}  // namespace tollmere
