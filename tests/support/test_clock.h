// The clock that tests set.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "foundation/date.h"

namespace tollmere::testing {

// Seconds since 1970 of a moment written "2027-01-31 10:00:30", or without the time of day.
std::int64_t UnixSeconds(std::string_view moment);
// The same on the scale of Date::TotalSeconds.
double TotalSeconds(std::string_view moment);

void SetClock(std::int64_t unix_seconds);
void SetClock(std::string_view moment);  // on the wall clock of a machine at UTC, as tests are by default
void AdvanceClock(std::int64_t seconds);

// "2027-01-31 10:00:30"; "Never" for Nil.
std::string Text(const Date& date);
std::string Text(const Ref<Date>& date);

}  // namespace tollmere::testing
