// tollmere-alarms: reads the store once, says what rings next and why, and ends.
#include <algorithm>
#include <array>
#include <cstdio>
#include <ctime>
#include <filesystem>
#include <string>

#include "check.h"
#include "foundation/calendar_math.h"
#include "foundation/system/clock.h"
#include "json.h"
#include "listing.h"
#include "next_rings.h"
#include "options.h"
#include "preferences/core_preferences.h"
#include "reasons.h"
#include "still_clock.h"
#include "stored_alarms.h"

namespace tollmere {
namespace {

constexpr int kNothingWrong = 0;
constexpr int kSomethingWrong = 1;
constexpr int kUnreadable = 2;

// "CET, UTC+01:00" at the present moment.
std::string Zone() {
  const std::time_t now = ReadWallClock();
  std::array<char, 64> name{};
  const std::tm* const fields = std::localtime(&now);
  if (fields == nullptr || std::strftime(name.data(), name.size(), "%Z", fields) == 0) {
    name = {"?"};
  }
  const auto minutes = static_cast<int>(StillClock::Offset() / 60);
  std::array<char, 96> zone{};
  std::snprintf(zone.data(), zone.size(), "%s, UTC%c%02d:%02d", name.data(), minutes < 0 ? '-' : '+',
                std::abs(minutes) / 60, std::abs(minutes) % 60);
  return zone.data();
}

// False after one line on standard error.
bool SetClock(const Options& options) {
  StillClock::Set(std::time(nullptr));
  if (options.at.has_value()) {
    const std::optional<std::int64_t> moment = StillClock::WhenItShows(*options.at);
    if (!moment.has_value()) {
      std::fprintf(stderr, "tollmere-alarms: the clocks of this zone skip that moment; try another\n");
      return false;
    }
    StillClock::Set(*moment);
  }
  return true;
}

std::vector<Ring> RingsOf(const Store& store, std::size_t count, bool& complete) {
  std::vector<const StoredAlarm*> alarms;
  for (const StoredAlarm& alarm : store.alarms) {
    if (alarm.StopsTheAgent()) {
      return {};
    }
    alarms.push_back(&alarm);
  }
  constexpr double kHundredYears = 36'525 * static_cast<double>(kSecondsPerDay);
  return NextRings(alarms, count, Date().TotalSeconds() + kHundredYears, complete);
}

int StatusOf(const Store& store, const std::vector<Finding>& findings) {
  if (store.state.kind == DomainState::Kind::kUnreadable) {
    return kUnreadable;
  }
  const bool has_problems = std::any_of(store.alarms.begin(), store.alarms.end(),
                                        [](const StoredAlarm& alarm) { return !alarm.problems.empty(); });
  return has_problems || !store.alarms_problem.empty() || !findings.empty() ? kSomethingWrong : kNothingWrong;
}

// What was asked for, and the exit status.
int Answer(const Options& options, std::string& output) {
  CorePreferencesModified::Load();
  if (options.store.has_value()) {
    CorePreferencesModified::xPreferences->SetPath(CorePreferencesModified::TLMDomain(),
                                                   std::filesystem::absolute(*options.store).string());
  }
  Store store = ReadStore();
  FindReasons(store.alarms);
  const Terminal terminal = FindTerminal();
  std::vector<Finding> findings;
  std::vector<Ring> rings;
  bool complete = true;
  if (options.form == Options::Form::kCheck) {
    findings = CheckStore(store);
  } else if (options.form == Options::Form::kNext) {
    rings = RingsOf(store, options.next, complete);
  }
  if (options.json) {
    output = StoreAsJson(store, Zone(),
                         {options.form == Options::Form::kNext ? &rings : nullptr,
                          options.form == Options::Form::kCheck ? &findings : nullptr});
  } else {
    output = options.form == Options::Form::kCheck
                 ? FindingLines(findings)
                 : Head(store, Zone()) + (options.form == Options::Form::kNext ? RingLines(rings, terminal)
                                                                               : Listing(store, terminal));
  }
  if (!complete) {
    std::fprintf(stderr, "tollmere-alarms: the search for more rings was given up after some seconds\n");
  }
  return StatusOf(store, findings);
}

int Run(int argc, char** argv) {
  const std::optional<Options> options = ReadOptions(argc, argv);
  if (!options.has_value() || !SetClock(*options)) {
    return kUnreadable;
  }
  std::string output;
  int status = kNothingWrong;
  if (options->form == Options::Form::kHelp) {
    output = kHelp;
  } else if (options->form == Options::Form::kVersion) {
    output = "tollmere-alarms " TOLLMERE_VERSION "\n";
  } else {
    status = Answer(*options, output);
  }
  std::fwrite(output.data(), 1, output.size(), stdout);
  if (std::fflush(stdout) != 0 || std::ferror(stdout) != 0) {
    std::perror("tollmere-alarms: standard output");
    return kUnreadable;
  }
  return status;
}

}  // namespace
}  // namespace tollmere

int main(int argc, char** argv) { return tollmere::Run(argc, argv); }
