// What is wrong or doubtful in the store.
#pragma once

#include <string>
#include <vector>

#include "stored_alarms.h"

namespace tollmere {

struct Finding {
  const StoredAlarm* alarm;  // null: the store itself, or the main application
  std::string key;           // with what lies below it, "WeeklyDays.x1"; may be empty
  std::string text;
};

// In the order of the list, the store's own first and the main application's last.
std::vector<Finding> CheckStore(const Store& store);

}  // namespace tollmere
