// The clock of this program: it stands still, and is set.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "foundation/date.h"

namespace tollmere::StillClock {

// Seconds since 1970. ReadWallClock gives them from then on.
void Set(std::int64_t wall_clock) noexcept;

// The first second at which the clocks of the user's zone show that moment, on the scale of
// Date::TotalSeconds; empty for a moment that they skip.
std::optional<std::int64_t> WhenItShows(double local_seconds);

// Goes forward to the first second at which the clock shows `local_seconds` or later; only as far as the
// zone's next change, if that comes first.
void AdvanceTo(double local_seconds);

// How many seconds the zone is ahead of UTC.
std::int64_t Offset();

// The moment of a text "2027-01-31 09:59:20", with "T" or a blank in the middle and with or without the
// seconds, on the scale of Date::TotalSeconds; empty for a text that is none, such as the 31st of a shorter
// month.
std::optional<double> ParseMoment(std::string_view text);

// "2027-01-31 09:59:20", with that mark in the middle.
std::string MomentText(const Date& date, char middle = ' ');

}  // namespace tollmere::StillClock
