// The one thread's event loop and its timer.
#pragma once

#include <cstdint>
#include <vector>

#include "foundation/object.h"
#include "foundation/yield.h"

namespace tollmere {

// Waits until `descriptor` can be read, the moment has come, or the end of the process is asked for,
// whichever is first. `descriptor` may be -1 for none; `until` counts nanoseconds of MonotonicClock.
void WaitForDescriptor(int descriptor, std::int64_t until);

// Nanoseconds on a clock that nobody can set. It does not count while the machine sleeps.
std::int64_t MonotonicClock() noexcept;

// Is called at each expiry of a timer, after the timer's own action.
class ActionNotificationReceiver {
 public:
  virtual ~ActionNotificationReceiver() = default;
  virtual void PerformAction() = 0;
};

// Fires once every Period, on a fixed grid that begins when Mode goes from 0 to 2. A long action does not
// shift later expiries; those that it misses are dropped. Switching Mode off and on inside the timer's own
// action keeps the grid.
class Timer : public Object {
 public:
  Timer();
  ~Timer() override;

  // Begins the grid anew, from now.
  virtual void Reset();
  // `receiver` must outlive its registration. Receivers are called at each expiry, in the order of
  // registration.
  virtual void addActionNotificationReceiver(ActionNotificationReceiver& receiver);
  virtual void removeActionNotificationReceiver(ActionNotificationReceiver& receiver);
  // Called at each expiry. A subclass runs its action and then calls this one.
  virtual void CallAction();

  // Milliseconds, at least 1; what is less counts as 1. 0 until it is set.
  std::int32_t Period() const noexcept { return period_; }
  void SetPeriod(std::int32_t milliseconds);
  // 0 is off, 2 is repeating. No other value is in use; it counts as off.
  std::int32_t Mode() const noexcept { return mode_; }
  void SetMode(std::int32_t mode);

 private:
  friend class Application;

  bool IsRunning() const noexcept { return mode_ == kRepeating; }
  void Fire();

  static constexpr std::int32_t kRepeating = 2;

  std::int32_t period_ = 0;
  std::int32_t mode_ = 0;
  bool in_action_ = false;
  std::int64_t next_expiry_ = 0;  // on MonotonicClock
  std::vector<ActionNotificationReceiver*> receivers_;
};

// The application object. RunApplication makes one, and calls Event_Open when the loop is up.
class Application : public Object {
 public:
  virtual void Event_Open() {}

  // Serves the timers. Leaves by throwing EndOfProcess, or what an action throws.
  [[noreturn]] void Run();
};

// Runs the process: prepares standard streams, signals and the locale, makes the application, runs it, and
// calls `release` at the end. Returns the exit status: 0 if the end was requested, 1 after an uncaught error,
// which is named on standard error.
int RunApplication(Ref<Application> (*create)(), void (*release)());

}  // namespace tollmere
