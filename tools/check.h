// What is wrong or doubtful in the store.
#pragma once

#include <string>
#include <vector>

#include "stored_alarms.h"

namespace tollmere {

struct Finding {
  const StoredAlarm* alarm;  // null: the store itself, or the main application
  std::string key;           // with what lies below it, "WeeklyDays.x1"; may be empty
  std::string text;          // goes on behind the key
};

using Findings = std::vector<Finding>;

// The store's own first, then those of each alarm in the order of the list, and the main application's last.
Findings CheckStore(const Store& store);

// What is wrong with the value below that key, where the key is one that is read.
void CheckValue(const StoredAlarm* alarm, const std::string& key, const Ref<CFObjectMBS>& value,
                Findings& findings);
// The keys of the alarm's dictionary, and the values below them.
void CheckKeys(const StoredAlarm& alarm, Findings& findings);
// That the store, and the main application and all that is started of it, can be written by this user alone.
void CheckWriters(const std::string& path, Findings& findings);
// Where the main application is, and whether it can be started.
void CheckApplication(Findings& findings);

}  // namespace tollmere
