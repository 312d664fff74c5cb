#include "foundation/system/clock.h"

#include <ctime>

namespace tollmere {

std::int64_t ReadWallClock() noexcept { return std::time(nullptr); }

}  // namespace tollmere
