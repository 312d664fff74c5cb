#include "schedule_words.h"

#include <array>
#include <cstdio>
#include <string_view>
#include <vector>

#include "foundation/text.h"
#include "still_clock.h"

namespace tollmere {
namespace {

using namespace std::string_literals;

// Item i is the one of DayOfWeek i + 1.
constexpr std::array<std::string_view, 7> kWeekdays = {"Sunday",   "Monday", "Tuesday", "Wednesday",
                                                       "Thursday", "Friday", "Saturday"};
constexpr std::array<std::string_view, 5> kFromStart = {"first", "second", "third", "fourth", "fifth"};
constexpr std::array<std::string_view, 5> kFromEnd = {"last", "second to last", "third to last",
                                                      "fourth to last", "fifth to last"};

std::string MonthName(std::int32_t month) {
  constexpr std::array<std::string_view, 12> kMonths = {"January",   "February", "March",    "April",
                                                        "May",       "June",     "July",     "August",
                                                        "September", "October",  "November", "December"};
  return month >= 1 && month <= 12 ? std::string(kMonths[static_cast<std::size_t>(month - 1)])
                                   : "month " + Str(month);
}

// "a", "a and b", "a, b and c".
std::string Listed(const std::vector<std::string>& words) {
  std::string text;
  for (std::size_t i = 0; i < words.size(); ++i) {
    text += (i == 0 ? "" : i + 1 == words.size() ? " and " : ", ") + words[i];
  }
  return text;
}

// The chosen weekdays from Monday on; three and more in a row as "Monday to Friday".
std::string Weekdays(const std::array<bool, 7>& chosen) {
  std::vector<std::string> words;
  for (std::size_t day = 0; day < 7; ++day) {
    std::size_t end = day;
    while (end < 7 && chosen[(end + 1) % 7]) {
      ++end;
    }
    if (end - day >= 3) {
      words.push_back(std::string(kWeekdays[(day + 1) % 7]) + " to " + std::string(kWeekdays[end % 7]));
      day = end;
    } else if (end > day) {
      words.emplace_back(kWeekdays[(day + 1) % 7]);
    }
  }
  return Listed(words);
}

std::string Ordinal(std::int32_t day) {
  const std::int32_t last = day % 10;
  const bool is_teen = day / 10 % 10 == 1;
  return Str(day) + (is_teen || last < 1 || last > 3 ? "th" : last == 1 ? "st" : last == 2 ? "nd" : "rd");
}

std::string DateWords(const TLMAlarm& alarm) {
  const bool year = alarm.DateYear != kAny;
  const bool month = alarm.DateMonth != kAny;
  const bool day = alarm.DateDay != kAny;
  if (year && month && day) {
    return DayInWords(alarm.DateYear, alarm.DateMonth, alarm.DateDay);
  }
  const std::string of_year = year ? " of " + Str(alarm.DateYear) : "";
  if (month) {
    return (day ? Str(alarm.DateDay) + " " : "every day in "s) + MonthName(alarm.DateMonth) +
           (year  ? " " + Str(alarm.DateYear)
            : day ? " of each year"
                  : "");
  }
  return (day ? "the " + Ordinal(alarm.DateDay) + " of each month" : "every day"s) + of_year;
}

std::string WeeklyWords(const TLMAlarm& alarm) {
  const std::string days = Weekdays(alarm.WeeklyDays);
  const std::string month = alarm.WeeklyDaysMonth == kAny ? "" : " in " + MonthName(alarm.WeeklyDaysMonth);
  if (days.empty()) {
    return "no weekday" + month;
  }
  return (days == "Monday to Sunday" ? "every day" : "every " + days) + month;
}

std::string RelativeWords(const TLMAlarm& alarm) {
  std::vector<std::string> occurrences;
  for (std::size_t i = 0; i < alarm.WeeklyDaysRelativeOccurrences.size(); ++i) {
    if (alarm.WeeklyDaysRelativeOccurrences[i]) {
      occurrences.emplace_back((alarm.WeeklyDaysRelativeFromMonthEnd ? kFromEnd : kFromStart)[i]);
    }
  }
  const std::string days = Weekdays(alarm.WeeklyDaysRelative);
  const std::int32_t month = alarm.WeeklyDaysRelativeMonth;
  return (occurrences.empty() ? "no" : Listed(occurrences)) + " " + (days.empty() ? "weekday" : days) +
         " of " + (month == kAny ? "each month" : MonthName(month));
}

std::string Clock(std::int32_t hour, std::int32_t minute) {
  std::array<char, 32> text{};
  std::snprintf(text.data(), text.size(), "%02d:%02d", hour, minute);
  return text.data();
}

}  // namespace

std::string ScheduleInWords(const TLMAlarm& alarm) {
  const bool is_fixed = alarm.DateYear != kAny && alarm.DateMonth != kAny && alarm.DateDay != kAny;
  const std::string once = alarm.AllowMultiple && !(alarm.Type == AlarmTypeDate && is_fixed) ? "" : ", once";
  switch (alarm.Type) {
    case AlarmTypeDate:
      return DateWords(alarm) + once;
    case AlarmTypeWeekly:
      return WeeklyWords(alarm) + once;
    case AlarmTypeWeeklyRelative:
      return RelativeWords(alarm) + once;
    case AlarmTypeHourlyChime:
      return "every hour" + once;
    case AlarmTypeTimer:
      return "countdown of " + Str(alarm.TimerHours) + " h " + Str(alarm.TimerMinutes) + " min " +
             Str(alarm.TimerSeconds) + " s";
    default:
      return "kind " + Str(alarm.Type) + ": the present day" + once;
  }
}

std::string TimeInWords(const TLMAlarm& alarm) {
  switch (alarm.Type) {
    case AlarmTypeHourlyChime:
      return Clock(0, alarm.HourlyChimeMinute).substr(2);
    case AlarmTypeTimer:
      return {};
    default:
      return Clock(alarm.Hour, alarm.Minute);
  }
}

std::string KindOfSchedule(const TLMAlarm& alarm) {
  switch (alarm.Type) {
    case AlarmTypeDate:
      return "date";
    case AlarmTypeWeekly:
      return "weekly";
    case AlarmTypeWeeklyRelative:
      return "weekly-relative";
    case AlarmTypeHourlyChime:
      return "hourly-chime";
    case AlarmTypeTimer:
      return "countdown";
    default:
      return "other";
  }
}

std::string DayInWords(std::int32_t year, std::int32_t month, std::int32_t day) {
  return Str(day) + " " + MonthName(month) + " " + Str(year);
}

std::string MomentInWords(const Date& moment) {
  return std::string(kWeekdays[static_cast<std::size_t>(moment.DayOfWeek() - 1)].substr(0, 3)) + " " +
         StillClock::MomentText(moment).substr(0, 16);
}

}  // namespace tollmere
