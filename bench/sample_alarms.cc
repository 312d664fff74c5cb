#include "sample_alarms.h"

#include "foundation/calendar_math.h"
#include "schedule/alarm.h"

namespace tollmere {
namespace {

using Array = PropertyListValue::Array;
using Entries = PropertyListValue::Dictionary;

constexpr std::int64_t kBenchDayNumber = DaysFromCivil(2026, 6, 10);

// What sets the alarms apart.
struct Kind {
  int type;
  int year, month, day;  // of a date alarm
  unsigned weekdays;     // a bit for each flag, as in the two below
  unsigned relative_weekdays = 0;
  unsigned occurrences = 0;
  bool from_month_end = false;
  bool enabled = true;
};

constexpr Kind kKinds[10] = {
    {AlarmTypeDate, kAny, kAny, kAny, 0},                                      // each day
    {AlarmTypeWeekly, kAny, kAny, kAny, 0b0111110},                            // on workdays
    {AlarmTypeDate, kAny, kAny, 31, 0},                                        // each month that has a 31st
    {AlarmTypeWeeklyRelative, kAny, kAny, kAny, 0, 0b0100000, 0b00001, true},  // last Friday
    {AlarmTypeDate, 2027, 1, 31, 0},                                           // once
    {AlarmTypeHourlyChime, kAny, kAny, kAny, 0},                               //
    {AlarmTypeWeekly, kAny, kAny, kAny, 0b0000010},                            // on Mondays
    {AlarmTypeDate, kAny, 3, 14, 0},                                           // once a year
    {AlarmTypeWeeklyRelative, kAny, kAny, kAny, 0, 0b0000100, 0b01010},        // second and fourth Tuesday
    {AlarmTypeWeekly, kAny, kAny, kAny, 0b1111111, 0, 0, false, false},        // switched off
};

Entries Flags(unsigned bits, int count, const char* key) {
  Entries flags;
  for (int i = 0; i < count; ++i) {
    flags.emplace_back("x" + std::to_string(i), Entries{{key, (bits >> i & 1U) != 0}});
  }
  return flags;
}

Entries Alarm(int number, Items items) {
  const Kind& kind = kKinds[number % 10];
  const bool has_relative_items = items == Items::kAll || kind.type == AlarmTypeWeeklyRelative;
  return {
      {"AllowMultiple", true},
      {"DateDay", kind.day},
      {"DateMonth", kind.month},
      {"DateYear", kind.year},
      {"Enabled", kind.enabled},
      {"Exclusions", number % 5 == 0 ? ExclusionText(number % 30, 2) : std::string()},
      {"Hour", number % 24},
      {"HourlyChimeMinute", 15},
      {"ImportedAB", false},
      {"ImportediCal", false},
      {"IsPreset", false},
      {"LastRungDateTime", static_cast<double>(kBenchDayNumber * kSecondsPerDay - number * 60)},
      {"Minute", number % 40},
      {"Name", "Alarm number " + std::to_string(number)},
      {"PowerManagerIntegration", true},
      {"PrivateAlarm", false},
      {"TimerHours", 0},
      {"TimerMinutes", 5},
      {"TimerSeconds", 0},
      {"TimerShowOnStartup", false},
      {"AlarmType", kind.type},
      {"UniqueID", 1000 + number},
      {"WeeklyDays", Flags(kind.weekdays, 7, "WeeklyDayEnabled")},
      {"WeeklyDaysMonth", kAny},
      {"WeeklyDaysRelative",
       Flags(kind.relative_weekdays, has_relative_items ? 7 : 0, "WeeklyDayRelativeEnabled")},
      {"WeeklyDaysRelativeFromMonthEnd", kind.from_month_end},
      {"WeeklyDaysRelativeMonth", kAny},
      {"WeeklyDaysRelativeOccurences",
       Flags(kind.occurrences, has_relative_items ? 5 : 0, "WeeklyDayRelativeOccurEnabled")},
  };
}

}  // namespace

Entries SampleDomainValue(int alarms, Items items) {
  Array stored;
  for (int number = 0; number < alarms; ++number) {
    stored.emplace_back(Alarm(number, items));
  }
  return {{"Alarms", std::move(stored)}, {"RingPastAlarms", false}, {"Exclusions", ExclusionText(40, 3)}};
}

std::string ExclusionText(int first, int count) {
  std::string text;
  for (int day = first; day < first + count; ++day) {
    text += (text.empty() ? "" : ",") + std::to_string((kBenchDayNumber + day) * kSecondsPerDay);
  }
  return text;
}

}  // namespace tollmere
