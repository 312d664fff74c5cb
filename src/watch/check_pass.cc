#include "preferences/core_preferences.h"
#include "preferences/local_preferences.h"
#include "watch/check_alarms_timer.h"

namespace tollmere {
namespace {

bool RingPastAlarms() { return CorePreferencesModified::GetPrefsBoolValue("RingPastAlarms"); }

// The second after the last checked one, and so on up to the present moment, each checked as if it were the
// present. There is no limit to how many.
void WalkTo(const Date& target) {
  const Ref<Date> walk = CopyOf(*CheckAlarmsTimer::dRecentCheck);
  do {
    walk->SetSecond(walk->Second() + 1);
    CheckAlarmsTimer::CheckAlarms(walk);
    Yield();
  } while (walk->WholeSeconds() != target.WholeSeconds());
}

// Has one watched alarm ring if the moment under test is its own. `d` is the walked second, or Nil.
void CheckAlarm(TLMAlarm& alarm, const Ref<Date>& d) {
  if (alarm.IsPreset || !alarm.Enabled()) {
    return;
  }
  Date test;  // The present moment is taken anew for each alarm.
  if (d != nullptr) {
    test.SetTotalSeconds(d->TotalSeconds());
  }
  if (alarm.Type != AlarmTypeTimer) {
    test.SetSecond(0);
  }
  if (alarm.LastRungDateTime != nullptr && alarm.LastRungDateTime->WholeSeconds() == test.WholeSeconds()) {
    return;  // It has rung in this minute.
  }
  if (alarm.NextRingDateTime == nullptr) {
    // No time is left for it. Only here is an alarm disabled by the pass itself.
    if (RingPastAlarms()) {
      alarm.SetEnabled(false);
      alarm.Execute(false, false);
    }
  } else if (alarm.NextRingDateTime->WholeSeconds() < test.WholeSeconds()) {
    if (RingPastAlarms()) {
      alarm.Execute(false, false);
    }
  } else if (alarm.NextRingDateTime->WholeSeconds() == test.WholeSeconds()) {
    alarm.Execute(false, false);
  }
}

}  // namespace

void CheckAlarmsTimer::CheckAlarms(const Ref<Date>& d) {
  if (dRecentCheck != nullptr && d == nullptr) {
    const Date target;
    Date one_second_ago;
    one_second_ago.SetTotalSeconds(one_second_ago.TotalSeconds() - 1.0);
    if (dRecentCheck->WholeSeconds() < one_second_ago.WholeSeconds()) {
      WalkTo(target);  // The last walked second has left dRecentCheck where it belongs.
      return;
    }
  }

  const std::vector<Ref<TLMAlarm>>& alarms = LocalPreferences::xAlarmArray;
  const std::size_t count = alarms.size();
  for (std::size_t i = 0; i < count; ++i) {
    CheckAlarm(*alarms[i], d);
    Yield();
  }

  // The present moment at the end of the pass, not at its start; or a copy of `d`, which goes on changing.
  dRecentCheck = d == nullptr ? New<Date>() : CopyOf(*d);
}

}  // namespace tollmere
