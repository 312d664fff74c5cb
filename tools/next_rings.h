// What the agent would ring from now on.
#pragma once

#include <cstddef>
#include <optional>
#include <vector>

#include "foundation/date.h"
#include "stored_alarms.h"

namespace tollmere {

struct Ring {
  Ref<Date> moment;
  const StoredAlarm* alarm;
};

// The next `count` rings of the watched alarms among these in their order, as the agent rings them when
// nothing is changed meanwhile; fewer where no more come before `last`. Leaves the clock where it was. An
// alarm whose ring disables it counts as one ring and is then reckoned as a reload would; an alarm without a
// moment left that "RingPastAlarms" rings counts once. `complete` becomes false when the search was given up.
std::vector<Ring> NextRings(const std::vector<const StoredAlarm*>& alarms, std::size_t count, double last,
                            bool& complete);

// The moment of the alarm's first ring, which need not be its next ring as it is computed now. Nil where that
// one is Nil, and where none comes within a year after it; empty where that was not found out in time.
std::optional<Ref<Date>> FirstRing(const StoredAlarm& alarm);

// The first key of a time that the alarm needs and does not have, so that it stands on the present hour or
// minute; else null.
const char* MissingTime(const TLMAlarm& alarm, const Dictionary& stored);

}  // namespace tollmere
