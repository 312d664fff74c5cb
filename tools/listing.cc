#include "listing.h"

#include <algorithm>
#include <array>
#include <limits>

#include "application.h"
#include "foundation/system/clock.h"
#include "foundation/system/debug_log.h"
#include "foundation/text.h"
#include "schedule_words.h"
#include "still_clock.h"

namespace tollmere {
namespace {

constexpr std::string_view kDim = "\x1b[2m";
constexpr std::string_view kRed = "\x1b[31m";
constexpr std::string_view kPlain = "\x1b[0m";

std::string Coloured(const std::string& text, std::string_view colour, const Terminal& terminal) {
  return terminal.has_colours && !colour.empty() ? std::string(colour) + text + std::string(kPlain) : text;
}

// An alarm's name, which can hold anything, in one line.
std::string NameOf(const StoredAlarm& stored) {
  return stored.alarm->Name.empty() ? "(no name)" : EscapeForLog(stored.alarm->Name);
}

// "now", "in 12 min", "in 3 h 20 min", "in 5 d 3 h".
std::string HowLong(const Date& moment) {
  const std::int64_t when =
      StillClock::WhenItShows(moment.TotalSeconds())
          .value_or(static_cast<std::int64_t>(moment.TotalSeconds()) - kSecondsTo1970 - StillClock::Offset());
  const std::int64_t seconds = when - ReadWallClock();
  if (seconds <= 0) {
    return "now";
  }
  const auto number = [](std::int64_t value, const char* unit) { return " " + std::to_string(value) + unit; };
  const std::int64_t minutes = seconds / 60;
  const std::int64_t hours = minutes / 60;
  if (minutes < 60) {
    return "in" + (minutes == 0 ? number(seconds, " s") : number(minutes, " min"));
  }
  return "in" + (hours < 24 ? number(hours, " h") + number(minutes % 60, " min")
                            : number(hours / 24, " d") + number(hours % 24, " h"));
}

struct Row {
  static constexpr std::size_t kColumns = 5;
  std::array<std::string, kColumns> cells;  // the moment, in how long, the name, the time, the schedule
  std::string why;
  std::string_view colour;
};

Row RowOf(const StoredAlarm& stored) {
  const Ref<Date>& next = stored.alarm->NextRingDateTime;
  const bool is_alarm = IsA<CFDictionaryMBS>(stored.object);
  return {{next != nullptr  ? MomentInWords(*next)
           : stored.watched ? "never"
                            : "-",
           next != nullptr ? HowLong(*next) : "", is_alarm ? NameOf(stored) : "(no alarm)",
           is_alarm ? TimeInWords(*stored.alarm) : "", is_alarm ? ScheduleInWords(*stored.alarm) : ""},
          EscapeForLog(stored.why),
          !stored.problems.empty() ? kRed
          : stored.watched         ? std::string_view()
                                   : kDim};
}

std::string Trimmed(std::string line) {
  line.erase(line.find_last_not_of(' ') + 1);
  return line;
}

// The widths of the columns. On a terminal the name takes a quarter at most, and the name and the
// schedule give way, the longer one first.
std::array<std::size_t, Row::kColumns> Widths(const std::vector<Row>& rows, std::size_t limit) {
  std::array<std::size_t, Row::kColumns> widths{};
  for (const Row& row : rows) {
    for (std::size_t i = 0; i < widths.size(); ++i) {
      widths[i] = std::max(widths[i], Columns(row.cells[i]));
    }
  }
  constexpr std::size_t kName = 2;
  constexpr std::size_t kSchedule = 4;
  constexpr std::size_t kLeast = 8;
  constexpr std::size_t kWidestOffTerminal = 40;  // One long name does not push all others apart.
  if (limit == 0) {
    widths[kName] = std::min(widths[kName], kWidestOffTerminal);
    widths[kSchedule] = std::min(widths[kSchedule], kWidestOffTerminal);
    return widths;
  }
  widths[kName] = std::min(widths[kName], std::max(limit / 4, kLeast));
  const auto total = [&] {
    return widths[0] + widths[1] + widths[2] + widths[3] + widths[4] + 2 * (widths.size() - 1);
  };
  while (total() > limit && std::max(widths[kName], widths[kSchedule]) > kLeast) {
    --widths[widths[kName] > widths[kSchedule] ? kName : kSchedule];
  }
  return widths;
}

// The text on lines of `columns`, broken at blanks, each set in.
std::string Wrapped(const std::string& text, std::size_t columns) {
  constexpr std::string_view kIndent = "    ";
  const std::size_t room = std::max<std::size_t>(columns, 20) - kIndent.size();
  std::string lines;
  std::string line;
  for (const std::string_view word : Split(text, " ")) {
    if (!line.empty() && Columns(line) + 1 + Columns(word) > room) {
      lines.append(kIndent).append(line).append("\n");
      line.clear();
    }
    line.append(line.empty() ? "" : " ").append(word);
  }
  return lines.append(kIndent).append(line).append("\n");
}

std::string Line(const Row& row, const std::array<std::size_t, Row::kColumns>& widths,
                 const Terminal& terminal) {
  std::string line;
  for (std::size_t i = 0; i < widths.size(); ++i) {
    line +=
        (i == 0 ? "" : "  ") + Padded(Fitted(row.cells[i], terminal.width == 0 ? 0 : widths[i]), widths[i]);
  }
  const std::string whole = Trimmed(line + "  " + row.why);
  if (row.why.empty() || terminal.width == 0 || Columns(whole) <= terminal.width) {
    return Coloured(whole, row.colour, terminal) + "\n";
  }
  return Coloured(Trimmed(line), row.colour, terminal) + "\n" +
         Coloured(Wrapped(row.why, terminal.width), row.colour, terminal);
}

double OrderOf(const StoredAlarm& stored) {
  const Ref<Date>& next = stored.alarm->NextRingDateTime;
  return next != nullptr ? next->TotalSeconds() : std::numeric_limits<double>::infinity();
}

std::string StateInWords(const Store& store) {
  switch (store.state.kind) {
    case DomainState::Kind::kAbsent:
      return "there is no such file, and so no alarm" +
             (store.elsewhere.empty() ? "" : "; " + store.elsewhere + " is not read");
    case DomainState::Kind::kUnreadable:
      return "could not be read: " + store.state.problem +
             "; a running agent keeps the list that it read last";
    case DomainState::Kind::kRead:
      break;
  }
  return store.alarms_problem.empty() ? "read" : "read, but " + store.alarms_problem;
}

}  // namespace

std::string Head(const Store& store, const std::string& zone) {
  const auto line = [](const std::string& label, const std::string& text) {
    return Padded(label, 10) + EscapeForLog(text) + "\n";
  };
  const Date now;
  const MainApplication application = FindApplication();
  std::string head =
      line("Store:", store.state.path) + line("", StateInWords(store)) +
      line("Tollmere:", application.path.empty() ? "not found: " + application.problem
                        : application.problem.empty()
                            ? application.path
                            : application.path + ", which cannot be started: " + application.problem) +
      line("Moment:", MomentInWords(now) + StillClock::MomentText(now).substr(16) + " (" + zone + ")");
  for (const StoredAlarm& stored : store.alarms) {
    if (stored.StopsTheAgent()) {
      head +=
          "No alarm rings at all until \"" + EscapeForLog(stored.alarm->Name) + "\" has been put right.\n";
    }
  }
  return head + "\n";
}

std::string Listing(const Store& store, const Terminal& terminal) {
  std::vector<const StoredAlarm*> ordered;
  for (const StoredAlarm& stored : store.alarms) {
    ordered.push_back(&stored);
  }
  std::stable_sort(ordered.begin(), ordered.end(),
                   [](const StoredAlarm* a, const StoredAlarm* b) { return OrderOf(*a) < OrderOf(*b); });
  std::vector<Row> rows;
  rows.reserve(ordered.size());
  for (const StoredAlarm* stored : ordered) {
    rows.push_back(RowOf(*stored));
  }
  const auto widths = Widths(rows, terminal.width);
  std::string lines;
  for (const Row& row : rows) {
    lines += Line(row, widths, terminal);
  }
  return lines;
}

std::string RingLines(const std::vector<Ring>& rings, const Terminal& terminal) {
  std::string lines;
  for (const Ring& ring : rings) {
    const std::string beginning =
        MomentInWords(*ring.moment) + "  " + Padded(HowLong(*ring.moment), 14) + "  ";
    const std::size_t left =
        terminal.width == 0 ? 0 : std::max<std::size_t>(terminal.width, 50) - Columns(beginning);
    lines += beginning + Fitted(NameOf(*ring.alarm), left) + "\n";
  }
  return lines;
}

std::string FindingLines(const std::vector<Finding>& findings) {
  std::string lines = findings.empty() ? "Nothing is wrong.\n" : "";
  for (const Finding& finding : findings) {
    if (finding.alarm != nullptr) {
      lines +=
          std::to_string(finding.alarm->index) + " \"" + EscapeForLog(finding.alarm->alarm->Name) + "\": ";
    }
    lines += EscapeForLog(finding.key.empty() ? finding.text : finding.key + " " + finding.text) + "\n";
  }
  return lines;
}

}  // namespace tollmere
