#include "search_deadline.h"

#include <sys/time.h>

#include <algorithm>
#include <csignal>

#include "foundation/yield.h"

namespace tollmere {
namespace {

constexpr long kMicroseconds = 1'000'000;
constexpr long kLongest = 2 * kMicroseconds;

long left_in_all = 10 * kMicroseconds;

// Starts the countdown, 0 stopping it; returns what was left of the one before.
long SetCountdown(long microseconds) {
  itimerval before{};
  const itimerval now{{0, 0}, {microseconds / kMicroseconds, microseconds % kMicroseconds}};
  setitimer(ITIMER_PROF, &now, &before);
  return before.it_value.tv_sec * kMicroseconds + before.it_value.tv_usec;
}

}  // namespace

bool SearchDeadline::Finishes(const std::function<void()>& work) {
  const long allowed = std::min(left_in_all, kLongest);
  if (allowed <= 0) {
    return false;
  }
  std::signal(SIGPROF, [](int) { ProcessEnd::Request(); });
  SetCountdown(allowed);
  bool finished = true;
  try {
    work();
  } catch (const EndOfProcess&) {
    finished = false;
  }
  left_in_all -= allowed - SetCountdown(0);
  ProcessEnd::requested_ = false;
  return finished;
}

}  // namespace tollmere
