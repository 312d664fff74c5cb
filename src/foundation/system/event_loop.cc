#include "foundation/system/event_loop.h"

#include <fcntl.h>
#include <malloc.h>
#include <poll.h>
#include <sys/timerfd.h>
#include <unistd.h>

#include <algorithm>
#include <clocale>
#include <csignal>
#include <cstdio>
#include <ctime>
#include <limits>

#include "foundation/system/debug_log.h"
#include "foundation/system/descriptor.h"

namespace tollmere {
namespace {

constexpr std::int64_t kNanosecondsPerSecond = 1'000'000'000;
constexpr std::int64_t kNanosecondsPerMillisecond = 1'000'000;

constexpr int kEndSignals[] = {SIGTERM, SIGINT, SIGHUP};

// All timers. Their constructors and destructors keep it.
std::vector<Timer*>& Timers() {
  static std::vector<Timer*> timers;
  return timers;
}

void RequestEndOfProcess(int) { ProcessEnd::Request(); }

sigset_t EndSignals() {
  sigset_t signals;
  sigemptyset(&signals);
  for (const int signal : kEndSignals) {
    sigaddset(&signals, signal);
  }
  return signals;
}

// HUP and INT stay ignored if they were, as nohup has it.
bool IsToBeHandled(int signal) {
  struct sigaction inherited = {};
  sigaction(signal, nullptr, &inherited);
  return signal == SIGTERM || inherited.sa_handler != SIG_IGN;
}

void PrepareSignals() {
  struct sigaction action = {};
  action.sa_handler = RequestEndOfProcess;
  for (const int signal : kEndSignals) {
    if (IsToBeHandled(signal)) {
      sigaction(signal, &action, nullptr);
    }
  }
  // The log must not stop the agent: its reader may be gone, its file may be at its size limit, and its
  // terminal may stop background processes that write.
  action.sa_handler = SIG_IGN;
  for (const int signal : {SIGPIPE, SIGXFSZ, SIGTTOU}) {
    sigaction(signal, &action, nullptr);
  }
  // Children are waited for one by one. The parent may have left SIGCHLD ignored, or the end signals blocked.
  action.sa_handler = SIG_DFL;
  sigaction(SIGCHLD, &action, nullptr);
  const sigset_t signals = EndSignals();
  sigprocmask(SIG_UNBLOCK, &signals, nullptr);
}

// If a standard stream is closed at the start, the next file that is opened would get its number, and the log
// would be written into it.
void PrepareStandardStreams() {
  for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    if (fcntl(stream, F_GETFD) < 0) {
      open("/dev/null", O_RDWR);  // This is the lowest number that is free.
    }
  }
}

// The next tick allocates what this one frees, so the memory is not returned to the system in between. Freed
// pieces are joined at once and not in batches, which takes longer.
void KeepMemoryBetweenTicks() {
  constexpr int kKeptBytes = 256 * 1024 * 1024;
  mallopt(M_TRIM_THRESHOLD, kKeptBytes);
  mallopt(M_MXFAST, 0);
}

// Needs no memory, since the error may be that there is none.
void ReportUncaughtError(const char* name) noexcept {
  char line[256];
  std::snprintf(line, sizeof line, "Ended by an uncaught error: %s", name);
  System::DebugLog(line);
}

timespec ToTimespec(std::int64_t nanoseconds) noexcept {
  return {nanoseconds / kNanosecondsPerSecond, nanoseconds % kNanosecondsPerSecond};
}

// Becomes readable at that moment of MonotonicClock. Not open if no descriptor is left.
Descriptor TimerAt(std::int64_t moment) noexcept {
  Descriptor timer(timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC));
  const itimerspec setting{{}, ToTimespec(std::max<std::int64_t>(moment, 1))};  // 0 would switch it off
  timerfd_settime(timer.Get(), TFD_TIMER_ABSTIME, &setting, nullptr);
  return timer;
}

}  // namespace

