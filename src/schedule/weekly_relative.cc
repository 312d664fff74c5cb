// Weekly-relative alarms: the second and fourth Tuesday, the last Friday, the first Monday of March.
#include "foundation/yield.h"
#include "schedule/alarm.h"

namespace tollmere {
namespace {

// No month has more days. The walks know their end by the month, but in the last month that a year of
// 32 bits can show there is no next one.
constexpr std::int32_t kLongestMonth = 31;

}  // namespace

// The fields of dDay are assigned in this order on purpose, and the month's length is counted and not
// looked up. dDay begins on today's day of the month. Where the month has no such day, it rolls into
// the next one, the count ends after one turn, and counting from the month's end offers day 1 of the
// month and no other. So the last days of a month behave, and so they are to.
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

  // Month before year: the count of a December has ended in January of the next year.
  dDay.SetMonth(iMonth);
  dDay.SetYear(iYear);
  dDay.SetDay(WeeklyDaysRelativeFromMonthEnd ? iDaysInMonth : 1);

  // Every day counts as an occurrence of its weekday, selected or not, excluded or not: an excluded second
  // Tuesday does not make the third one the second.
  const std::int32_t step = WeeklyDaysRelativeFromMonthEnd ? -1 : 1;
  std::array<std::size_t, 7> occurrences{};
  std::int32_t walked = 0;
  do {
    const auto weekday = static_cast<std::size_t>(dDay.DayOfWeek() - 1);
    const std::size_t n = ++occurrences[weekday];
    // There are never more than five, but at the end of the calendar, where the walk stays on one day.
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
  // Not cleared in between: an alarm with weekdays but no occurrences goes through the whole search,
  // and ends without a moment.
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
    // The first in the order of the list, which from the month's end is the latest that has not passed.
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
      break;  // It stands at the end of the calendar.
    }
  } while (dMonth.Year() <= iFirstYear + 25);
  dOut.reset();
}

}  // namespace tollmere
