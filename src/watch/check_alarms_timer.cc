#include "watch/check_alarms_timer.h"

#include "preferences/local_preferences.h"

namespace tollmere {

void CheckAlarmsTimer::CallAction() {
  Event_Action();
  Timer::CallAction();
}

void CheckAlarmsTimer::Event_Action() {
  SetMode(0);
  LocalPreferences::Reload();
  SetMode(2);  // before the pass, not after it
  CheckAlarms(nullptr);
}

}  // namespace tollmere
