#include "still_clock.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <string>

#include "foundation/calendar_math.h"
#include "foundation/system/clock.h"

namespace tollmere {
namespace {

std::int64_t present = 0;

std::int64_t OffsetAt(std::int64_t wall_clock) {
  const std::int64_t before = present;
  present = wall_clock;
  const std::int64_t offset = StillClock::Offset();
  present = before;
  return offset;
}

// The first second with another offset than `from` has; `to` has one.
std::int64_t ChangeBetween(std::int64_t from, std::int64_t to) {
  const std::int64_t offset = OffsetAt(from);
  while (to - from > 1) {
    const std::int64_t middle = from + (to - from) / 2;
    (OffsetAt(middle) == offset ? from : to) = middle;
  }
  return to;
}

}  // namespace

std::int64_t ReadWallClock() noexcept { return present; }

void StillClock::Set(std::int64_t wall_clock) noexcept { present = wall_clock; }

std::int64_t StillClock::Offset() {
  return static_cast<std::int64_t>(Date().TotalSeconds()) - kSecondsTo1970 - present;
}

std::optional<std::int64_t> StillClock::WhenItShows(double local_seconds) {
  const std::int64_t as_utc = static_cast<std::int64_t>(local_seconds) - kSecondsTo1970;
  std::optional<std::int64_t> first;
  // The offset is that of the day before, or where the zone changes in between that of the day after.
  for (const std::int64_t day : {as_utc - kSecondsPerDay, as_utc + kSecondsPerDay}) {
    const std::int64_t offset = OffsetAt(day);
    if (OffsetAt(as_utc - offset) == offset) {
      first = std::min(first.value_or(as_utc - offset), as_utc - offset);
    }
  }
  return first;
}

void StillClock::AdvanceTo(double local_seconds) {
  const std::int64_t offset = Offset();
  const std::int64_t target = static_cast<std::int64_t>(local_seconds) - kSecondsTo1970 - offset;
  while (present < target) {
    // Day by day, since two changes of the zone can cancel each other out.
    const std::int64_t next = std::min(target, present + kSecondsPerDay);
    if (OffsetAt(next) != offset) {
      present = ChangeBetween(present, next);
      return;
    }
    present = next;
  }
}

std::optional<double> StillClock::ParseMoment(std::string_view text) {
  std::array<int, 6> fields{};  // year, month, day, hour, minute, second
  int length = 0;
  const std::string copy(text);
  std::string_view rest;
  if (std::sscanf(copy.c_str(), "%4d-%2d-%2d%*1[ T]%2d:%2d%n", &fields[0], &fields[1], &fields[2], &fields[3],
                  &fields[4], &length) != 5) {
    return std::nullopt;
  }
  rest = text.substr(static_cast<std::size_t>(length));
  if (!rest.empty() && (std::sscanf(copy.c_str() + length, ":%2d%n", &fields[5], &length) != 1 ||
                        rest.size() != static_cast<std::size_t>(length))) {
    return std::nullopt;
  }
  const auto [year, month, day, hour, minute, second] = fields;
  if (year < 1904 || month < 1 || month > 12 || day < 1 || day > DaysInMonth(year, month) || hour < 0 ||
      hour > 23 || minute < 0 || minute > 59 || second < 0 || second > 59) {
    return std::nullopt;
  }
  return static_cast<double>(DaysFromCivil(year, month, day) * kSecondsPerDay + hour * 3600 + minute * 60 +
                             second);
}

std::string StillClock::MomentText(const Date& date, char middle) {
  std::array<char, 80> text{};
  std::snprintf(text.data(), text.size(), "%04d-%02d-%02d%c%02d:%02d:%02d", date.Year(), date.Month(),
                date.Day(), middle, date.Hour(), date.Minute(), date.Second());
  return text.data();
}

}  // namespace tollmere
