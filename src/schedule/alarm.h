// One alarm of the main application, and when it rings next.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "foundation/date.h"
#include "foundation/dictionary.h"
#include "foundation/object.h"

namespace tollmere {

// The kinds of schedule, as they are stored. An alarm of any other number stands on the present day at its
// Hour and Minute.
inline constexpr std::int32_t AlarmTypeDate = 0;
inline constexpr std::int32_t AlarmTypeWeekly = 1;
inline constexpr std::int32_t AlarmTypeWeeklyRelative = 2;
inline constexpr std::int32_t AlarmTypeHourlyChime = 3;
inline constexpr std::int32_t AlarmTypeTimer = 4;

// "Any" in DateYear, DateMonth, DateDay, WeeklyDaysMonth and WeeklyDaysRelativeMonth. Every other value is
// taken as it is.
inline constexpr std::int32_t kAny = -1;

// The main application owns the alarms and keeps them in its preference domain. This is one of them, made
// anew at each reload. Nothing is validated: hour 25 is one o'clock of the next day, and the search for a
// month 13, which never comes, goes on as long as that kind of search does.
class TLMAlarm {
 public:
  // A new alarm that has run its Constructor.
  static Ref<TLMAlarm> Make();

  TLMAlarm() = default;
  TLMAlarm(const TLMAlarm&) = delete;
  TLMAlarm& operator=(const TLMAlarm&) = delete;

  // Rings: sets LastRungDateTime, moves the alarm on or disables it, makes sure that the main application
  // runs, and writes the history of rings. The arguments have no effect.
  virtual void Execute(bool first, bool second);
  // Works out NextRingDateTime from the moment `d`, Nil being the present one. Nil there means that the
  // alarm does not ring: it is disabled or a preset, or no moment of its schedule lies ahead. Leaves
  // NextRingDateTime alone when it throws.
  virtual void SetNextRingTime(const Ref<Date>& d);
  // Reads the stored form, key by key, with a default for nearly every key that is absent. A nested value
  // that is no dictionary throws IllegalCastException, and what was read before it stays; Nil throws
  // NilObjectException.
  virtual void SetDictionary(const Ref<Dictionary>& d);
  // Applies the stored form's defaults.
  virtual void Constructor();
  virtual ~TLMAlarm() = default;

  bool Enabled() const noexcept { return mEnabled; }
  // A change in either direction clears LastRungDateTime. NextRingDateTime is worked out anew in any case.
  void SetEnabled(bool value);

  std::string Name;
  std::int32_t UniqueID = 0;   // identity across reloads; -1 when the stored alarm has none
  Ref<Date> NextRingDateTime;  // never shared with another field; written by SetNextRingTime alone

 private:
  bool mEnabled = false;

 public:
  std::int32_t Hour = 0;
  std::int32_t Minute = 0;
  std::int32_t DateMonth = 0;
  std::int32_t DateYear = 0;
  std::int32_t DateDay = 0;
  std::array<bool, 7> WeeklyDays{};  // item i belongs to DayOfWeek i + 1
  bool AllowMultiple = false;        // rings again after a ring, instead of being disabled by it
  std::int32_t Type = AlarmTypeDate;
  std::array<bool, 7> WeeklyDaysRelative{};             // as WeeklyDays
  std::array<bool, 5> WeeklyDaysRelativeOccurrences{};  // item n - 1: the n-th such weekday of a month
  std::int32_t HourlyChimeMinute = 0;
  std::int32_t WeeklyDaysMonth = 0;
  std::int32_t WeeklyDaysRelativeMonth = 0;
  bool PrivateAlarm = false;
  bool WeeklyDaysRelativeFromMonthEnd = false;  // occurrences are counted from the month's last day
  std::vector<CivilDate> Exclusions;            // days on which it does not ring
  bool PowerManagerIntegration = false;
  Ref<Date> LastRungDateTime;  // Nil: not known to have rung
  bool IsPreset = false;       // never has a ring time and is never watched
  std::int32_t SnoozeExecuteCount = 0;
  bool ImportedAB = false;
  bool ImportediCal = false;
  std::int32_t TimerHours = 0;  // the length of a countdown, in three parts
  std::int32_t TimerMinutes = 0;
  std::int32_t TimerSeconds = 0;
  bool TimerShowOnStartup = false;

 private:
  // One search for each kind of alarm. `dNext` is the candidate on entry; the search leaves it on the
  // moment found, or empty where there is none.
  void SetNextRingTime_Date(std::optional<Date>& dNext, const Date& dStart) const;
  void SetNextRingTime_Weekly(std::optional<Date>& dNext, const Date& dStart) const;
  void SetNextRingTime_WeeklyRelative(std::optional<Date>& dOut, const Ref<Date>& dFrom) const;
  void SetNextRingTime_HourlyChime(std::optional<Date>& dNext, const Date& dStart) const;
  void SetNextRingTime_Timer(std::optional<Date>& dNext, Date& dStart, const Ref<Date>& d) const;

  // The moments of month `iMonth`, 1 to 12, at which a weekly-relative alarm rings: ascending, or descending
  // when it counts from the month's end.
  Dates SetNextRingTime_WeeklyRelativeOccursThisMonth(std::int32_t iMonth, std::int32_t iYear) const;

  // True when `d` lies on a day that the alarm's own list excludes, or the global one.
  bool IsExcluded(const Date& d) const { return IsDayExcluded(DayOf(d)); }
  bool IsDayExcluded(CivilDate day) const;
};

}  // namespace tollmere
