// Date alarms: once, yearly, monthly or daily, by which of year, month and day are "any".
#include <algorithm>
#include <limits>

#include "foundation/yield.h"
#include "schedule/alarm.h"

namespace tollmere {

// Year, month and day are assigned in this order, and each rolls over at once. On the last days of a month
// the result can be a month late: on 31 January, 10 February becomes 10 March. This is intended, and the day
// is not reset first. It lasts only as long as today is such a day: the first reload of the next month gives
// the true date.
void TLMAlarm::SetNextRingTime_Date(std::optional<Date>& dNext, const Date& dStart) const {
  if (DateDay != kAny && DateMonth != kAny && DateYear != kAny) {
    dNext->SetYear(DateYear);
    dNext->SetMonth(DateMonth);
    dNext->SetDay(DateDay);
    if (IsExcluded(*dNext)) {
      dNext.reset();  // A date that comes only once has no other day.
    }
    return;
  }

  // The hour and minute are read from the candidate, where they are within their ranges.
  Date dTry;
  dTry.SetTotalSeconds(dStart.TotalSeconds());
  dTry.SetHour(dNext->Hour());
  dTry.SetMinute(dNext->Minute());
  Date dLimit;
  dLimit.SetTotalSeconds(dStart.TotalSeconds());
  dLimit.SetYear(std::min(dLimit.Year(), std::numeric_limits<std::int32_t>::max() - 10) + 10);

  const double start = dStart.TotalSeconds();
  const double limit = dLimit.TotalSeconds();
  for (;; dTry.SetDay(dTry.Day() + 1), Yield()) {
    if (dTry.TotalSeconds() >= limit) {
      dNext.reset();
      return;
    }
    if (dTry.TotalSeconds() < start) {
      continue;
    }
    if ((DateYear != kAny && DateYear != dTry.Year()) || (DateMonth != kAny && DateMonth != dTry.Month()) ||
        (DateDay != kAny && DateDay != dTry.Day())) {
      continue;
    }
    // Asked last, since it reads the global list anew.
    if (IsExcluded(dTry)) {
      continue;
    }
    dNext->SetYear(dTry.Year());
    dNext->SetMonth(dTry.Month());
    dNext->SetDay(dTry.Day());
    return;
  }
}

}  // namespace tollmere
