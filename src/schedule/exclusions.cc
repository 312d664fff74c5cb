#include "foundation/yield.h"
#include "preferences/local_preferences.h"
#include "schedule/alarm.h"

namespace tollmere {
namespace {

bool HoldsDay(const std::vector<CivilDate>& days, CivilDate day) {
  for (const CivilDate& excluded : days) {
    if (excluded == day) {
      return true;
    }
    Yield();
  }
  return false;
}

}  // namespace

bool TLMAlarm::IsDayExcluded(CivilDate day) const {
  // The global list is read anew, but only if the alarm's own does not hold the day.
  return HoldsDay(Exclusions, day) || HoldsDay(LocalPreferences::Exclusions_Get(), day);
}

}  // namespace tollmere
