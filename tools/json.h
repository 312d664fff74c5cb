// The program's output for programs.
#pragma once

#include <string>
#include <vector>

#include "check.h"
#include "next_rings.h"
#include "stored_alarms.h"

namespace tollmere {

// What goes into the top object, beside the store itself. Null: not asked for.
struct JsonExtras {
  const std::vector<Ring>* rings = nullptr;
  const std::vector<Finding>* findings = nullptr;
};

// One object, with a line break at its end. The names of its keys are kept from version to version.
std::string StoreAsJson(const Store& store, const std::string& zone, const JsonExtras& extras);

}  // namespace tollmere
