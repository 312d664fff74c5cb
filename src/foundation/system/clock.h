// The one reading of the wall clock.
#pragma once

#include <cstdint>

namespace tollmere {

// Whole seconds since 1 January 1970, 00:00:00 UTC. The clock can be set back or forward at any time. Nothing
// else in the agent reads it.
std::int64_t ReadWallClock() noexcept;

}  // namespace tollmere
