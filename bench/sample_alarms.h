// Stored alarms of all kinds.
#pragma once

#include <string>

#include "property_list_writer.h"

namespace tollmere {

enum class Items {
  // Every alarm has all nineteen items of its three nested dictionaries: 133 stored objects an alarm.
  kAll,
  // The two dictionaries of weekly-relative schedules are empty but in alarms of that kind, so that ten
  // thousand
  // alarms stay within the million objects that a stored list may have.
  kWhereNeeded,
};

// The whole domain: an array of that many alarms under "Alarms", each of 28 keys. Of ten alarms two are date
// alarms without an end, two ring once or once a year, two are weekly, two weekly-relative, one is an hourly
// chime, and one is not watched. At kBenchMoment none of them is due.
PropertyListValue::Dictionary SampleDomainValue(int alarms, Items items);

// Days on which no alarm rings: `count` of them, the first one `first` days after that of kBenchMoment.
std::string ExclusionText(int first, int count);

}  // namespace tollmere
