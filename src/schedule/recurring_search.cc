// Weekly alarms, hourly chimes and countdown timers. These searches have no bound: each ends when it has
// found its moment.
#include <cmath>

#include "foundation/text.h"
#include "foundation/yield.h"
#include "schedule/alarm.h"

namespace tollmere {
namespace {

// How many whole steps of `unit` seconds lie between the candidate and a later floor. An hour or a minute of
// 32 bits can put the candidate 250,000 years before the floor; these steps are taken at once. 0 where a
// double cannot count single seconds, or at the end of the calendar: there many steps at once can lead
// elsewhere than one after the other.
std::int32_t StepsToFloor(const Date& candidate, const Date& floor, std::int64_t unit) {
  constexpr double kExact = 4'503'599'627'370'496.0;  // 2^52
  const double from = candidate.TotalSeconds();
  const double to = floor.TotalSeconds();
  if (from < to && from > -kExact && to < kExact) {
    return ToInt32(std::floor((to - from) / static_cast<double>(unit)));
  }
  return 0;
}

}  // namespace

// Year, month and day are assigned as in the search for date alarms, with the same effect on the last days of
// a month: on 31 March, Thursday 1 April becomes 1 May. The search for a month that does not exist goes on
// until the end of the process is requested.
void TLMAlarm::SetNextRingTime_Weekly(std::optional<Date>& dNext, const Date& dStart) const {
  Date dTry;
  dTry.SetTotalSeconds(dStart.TotalSeconds());
  dTry.SetHour(Hour);
  dTry.SetMinute(Minute);
  dTry.SetSecond(0);

  bool any_day = false;
  for (const bool day : WeeklyDays) {
    any_day = any_day || day;
    Yield();
  }
  if (!any_day) {
    dNext.reset();
    return;
  }

  if (const std::int32_t days = StepsToFloor(dTry, dStart, kSecondsPerDay); days > 0) {
    dTry.SetDay(dTry.Day() + days);
  }
  const double start = dStart.TotalSeconds();
  for (;; dTry.SetDay(dTry.Day() + 1), Yield()) {
    if (dTry.TotalSeconds() < start) {
      continue;
    }
    if (!WeeklyDays[static_cast<std::size_t>(dTry.DayOfWeek() - 1)]) {
      continue;
    }
    if (WeeklyDaysMonth != kAny && WeeklyDaysMonth != dTry.Month()) {
      continue;
    }
    if (IsExcluded(dTry)) {
      continue;
    }
    dNext->SetYear(dTry.Year());
    dNext->SetMonth(dTry.Month());
    dNext->SetDay(dTry.Day());
    return;
  }
}

// The day is tested for exclusion before the chime's minute is assigned, and not again. The hour that is
// added after that can carry over midnight into an excluded day, and the chime rings there. This is intended.
void TLMAlarm::SetNextRingTime_HourlyChime(std::optional<Date>& dNext, const Date& dStart) const {
  dNext->SetTotalSeconds(dStart.TotalSeconds());
  while (IsExcluded(*dNext)) {
    dNext->SetDay(dNext->Day() + 1);
    dNext->SetHour(0);
    Yield();
  }
  dNext->SetMinute(HourlyChimeMinute);
  if (const std::int32_t hours = StepsToFloor(*dNext, dStart, 3600); hours > 0) {
    dNext->SetHour(dNext->Hour() + hours);
  }
  while (dNext->TotalSeconds() < dStart.TotalSeconds()) {
    dNext->SetHour(dNext->Hour() + 1);
    Yield();
  }
}

// A countdown starts from the full moment, with its seconds, and ignores the last ring, so the floor becomes
// that moment. The length is computed in 32 bits and wraps.
void TLMAlarm::SetNextRingTime_Timer(std::optional<Date>& dNext, Date& dStart, const Ref<Date>& d) const {
  if (TimerHours == 0 && TimerMinutes == 0 && TimerSeconds == 0) {
    dNext.reset();
    return;
  }
  Date dBase;
  if (d != nullptr) {
    dBase.SetTotalSeconds(d->TotalSeconds());
  }
  dStart.SetTotalSeconds(dBase.TotalSeconds());
  const std::uint32_t wrapped = static_cast<std::uint32_t>(TimerHours) * 3600U +
                                static_cast<std::uint32_t>(TimerMinutes) * 60U +
                                static_cast<std::uint32_t>(TimerSeconds);
  const double length = static_cast<std::int32_t>(wrapped);
  if (length == 0.0) {  // parts that cancel out
    dNext.reset();
    return;
  }
  dNext->SetTotalSeconds(dBase.TotalSeconds() + length);
  while (IsExcluded(*dNext)) {
    dNext->SetTotalSeconds(dNext->TotalSeconds() + length);
    Yield();
  }
}

}  // namespace tollmere
