// Turns what was measured into ratios, and holds them against their bounds.
#pragma once

#include <benchmark/benchmark.h>

#include <map>
#include <string>

namespace tollmere {

// Collects the quickest repetition of each benchmark, in processor time. On a machine that others use too,
// that is the figure which they disturb least: everything that comes between makes a run slower and nothing
// makes it quicker. The repetitions of all benchmarks are interleaved, so that a slow minute of the machine
// falls upon a benchmark and its yardstick alike.
class Judge final : public benchmark::BenchmarkReporter {
 public:
  bool ReportContext(const Context&) override { return true; }
  void ReportRuns(const std::vector<Run>& runs) override;

  // Prints the table, each ratio beside its bound. True when every bound is kept and every benchmark has run.
  bool PrintTable() const;

 private:
  struct Figure {
    double turn = 0.0;    // nanoseconds of processor time for one turn of the loop
    double pieces = 1.0;  // of work in one turn
    double bytes = 0.0;   // read in one turn, where that is stated
    double Piece() const { return turn / pieces; }
  };

  void PrintFigures() const;
  bool PrintBounds() const;

  std::map<std::string, Figure> figures_;
  std::string failures_;
};

}  // namespace tollmere
