// The application object, and the module globals that it makes.
#pragma once

#include "foundation/system/event_loop.h"

namespace tollmere {

class App final : public Application {
 public:
  // Makes the run-time tables and the one timer, between the two start-up lines of the log. The first tick
  // comes one period later; until then no alarm is watched.
  void Event_Open() override;
};

// Sets every module global back to Nil: the timer first, so that nothing fires any more, then the alarms, the
// tables, and the preferences.
void ReleaseGlobals();

}  // namespace tollmere
