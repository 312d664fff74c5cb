#include "foundation/event_loop.h"
#include "preferences/local_preferences.h"
#include "schedule/alarm.h"

namespace tollmere {
namespace {

bool HoldsDay(const std::vector<Ref<Date>>& days, const Date& d) {
  for (const Ref<Date>& day : days) {
    if (day->Year() == d.Year() && day->Month() == d.Month() && day->Day() == d.Day()) {
      return true;
    }
    Yield();
  }
  return false;
}

}  // namespace

bool TLMAlarm::IsExcluded(const Date& d) const {
  // The global list is read, afresh, only when the alarm's own has not answered.
  return HoldsDay(Exclusions, d) || HoldsDay(LocalPreferences::Exclusions_Get(), d);
}

}  // namespace tollmere
