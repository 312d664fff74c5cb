// What happens to an alarm that is due.
#include "launch/engine.h"
#include "preferences/local_preferences.h"
#include "schedule/alarm.h"

namespace tollmere {

// The order matters. The next ring time has to see this ring, to move past its minute. The launch has to see
// the history as it was before this ring. The history then gets the field as it is, which is Nil if the ring
// has disabled the alarm.
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
