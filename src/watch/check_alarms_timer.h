// The one timer, and the check pass that it drives.
#pragma once

#include "foundation/date.h"
#include "foundation/object.h"
#include "foundation/system/event_loop.h"

namespace tollmere {

class CheckAlarmsTimer : public Timer {
 public:
  void CallAction() override;

  // One tick: reloads the alarm list, with the timer off, and then runs one check pass, with the timer on.
  virtual void Event_Action();

  // Decides which of the watched alarms ring, and has them ring. `d` Nil is the pass of a tick, for the
  // present moment. Where more than a second has gone by since the last pass, it checks the missing seconds
  // instead, the present one included, as if each were the present; those at which no alarm can ring are
  // passed over. `d` set is one of these seconds.
  static void CheckAlarms(const Ref<Date>& d);

  // The moment up to which alarms have been checked; Nil until the first pass has ended.
  static inline Ref<Date> dRecentCheck;
};

}  // namespace tollmere
