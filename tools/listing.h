// The program's output for people.
#pragma once

#include <string>
#include <vector>

#include "check.h"
#include "next_rings.h"
#include "stored_alarms.h"
#include "terminal.h"

namespace tollmere {

// Where the store is and how it was read, the moment and the zone, and what keeps all alarms from ringing.
std::string Head(const Store& store, const std::string& zone);
// A line for each alarm in the order of the next ring, those without one last. On a terminal too narrow for
// all of a line, its reason goes onto lines of its own.
std::string Listing(const Store& store, const Terminal& terminal);
std::string RingLines(const std::vector<Ring>& rings, const Terminal& terminal);
std::string FindingLines(const std::vector<Finding>& findings);

}  // namespace tollmere
