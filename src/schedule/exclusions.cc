#include "foundation/yield.h"
#include "preferences/local_preferences.h"
#include "schedule/alarm.h"

namespace tollmere {
namespace {

bool HoldsDay(const Dates& days, std::int32_t year, std::int32_t month, std::int32_t day) {
  for (const Ref<Date>& excluded : days) {
    if (excluded->Year() == year && excluded->Month() == month && excluded->Day() == day) {
      return true;
    }
    Yield();
  }
  return false;
}

}  // namespace

bool TLMAlarm::IsDayExcluded(std::int32_t year, std::int32_t month, std::int32_t day) const {
  // The global list is read, afresh, only when the alarm's own has not answered.
  return HoldsDay(Exclusions, year, month, day) ||
         HoldsDay(LocalPreferences::Exclusions_Get(), year, month, day);
}

}  // namespace tollmere
