// A bound on the time of searches that may have no end.
#pragma once

#include <functional>

namespace tollmere {

// Each piece of work may take two seconds of this process's own time, and all of them together ten.
class SearchDeadline {
 public:
  // Runs the work, and ends it as the end of the process would: at its next Yield, by EndOfProcess. False
  // when it was ended so.
  static bool Finishes(const std::function<void()>& work);
};

}  // namespace tollmere
