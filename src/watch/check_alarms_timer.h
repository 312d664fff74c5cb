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

  // Makes the watched alarms ring that are due. With `d` Nil it is the pass of a tick, for the present
  // moment. If more than a second has gone by since the last pass, it checks the missing seconds instead, up
  // to the present one, each as if it were the present; those at which no alarm can ring are passed over.
  // With `d` set it checks that one second.
  static void CheckAlarms(const Ref<Date>& d);

  // The moment up to which alarms have been checked; Nil until the first pass has ended.
  static inline Ref<Date> dRecentCheck;
};

}  // namespace tollmere
