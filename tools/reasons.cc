#include "reasons.h"

#include <algorithm>
#include <optional>
#include <string>
#include <utility>

#include "foundation/calendar_math.h"
#include "foundation/text.h"
#include "next_rings.h"
#include "preferences/core_preferences.h"
#include "preferences/local_preferences.h"
#include "schedule_words.h"
#include "search_deadline.h"
#include "still_clock.h"

namespace tollmere {
namespace {

bool HoldsDay(const std::vector<CivilDate>& days, const Date& date) {
  const CivilDate sought{date.Year(), date.Month(), date.Day()};
  return std::find(days.begin(), days.end(), sought) != days.end();
}

// The same alarm without its own exclusions.
StoredAlarm WithoutExclusions(const StoredAlarm& stored) {
  StoredAlarm copy = stored;
  copy.stored = CorePreferencesModified::RBDictFromCFDict(Cast<CFDictionaryMBS>(stored.object)->List());
  copy.stored->SetValue(StringToVariant("Exclusions"), StringToVariant(""));
  copy.alarm = MakeAlarm(copy.stored);
  return copy;
}

// Which list keeps the alarm from a ring that would come before `next`, its first one; empty for none.
std::string Exclusion(const StoredAlarm& stored, const Ref<Date>& next) {
  const std::vector<CivilDate> everyone = LocalPreferences::Exclusions_Get();
  if (everyone.empty() && stored.alarm->Exclusions.empty()) {
    return {};
  }
  Ref<Date> first;
  {
    const EmptyDomain none;
    const StoredAlarm free = WithoutExclusions(stored);
    if (SearchDeadline::Finishes([&] { free.alarm->SetNextRingTime(nullptr); })) {
      first = FirstRing(free).value_or(nullptr);
    }
  }
  if (first == nullptr || (next != nullptr && first->TotalSeconds() >= next->TotalSeconds())) {
    return {};
  }
  const bool by_own = HoldsDay(stored.alarm->Exclusions, *first);
  if (!by_own && !HoldsDay(everyone, *first)) {
    return {};
  }
  return DayInWords(first->Year(), first->Month(), first->Day()) + " is excluded by " +
         (by_own ? "its own list" : "the global list");
}

bool AnyOf(const auto& flags) {
  for (const bool flag : flags) {
    if (flag) {
      return true;
    }
  }
  return false;
}

bool IsNoMonth(std::int32_t month) { return month != kAny && (month < 1 || month > 12); }

// Why there is no next ring, where neither the schedule itself nor an exclusion is to blame.
std::string NothingAhead(const TLMAlarm& alarm) {
  const Date now;
  if (alarm.Type == AlarmTypeDate) {
    const bool repeats = alarm.DateYear == kAny || alarm.DateMonth == kAny || alarm.DateDay == kAny;
    return !repeats || alarm.DateYear <= now.Year() ? "its date has passed"
                                                    : "its date does not come within ten years";
  }
  if (alarm.Type == AlarmTypeWeeklyRelative) {
    return "its day does not come within 25 years";
  }
  return "its time of today has passed";
}

std::string WhyNever(const StoredAlarm& stored) {
  const TLMAlarm& alarm = *stored.alarm;
  std::string why = NeverInItsSchedule(alarm);
  if (why.empty()) {
    why = Exclusion(stored, nullptr);
  }
  if (why.empty()) {
    why = NothingAhead(alarm);
  }
  if (CorePreferencesModified::GetPrefsBoolValue("RingPastAlarms")) {
    why += "; it rings at once and in every minute until Tollmere disables it, since RingPastAlarms is set";
  } else if (alarm.Type < AlarmTypeDate || alarm.Type > AlarmTypeTimer) {
    why += "; an alarm of a kind that is not known rings each day";
  }
  return why;
}

// The next ring, as it is reckoned now, is not the first one that will be heard: which is, and why.
std::string WhyAnother(const StoredAlarm& stored, const Ref<Date>& first) {
  const Date now;
  const Date& next = *stored.alarm->NextRingDateTime;
  if (first != nullptr && first->TotalSeconds() == next.TotalSeconds()) {
    return {};
  }
  const std::string instead = first != nullptr ? "it rings " + MomentInWords(*first) : "it does not ring";
  if (!StillClock::WhenItShows(next.TotalSeconds()).has_value()) {
    return "the clock skips that moment; " + instead;
  }
  if (now.Day() > 28 && (next.Month() != now.Month() || next.Year() != now.Year())) {
    return "computed wrongly while today is the " + Str(now.Day()) + (now.Day() == 31 ? "st" : "th") + "; " +
           instead;
  }
  return "computed anew when that moment comes nearer; " + instead;
}

bool RangInThisMinute(const TLMAlarm& alarm) {
  Date minute;
  minute.SetSecond(0);
  return alarm.LastRungDateTime != nullptr && alarm.LastRungDateTime->TotalSeconds() == minute.TotalSeconds();
}

std::string WhyNotSooner(const StoredAlarm& stored) {
  if (RangInThisMinute(*stored.alarm)) {
    return "it rang in this minute";
  }
  if (const char* missing = MissingTime(*stored.alarm, *stored.stored)) {
    return std::string(missing) + " is missing, and that of the present moment is taken";
  }
  const std::optional<Ref<Date>> first = FirstRing(stored);
  if (!first.has_value()) {
    return {};
  }
  const std::string why = WhyAnother(stored, *first);
  return why.empty() ? Exclusion(stored, *first) : why;
}

std::string WhyNotWatched(const TLMAlarm& alarm) {
  std::string why;
  const auto add = [&](bool holds, const char* reason) {
    if (holds) {
      why += (why.empty() ? "" : ", ") + std::string(reason);
    }
  };
  add(!alarm.Enabled(), "disabled");
  add(alarm.IsPreset, "a preset");
  add(alarm.Type == AlarmTypeTimer, "a countdown, which Tollmere runs itself");
  return why;
}

std::string WhyOf(const StoredAlarm& stored) {
  if (!stored.problems.empty()) {
    return (stored.stored == nullptr && stored.StopsTheAgent() ? "malformed: " : "") +
           stored.problems.front().InWords() +
           (stored.StopsTheAgent() ? "; until it is put right, no alarm rings at all" : "");
  }
  const TLMAlarm& alarm = *stored.alarm;
  if (!stored.watched) {
    return WhyNotWatched(alarm);
  }
  if (alarm.NextRingDateTime != nullptr) {
    return WhyNotSooner(stored);
  }
  return RangInThisMinute(alarm) ? "it rang in this minute" : WhyNever(stored);
}

}  // namespace

std::string NeverInItsSchedule(const TLMAlarm& alarm) {
  const auto no_month = [](const char* key, std::int32_t month) {
    return std::string(key) + " " + Str(month) + " is a month that never comes";
  };
  if (alarm.Type == AlarmTypeWeekly && !AnyOf(alarm.WeeklyDays)) {
    return "no weekday is chosen";
  }
  if (alarm.Type == AlarmTypeWeeklyRelative) {
    if (!AnyOf(alarm.WeeklyDaysRelative)) {
      return "no weekday is chosen";
    }
    if (!AnyOf(alarm.WeeklyDaysRelativeOccurrences)) {
      return "it is not chosen which of its weekdays in the month";
    }
    return IsNoMonth(alarm.WeeklyDaysRelativeMonth)
               ? no_month("WeeklyDaysRelativeMonth", alarm.WeeklyDaysRelativeMonth)
               : "";
  }
  const bool repeats = alarm.DateYear == kAny || alarm.DateMonth == kAny || alarm.DateDay == kAny;
  if (alarm.Type == AlarmTypeDate && repeats) {
    if (IsNoMonth(alarm.DateMonth)) {
      return no_month("DateMonth", alarm.DateMonth);
    }
    const std::int64_t year = alarm.DateYear != kAny ? alarm.DateYear : 2000;
    const int longest = alarm.DateMonth != kAny ? DaysInMonth(year, alarm.DateMonth) : 31;
    if (alarm.DateDay != kAny && (alarm.DateDay < 1 || alarm.DateDay > longest)) {
      return "DateDay " + Str(alarm.DateDay) + " is a day that never comes";
    }
  }
  return {};
}

void FindReasons(std::vector<StoredAlarm>& alarms) {
  for (StoredAlarm& alarm : alarms) {
    alarm.why = WhyOf(alarm);
  }
}

}  // namespace tollmere
