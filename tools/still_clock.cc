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
  constexpr std::string_view kForm = "0000-00-00 00:00:00";  // each 0 a digit
  std::array<std::int32_t, 6> fields{};                      // year, month, day, hour, minute, second
  if (text.size() != kForm.size() && text.size() != kForm.size() - 3) {
    return std::nullopt;
  }
  std::size_t field = 0;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const bool is_digit = text[i] >= '0' && text[i] <= '9';
    if (is_digit != (kForm[i] == '0') ||
        (!is_digit && text[i] != kForm[i] && !(kForm[i] == ' ' && text[i] == 'T'))) {
      return std::nullopt;
    }
    if (is_digit) {
      fields[field] = fields[field] * 10 + (text[i] - '0');
    } else {
      ++field;
    }
  }
  const auto [year, month, day, hour, minute, second] = fields;
  if (year < 1904 || month < 1 || month > 12 || day < 1 || day > DaysInMonth(year, month) || hour > 23 ||
      minute > 59 || second > 59) {
    return std::nullopt;
  }
  return static_cast<double>(DaysFromCivil(year, month, day) * kSecondsPerDay) +
         static_cast<double>(hour * 3600 + minute * 60 + second);
}

std::string StillClock::MomentText(const Date& date, char middle) {
  std::array<char, 80> text{};
  std::snprintf(text.data(), text.size(), "%04d-%02d-%02d%c%02d:%02d:%02d", date.Year(), date.Month(),
                date.Day(), middle, date.Hour(), date.Minute(), date.Second());
  return text.data();
}

}  // namespace tollmere
