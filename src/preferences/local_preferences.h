// The alarm list as the agent watches it, and what outlives a reload of it.
#pragma once

#include <vector>

#include "foundation/date.h"
#include "foundation/dictionary.h"
#include "foundation/object.h"
#include "schedule/alarm.h"

namespace tollmere::LocalPreferences {

// The alarms being watched, in the order of the stored list: enabled, no presets, no countdown timers. Made
// anew by each Reload.
inline std::vector<Ref<TLMAlarm>> xAlarmArray;

// Both tables are keyed by UniqueID and hold a Date or Nil. Neither ever loses an entry, and neither is kept
// beyond the process. Start-up makes them; Nil before that.
//
// The next ring time of each alarm that was last logged, to keep the log quiet. Nil: it never rings.
inline Ref<Dictionary> RememberedNextRingDates;
// The last ring of each alarm. Nil: it rang and forgot, as an alarm does that is disabled by its ring.
inline Ref<Dictionary> MasteRingHistory;

// Makes xAlarmArray anew from the preference domain: reads every stored alarm, gives it back its last ring,
// works out its next, and logs those that are new or have changed. Throws IllegalCastException at a stored
// alarm of malformed shape; xAlarmArray then holds the alarms before it.
void Reload();

// The days on which no alarm rings, read afresh at each call; in the order of the stored text.
Dates Exclusions_Get();

}  // namespace tollmere::LocalPreferences
