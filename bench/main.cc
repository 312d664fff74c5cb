// Without arguments: measures everything and prints the table of ratios; status 1 where a bound is missed.
//   --quick                     runs every benchmark once, briefly, and judges no time
// Other arguments are those of the benchmark library.
#include <malloc.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "judge.h"

namespace {

int Run(std::vector<char*> arguments, bool quick) {
  int count = static_cast<int>(arguments.size());
  benchmark::Initialize(&count, arguments.data());
  if (benchmark::ReportUnrecognizedArguments(count, arguments.data())) {
    return 2;
  }
  // The agent logs each alarm that is new to it; nobody reads that here.
  if (std::freopen("/dev/null", "w", stderr) == nullptr) {
    return 2;
  }
  if (quick) {
    return benchmark::RunSpecifiedBenchmarks() == 0 ? 2 : 0;
  }
  tollmere::Judge judge;
  benchmark::RunSpecifiedBenchmarks(&judge);
  return judge.PrintTable() ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
  // The yardstick's zone; all that is measured goes by the same one.
  setenv("TZ", "Europe/Berlin", 1);
  // As the agent has them.
  mallopt(M_TRIM_THRESHOLD, 256 * 1024 * 1024);
  mallopt(M_MXFAST, 0);
  // What is given on the command line comes behind these and outdoes them.
  static char repetitions[] = "--benchmark_repetitions=15";
  static char min_time[] = "--benchmark_min_time=0.05";
  static char interleaving[] = "--benchmark_enable_random_interleaving=true";
  static char once[] = "--benchmark_repetitions=1";
  static char briefly[] = "--benchmark_min_time=0.001";
  const bool quick = argc > 1 && std::strcmp(argv[1], "--quick") == 0;
  std::vector<char*> arguments = {argv[0]};
  if (quick) {
    arguments.insert(arguments.end(), {once, briefly});
  } else {
    arguments.insert(arguments.end(), {repetitions, min_time, interleaving});
  }
  arguments.insert(arguments.end(), argv + (quick ? 2 : 1), argv + argc);
  return Run(std::move(arguments), quick);
}
