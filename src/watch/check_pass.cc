#include <algorithm>
#include <cmath>

#include "preferences/core_preferences.h"
#include "preferences/local_preferences.h"
#include "watch/check_alarms_timer.h"

namespace tollmere {
namespace {

bool RingPastAlarms() { return CorePreferencesModified::GetPrefsBoolValue("RingPastAlarms"); }

// The first second from `second` on at which CheckAlarm can make an alarm ring, but at the latest `target`.
//
// Nothing happens before it. What CheckAlarm does with an unchanged alarm depends only on the moment under
// test, which is the same for a whole minute: the alarm rings in the minute of its next ring, and in every
// later one if past alarms are to ring, but never in the minute of its last ring. Only its own ring changes
// an alarm, and only a reload changes "RingPastAlarms". So this is worked out anew after each second that has
// been checked.
double FirstSecondToCheck(double second, double target) {
  double due = target;
  double past = target;  // rings only under "RingPastAlarms"
  for (const Ref<TLMAlarm>& alarm : LocalPreferences::xAlarmArray) {
    const Ref<Date>& next_ring = alarm->NextRingDateTime;
    const double next = next_ring != nullptr ? next_ring->WholeSeconds() : -HUGE_VAL;
    if (!alarm->IsPreset && alarm->Enabled() && next < target) {
      // The first moment under test that is not before the next ring.
      const double unit = alarm->Type != AlarmTypeTimer ? 60.0 : 1.0;
      double test = std::max(std::floor(second / unit) * unit, std::ceil(next / unit) * unit);
      if (alarm->LastRungDateTime != nullptr && alarm->LastRungDateTime->WholeSeconds() == test) {
        test += unit;
      }
      double& first = test == next ? due : past;
      first = std::min(first, std::max(second, test));
    }
    Yield();
  }
  // The preference is read only if CheckAlarm would read it too.
  return past < due && RingPastAlarms() ? past : due;
}

// Checks the seconds after the last checked one, up to the present moment, each as if it were the present.
// Those at which no alarm can ring are passed over. The number of seconds has no limit.
void WalkTo(const Date& target) {
  const Ref<Date> walk = CopyOf(*CheckAlarmsTimer::dRecentCheck);
  do {
    const double idle_up_to = FirstSecondToCheck(walk->WholeSeconds() + 1.0, target.WholeSeconds()) - 1.0;
    if (idle_up_to > walk->WholeSeconds()) {
      walk->SetTotalSeconds(idle_up_to);
      CheckAlarmsTimer::dRecentCheck = CopyOf(*walk);
    }
    walk->SetSecond(walk->Second() + 1);
    CheckAlarmsTimer::CheckAlarms(walk);
    Yield();
  } while (walk->WholeSeconds() != target.WholeSeconds());
}

// What is compared with the rings of an alarm: the second under test, and the minute that it lies in. Both
// are whole TotalSeconds.
struct UnderTest {
  double second;
  double minute;
};

// `d` is the walked second, or Nil for the present moment.
UnderTest MomentUnderTest(const Ref<Date>& d) {
  Date test;
  if (d != nullptr) {
    test.SetTotalSeconds(d->TotalSeconds());
  }
  const double second = test.WholeSeconds();
  test.SetSecond(0);
  return {second, test.WholeSeconds()};
}

// Makes a watched alarm ring if it is due at the moment under test.
void CheckAlarm(TLMAlarm& alarm, const UnderTest& moment) {
  if (alarm.IsPreset || !alarm.Enabled()) {
    return;
  }
  const double test = alarm.Type != AlarmTypeTimer ? moment.minute : moment.second;
  if (alarm.LastRungDateTime != nullptr && alarm.LastRungDateTime->WholeSeconds() == test) {
    return;  // It has rung in this minute.
  }
  if (alarm.NextRingDateTime == nullptr) {
    // It has no time left. Only in this case does the pass itself disable an alarm.
    if (RingPastAlarms()) {
      alarm.SetEnabled(false);
      alarm.Execute(false, false);
    }
  } else if (alarm.NextRingDateTime->WholeSeconds() < test) {
    if (RingPastAlarms()) {
      alarm.Execute(false, false);
    }
  } else if (alarm.NextRingDateTime->WholeSeconds() == test) {
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
  const UnderTest walked = MomentUnderTest(d);
  for (std::size_t i = 0; i < count; ++i) {
    // The present moment is taken anew for each alarm; a walked second is the same for all.
    CheckAlarm(*alarms[i], d != nullptr ? walked : MomentUnderTest(nullptr));
    Yield();
  }

  // The present moment at the end of the pass, not at its start; or a copy of `d`, which the walk changes.
  dRecentCheck = d == nullptr ? New<Date>() : CopyOf(*d);
}

}  // namespace tollmere
