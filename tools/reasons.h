// Why an alarm does not ring as one may think.
#pragma once

#include <string>
#include <vector>

#include "stored_alarms.h"

namespace tollmere {

// Fills in `why` of each alarm; at the moment that the clock shows.
void FindReasons(std::vector<StoredAlarm>& alarms);

// Why the alarm never rings, whatever the day; empty where that does not lie in its schedule.
std::string NeverInItsSchedule(const TLMAlarm& alarm);

}  // namespace tollmere
