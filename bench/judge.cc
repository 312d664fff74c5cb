#include "judge.h"

#include <algorithm>
#include <cstdio>
#include <iterator>

#include "measured.h"

namespace tollmere {
namespace {

enum class Of { kPiece, kTurn };

struct Bound {
  const char* subject;
  const char* yardstick;
  double at_most;
  Of of = Of::kPiece;
};

constexpr const char* kY = "Peer/Mktime";

constexpr Bound kBounds[] = {
    {"Date/StepDay", "Peer/ChronoRoundTrip", 0.5},
    {"Date/StepDay", "Limit/StepFields", 5.0},
    {"Date/Present", "Peer/ClockLocaltime", 0.25},
    {"NextRing/Daily", kY, 4.0},
    {"NextRing/Weekly", kY, 4.0},
    {"NextRing/NeverDate", "Limit/Walk10Years", 3.0},
    {"NextRing/LeapDay", "Limit/WalkToLeapDay", 3.0},
    {"NextRing/LastFriday", kY, 6.0},
    {"NextRing/SecondAndFourthTuesday", kY, 8.0},
    {"NextRing/NeverRelative", "Limit/Walk26Years", 3.5},
    {"NextRing/FarPast", kY, 10.0},
    {"NextRing/FarPast/Chime", kY, 10.0},
    {"Pass/WalkedSecond", kY, 0.15},
    {"Walk/8Hours100", kY, 60.0},
    {"Walk/56Years1000", kY, 2'500.0},
    {"Walk/56Years1000/RingPastAlarms", kY, 5'000.0},
    {"PropertyList/Xml", kY, 75'000.0},
    {"PropertyList/Binary", kY, 27'000.0},
    {"Reload/10", kY, 100.0},
    {"Reload/100", kY, 100.0},
    {"Reload/1000", kY, 140.0},
    {"Reload/Xml1000", kY, 100.0},
    {"Reload/100", "Reload/10", 12.0, Of::kTurn},
    {"Reload/1000", "Reload/100", 12.0, Of::kTurn},
};

}  // namespace

void Judge::ReportRuns(const std::vector<Run>& runs) {
  for (const Run& run : runs) {
    const std::string& arguments = run.run_name.args;
    const std::string name = run.run_name.function_name + (arguments.empty() ? "" : "/" + arguments);
    if (run.error_occurred) {
      failures_ += name + ": " + run.error_message + "\n";
      continue;
    }
    if (run.run_type != Run::RT_Iteration) {
      continue;
    }
    const auto counter = [&](const char* counted, double otherwise) {
      const auto found = run.counters.find(counted);
      return found != run.counters.end() ? found->second.value : otherwise;
    };
    const double turn = run.cpu_accumulated_time / static_cast<double>(run.iterations) * 1e9;
    const auto [figure, is_first] = figures_.try_emplace(name);
    if (is_first || turn < figure->second.turn) {
      figure->second = {turn, counter(kPieces, 1.0), counter(kBytes, 0.0)};
    }
  }
}

bool Judge::PrintTable() const {
  PrintFigures();
  const bool kept = PrintBounds();
  std::fputs(failures_.c_str(), stdout);
  return kept && failures_.empty();
}

void Judge::PrintFigures() const {
  const auto y = figures_.find(kY);
  std::printf("%-34s %16s %8s %14s %12s\n", "benchmark", "ns a turn", "pieces", "ns a piece", "a piece / Y");
  for (const auto& [name, figure] : figures_) {
    std::printf("%-34s %16.1f %8.0f %14.2f", name.c_str(), figure.turn, figure.pieces, figure.Piece());
    if (y != figures_.end()) {
      std::printf(" %12.2f", figure.Piece() / y->second.Piece());
    }
    if (figure.bytes > 0.0) {
      std::printf("   %.0f MB/s", figure.bytes / figure.turn * 1e3);
    }
    std::printf("\n");
  }
}

bool Judge::PrintBounds() const {
  bool kept = true;
  std::printf("\n%-34s %-22s %10s %10s\n", "benchmark", "against", "ratio", "at most");
  for (const Bound& bound : kBounds) {
    const auto subject = figures_.find(bound.subject);
    const auto yardstick = figures_.find(bound.yardstick);
    if (subject == figures_.end() || yardstick == figures_.end()) {
      continue;  // left out by a filter
    }
    const double ratio = bound.of == Of::kTurn ? subject->second.turn / yardstick->second.turn
                                               : subject->second.Piece() / yardstick->second.Piece();
    const bool holds = ratio <= bound.at_most;
    kept = kept && holds;
    std::printf("%-34s %-22s %10.2f %10.2f  %s\n", bound.subject, bound.yardstick, ratio, bound.at_most,
                holds ? "kept" : "MISSED");
  }
  return kept;
}

}  // namespace tollmere