std::int64_t MonotonicClock() noexcept {
  timespec now{};
  clock_gettime(CLOCK_MONOTONIC, &now);
  return now.tv_sec * kNanosecondsPerSecond + now.tv_nsec;
}

void WaitForDescriptor(int descriptor, std::int64_t until) {
  // An absolute moment, since a relative wait starts anew each time that the process is stopped and
  // continued.
  const Descriptor timer = TimerAt(until);
  const timespec left = ToTimespec(std::max<std::int64_t>(until - MonotonicClock(), 0));
  // The signals are blocked between the check and the wait, so that none is missed in between.
  const sigset_t signals = EndSignals();
  sigset_t previous;
  sigprocmask(SIG_BLOCK, &signals, &previous);
  if (!ProcessEnd::IsRequested()) {
    pollfd polled[] = {{descriptor, POLLIN, 0}, {timer.Get(), POLLIN, 0}};  // -1 is passed over
    ppoll(polled, std::size(polled), timer.IsOpen() ? nullptr : &left, &previous);
  }
  sigprocmask(SIG_SETMASK, &previous, nullptr);
}

Timer::Timer() { Timers().push_back(this); }

Timer::~Timer() { std::erase(Timers(), this); }

void Timer::Reset() { next_expiry_ = MonotonicClock() + std::max(period_, 1) * kNanosecondsPerMillisecond; }

void Timer::addActionNotificationReceiver(ActionNotificationReceiver& receiver) {
  receivers_.push_back(&receiver);
}

void Timer::removeActionNotificationReceiver(ActionNotificationReceiver& receiver) {
  std::erase(receivers_, &receiver);
}

void Timer::CallAction() {
  const std::vector<ActionNotificationReceiver*> receivers = receivers_;  // A receiver may remove itself.
  for (ActionNotificationReceiver* receiver : receivers) {
    receiver->PerformAction();
  }
}

void Timer::SetPeriod(std::int32_t milliseconds) {
  period_ = std::max(milliseconds, 1);
  if (IsRunning()) {
    Reset();
  }
}

void Timer::SetMode(std::int32_t mode) {
  const bool was_running = IsRunning();
  mode_ = mode;
  if (IsRunning() && !was_running && !in_action_) {
    Reset();
  }
}

void Timer::Fire() {
  in_action_ = true;
  CallAction();
  in_action_ = false;
  // The next point of the grid after now; those that the action missed are dropped. The action may have begun
  // a new grid, whose first point is still ahead.
  const std::int64_t period = std::max(period_, 1) * kNanosecondsPerMillisecond;
  const std::int64_t late = MonotonicClock() - next_expiry_;
  if (late >= 0) {
    next_expiry_ += (late / period + 1) * period;
  }
}

void Application::Run() {
  while (true) {
    Timer* next = nullptr;
    for (Timer* timer : Timers()) {
      if (timer->IsRunning() && (next == nullptr || timer->next_expiry_ < next->next_expiry_)) {
        next = timer;
      }
    }
    if (next != nullptr && next->next_expiry_ <= MonotonicClock()) {
      next->Fire();
    } else {
      WaitForDescriptor(-1, next != nullptr ? next->next_expiry_ : std::numeric_limits<std::int64_t>::max());
    }
    Yield();
  }
}

int RunApplication(Ref<Application> (*create)(), void (*release)()) {
  int status = 1;
  KeepMemoryBetweenTicks();
  PrepareStandardStreams();
  PrepareSignals();
  std::setlocale(LC_TIME, "");  // Dates in the log are in the user's language; nothing else is.
  try {
    const Ref<Application> application = create();
    application->Event_Open();
    application->Run();
  } catch (const EndOfProcess&) {
    status = 0;
  } catch (const std::exception& error) {
    ReportUncaughtError(error.what());
  } catch (...) {
    ReportUncaughtError("unknown");
  }
  release();
  return status;
}

}  // namespace tollmere
