#include "stored_keys.h"

#include <algorithm>
#include <array>
#include <limits>
#include <vector>

#include "schedule/alarm.h"

namespace tollmere {
namespace {

constexpr unsigned kDate = 1U << AlarmTypeDate;
constexpr unsigned kWeekly = 1U << AlarmTypeWeekly;
constexpr unsigned kRelative = 1U << AlarmTypeWeeklyRelative;
constexpr unsigned kChime = 1U << AlarmTypeHourlyChime;
constexpr unsigned kTimer = 1U << AlarmTypeTimer;
constexpr unsigned kEvery = ~0U;
constexpr std::int32_t kLeast = std::numeric_limits<std::int32_t>::min();
constexpr std::int32_t kMost = std::numeric_limits<std::int32_t>::max();

// clang-format off
constexpr StoredKey kAlarmKeys[] = {
    {"AlarmType", ValueKind::kNumber, AlarmTypeDate, AlarmTypeTimer, false, kEvery},
    {"AllowMultiple", ValueKind::kFlag},
    {"DateDay", ValueKind::kNumber, 1, 31, true, kDate},
    {"DateMonth", ValueKind::kNumber, 1, 12, true, kDate},
    {"DateYear", ValueKind::kNumber, 1904, 9999, true, kDate},
    {"Enabled", ValueKind::kFlag},
    {"Exclusions", ValueKind::kDays},
    {"Hour", ValueKind::kNumber, 0, 23, false, kDate | kWeekly | kRelative},
    {"HourlyChimeMinute", ValueKind::kNumber, 0, 59, false, kChime},
    {"ImportedAB", ValueKind::kFlag},
    {"ImportediCal", ValueKind::kFlag},
    {"IsPreset", ValueKind::kFlag},
    {"LastRungDateTime", ValueKind::kMoment},
    {"Minute", ValueKind::kNumber, 0, 59, false, kDate | kWeekly | kRelative},
    {"Name", ValueKind::kText},
    {"PowerManagerIntegration", ValueKind::kFlag},
    {"PrivateAlarm", ValueKind::kFlag},
    {"TimerHours", ValueKind::kNumber, 0, kMost, false, kTimer},
    {"TimerMinutes", ValueKind::kNumber, 0, kMost, false, kTimer},
    {"TimerSeconds", ValueKind::kNumber, 0, kMost, false, kTimer},
    {"TimerShowOnStartup", ValueKind::kFlag},
    {"UniqueID", ValueKind::kNumber, kLeast, kMost, false, kEvery},
    {"WeeklyDays", ValueKind::kFlags, 0, 0, false, kWeekly, 7, "WeeklyDayEnabled"},
    {"WeeklyDaysMonth", ValueKind::kNumber, 1, 12, true, kWeekly},
    {"WeeklyDaysRelative", ValueKind::kFlags, 0, 0, false, kRelative, 7, "WeeklyDayRelativeEnabled"},
    {"WeeklyDaysRelativeFromMonthEnd", ValueKind::kFlag},
    {"WeeklyDaysRelativeMonth", ValueKind::kNumber, 1, 12, true, kRelative},
    {"WeeklyDaysRelativeOccurences", ValueKind::kFlags, 0, 0, false, kRelative, 5, "WeeklyDayRelativeOccurEnabled"},
};

constexpr StoredKey kDomainKeys[] = {
    {"Alarms", ValueKind::kArray},
    {"Exclusions", ValueKind::kDays},
    {"LastExeLocation", ValueKind::kData},
    {"RingPastAlarms", ValueKind::kFlag},
};
// clang-format on

char Lower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c; }

// How many letters have to be put in, left out or changed to make one text of the other; case does not count.
std::size_t EditDistance(std::string_view a, std::string_view b) {
  std::vector<std::size_t> row(b.size() + 1);
  for (std::size_t j = 0; j <= b.size(); ++j) {
    row[j] = j;
  }
  for (std::size_t i = 1; i <= a.size(); ++i) {
    std::size_t diagonal = row[0];
    row[0] = i;
    for (std::size_t j = 1; j <= b.size(); ++j) {
      const std::size_t changed = diagonal + static_cast<std::size_t>(Lower(a[i - 1]) != Lower(b[j - 1]));
      diagonal = row[j];
      row[j] = std::min({row[j] + 1, row[j - 1] + 1, changed});
    }
  }
  return row[b.size()];
}

}  // namespace

std::span<const StoredKey> AlarmKeys() { return kAlarmKeys; }
std::span<const StoredKey> DomainKeys() { return kDomainKeys; }

const StoredKey* FindKey(std::span<const StoredKey> keys, std::string_view name) {
  const auto found =
      std::find_if(keys.begin(), keys.end(), [&](const StoredKey& key) { return key.name == name; });
  return found != keys.end() ? &*found : nullptr;
}

std::string_view CloseName(std::string_view text, std::span<const std::string_view> names) {
  constexpr std::size_t kLongest = 64;  // No name is longer; a text of any length can stand in the store.
  std::size_t least = 3;
  std::string_view close;
  if (text.size() > kLongest) {
    return close;
  }
  for (const std::string_view name : names) {
    const std::size_t distance = EditDistance(text, name);
    if (distance < least && distance * 2 < name.size()) {
      least = distance;
      close = name;
    }
  }
  return close;
}

}  // namespace tollmere
