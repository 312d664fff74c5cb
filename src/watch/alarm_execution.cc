// What happens to an alarm that is due.
#include "launch/engine.h"
#include "preferences/local_preferences.h"
#include "schedule/alarm.h"

namespace tollmere {

// The order is binding. The next ring time has to see this ring, so as to move past its minute. The launch
// has to see the history as it was before this ring. What the history gets is the field as it then is: Nil,
// where an alarm has been disabled by its ring.
void TLMAlarm::Execute(bool, bool) {
  LastRungDateTime = New<Date>();  // the present moment, also when an earlier second is being walked
  if (Type != AlarmTypeTimer) {
    LastRungDateTime->SetSecond(0);
  }
  if (AllowMultiple) {
    SetNextRingTime(nullptr);
  } else {
    SetEnabled(false);
  }
  Engine::LaunchTLM(Name, UniqueID);
  LocalPreferences::MasteRingHistory->SetValue(Int32ToVariant(UniqueID), ObjectToVariant(LastRungDateTime));
}

void TLMAlarm::SetEnabled(bool value) {
  if (value != mEnabled) {
    LastRungDateTime = nullptr;
  }
  mEnabled = value;
  SetNextRingTime(nullptr);
}

}  // namespace tollmere
