// The list of watched alarms, and the two tables that outlive a reload of it.
#pragma once

#include <vector>

#include "foundation/date.h"
#include "foundation/dictionary.h"
#include "foundation/object.h"
#include "schedule/alarm.h"

namespace tollmere::LocalPreferences {

// The watched alarms, in the order of the stored list: enabled, no presets, no countdown timers. Each Reload
// makes it anew.
inline std::vector<Ref<TLMAlarm>> xAlarmArray;

// Both tables are keyed by UniqueID and hold a Date or Nil. No entry is ever removed, and nothing is kept
// when the process ends. Start-up makes them; Nil before that.
//
// The next ring time that was last logged for each alarm, so that only changes are logged. Nil: it never
// rings.
inline Ref<Dictionary> RememberedNextRingDates;
// The last ring of each alarm. Nil: its ring disabled it, which clears the last ring.
inline Ref<Dictionary> MasteRingHistory;

// Makes xAlarmArray from the preference domain: reads every stored alarm, restores its last ring, works out
// its next ring, and logs what is new or has changed. Throws IllegalCastException at a malformed stored
// alarm; xAlarmArray then holds the alarms before it.
void Reload();

// The days on which no alarm rings, read afresh at each call; in the order of the stored text.
std::vector<CivilDate> Exclusions_Get();

}  // namespace tollmere::LocalPreferences
