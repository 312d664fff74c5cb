#include "next_rings.h"

#include <algorithm>
#include <map>

#include "foundation/system/clock.h"
#include "foundation/yield.h"
#include "preferences/core_preferences.h"
#include "search_deadline.h"
#include "still_clock.h"

namespace tollmere {
namespace {

constexpr double kMinute = 60;
constexpr double kDay = 86'400;

// How often the next ring of an alarm has to be worked out anew, when it is not due.
enum class Pace { kMonthly, kDaily, kEveryMinute };

bool Within(std::int32_t value, std::int32_t first, std::int32_t last) {
  return value >= first && value <= last;
}

// The agent works out every alarm at each second. What it finds lies in the present month, or is found again
// when that month has begun, with three exceptions: a field that is out of its range or left out counts from
// the present day, or from the present minute.
Pace PaceOf(const TLMAlarm& alarm, const Dictionary& stored) {
  const bool is_chime = alarm.Type == AlarmTypeHourlyChime;
  if (MissingTime(alarm, stored) != nullptr) {
    return Pace::kEveryMinute;
  }
  const bool is_known = Within(alarm.Type, AlarmTypeDate, AlarmTypeHourlyChime);
  const bool has_date = alarm.Type != AlarmTypeDate ||
                        (stored.HasKey("DateDay") && stored.HasKey("DateMonth") && stored.HasKey("DateYear"));
  const bool in_range = is_chime ? Within(alarm.HourlyChimeMinute, 0, 59)
                                 : Within(alarm.Hour, 0, 23) && Within(alarm.Minute, 0, 59);
  return is_known && has_date && in_range ? Pace::kMonthly : Pace::kDaily;
}

// The watched alarms as the clock goes on.
class Simulation {
 public:
  explicit Simulation(const std::vector<const StoredAlarm*>& alarms)
      : ring_past_alarms_(CorePreferencesModified::GetPrefsBoolValue("RingPastAlarms")) {
    for (const StoredAlarm* stored : alarms) {
      if (stored->watched && stored->problems.empty()) {
        watched_.push_back({stored, stored->alarm, PaceOf(*stored->alarm, *stored->stored), false});
        pace_ = std::max(pace_, watched_.back().pace);
      }
    }
  }

  void Run(std::size_t count, double last, std::vector<Ring>& rings) {
    bool all = true;
    while (!watched_.empty()) {
      Date now;
      now.SetSecond(0);
      if (now.TotalSeconds() > last) {
        return;
      }
      Reload(now, all);
      const bool rang = RingDue(now, count, rings);
      if (rings.size() >= count) {
        return;
      }
      const double stop = rang ? now.TotalSeconds() + kMinute : NextStop(now);
      const std::int64_t offset = StillClock::Offset();
      StillClock::AdvanceTo(stop);
      const Date then;
      all = then.Month() != now.Month() || StillClock::Offset() != offset;
      Yield();
    }
  }

 private:
  struct Watched {
    const StoredAlarm* stored;
    Ref<TLMAlarm> alarm;
    Pace pace;
    bool past_rang;  // without a moment left
  };

  // Makes anew what may have changed: all alarms, or those that were due.
  void Reload(const Date& now, bool all) {
    for (Watched& watched : watched_) {
      const Ref<Date>& next = watched.alarm->NextRingDateTime;
      const bool is_due = next != nullptr && next->TotalSeconds() <= now.TotalSeconds();
      if (!all && !is_due && watched.pace == Pace::kMonthly) {
        continue;
      }
      watched.alarm = MakeAlarm(watched.stored->stored);
      const auto rung = history_.find(watched.alarm->UniqueID);
      if (rung != history_.end()) {
        watched.alarm->LastRungDateTime = rung->second;
      }
      watched.alarm->SetNextRingTime(nullptr);
    }
  }

  bool RingDue(const Date& now, std::size_t count, std::vector<Ring>& rings) {
    bool any = false;
    for (Watched& watched : watched_) {
      const TLMAlarm& alarm = *watched.alarm;
      const double moment = now.TotalSeconds();
      if (alarm.LastRungDateTime != nullptr && alarm.LastRungDateTime->WholeSeconds() == moment) {
        continue;
      }
      const bool is_past = alarm.NextRingDateTime == nullptr;
      if (is_past ? !ring_past_alarms_ || watched.past_rang
                  : alarm.NextRingDateTime->WholeSeconds() != moment) {
        continue;
      }
      any = true;
      watched.past_rang = watched.past_rang || is_past;
      history_[alarm.UniqueID] = alarm.AllowMultiple || is_past ? CopyOf(now) : Ref<Date>();
      rings.push_back({CopyOf(now), watched.stored});
      if (rings.size() == count) {
        break;
      }
    }
    return any;
  }

  double NextStop(const Date& now) const {
    Date stop;
    stop.SetTotalSeconds(now.TotalSeconds());
    if (pace_ == Pace::kEveryMinute) {
      return now.TotalSeconds() + kMinute;
    }
    stop.SetHour(0);
    stop.SetMinute(0);
    if (pace_ == Pace::kMonthly) {
      stop.SetDay(1);
      stop.SetMonth(stop.Month() + 1);
    } else {
      stop.SetDay(stop.Day() + 1);
    }
    double first = stop.TotalSeconds();
    for (const Watched& watched : watched_) {
      const Ref<Date>& next = watched.alarm->NextRingDateTime;
      if (next != nullptr && next->TotalSeconds() > now.TotalSeconds()) {
        first = std::min(first, next->TotalSeconds());
      }
    }
    return first;
  }

  std::vector<Watched> watched_;
  std::map<std::int32_t, Ref<Date>> history_;
  bool ring_past_alarms_;
  Pace pace_ = Pace::kMonthly;
};

}  // namespace

std::vector<Ring> NextRings(const std::vector<const StoredAlarm*>& alarms, std::size_t count, double last,
                            bool& complete) {
  const std::int64_t present = ReadWallClock();
  std::vector<Ring> rings;
  Simulation simulation(alarms);
  complete = SearchDeadline::Finishes([&] { simulation.Run(count, last, rings); });
  StillClock::Set(present);
  return rings;
}

std::optional<Ref<Date>> FirstRing(const StoredAlarm& alarm) {
  const Ref<Date>& next = alarm.alarm->NextRingDateTime;
  if (next == nullptr) {
    return Ref<Date>();
  }
  bool complete = true;
  const std::vector<Ring> rings = NextRings({&alarm}, 1, next->TotalSeconds() + 366 * kDay, complete);
  if (!complete) {
    return std::nullopt;
  }
  return rings.empty() ? Ref<Date>() : rings.front().moment;
}

const char* MissingTime(const TLMAlarm& alarm, const Dictionary& stored) {
  if (alarm.Type == AlarmTypeHourlyChime) {
    return stored.HasKey("HourlyChimeMinute") ? nullptr : "HourlyChimeMinute";
  }
  return !stored.HasKey("Hour") ? "Hour" : !stored.HasKey("Minute") ? "Minute" : nullptr;
}

}  // namespace tollmere
