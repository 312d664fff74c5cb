// Why an alarm does not ring as one may think.
#pragma once

#include <vector>

#include "stored_alarms.h"

namespace tollmere {

// Fills in `why` of each alarm; at the moment that the clock shows.
void FindReasons(std::vector<StoredAlarm>& alarms);

}  // namespace tollmere
