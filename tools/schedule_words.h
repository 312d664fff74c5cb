// An alarm's schedule in words.
#pragma once

#include <cstdint>
#include <string>

#include "foundation/date.h"
#include "schedule/alarm.h"

namespace tollmere {

// "every Tuesday and Friday in March", "last Friday of each month", "31 January 2027, once".
std::string ScheduleInWords(const TLMAlarm& alarm);
// The time of day that goes with it: "07:00", of an hourly chime ":30", of a countdown nothing.
std::string TimeInWords(const TLMAlarm& alarm);
// "date", "weekly", "weekly-relative", "hourly-chime", "countdown" or "other".
std::string KindOfSchedule(const TLMAlarm& alarm);
// "31 January 2027".
std::string DayInWords(std::int32_t year, std::int32_t month, std::int32_t day);
// "Mon 2027-02-01 08:00".
std::string MomentInWords(const Date& moment);

}  // namespace tollmere
