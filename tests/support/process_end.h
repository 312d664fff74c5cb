#pragma once

#include "foundation/yield.h"

namespace tollmere {

// Takes back a request for the end of the process, which the product never does.
class ProcessEndOfTests {
 public:
  static void TakeBack() { ProcessEnd::requested_ = false; }
};

}  // namespace tollmere
