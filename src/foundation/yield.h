// The end of the process, and how long work notices that it has been asked for.
#pragma once

#include <atomic>

namespace tollmere {

// Thrown by Yield once the end of the process has been asked for, and caught by RunApplication alone. It is
// no std::exception, so that no handler of errors takes it for one.
struct EndOfProcess {};

// Whether the process is to end. The agent never takes back what was asked for.
class ProcessEnd {
 public:
  // May be called from a signal handler.
  static void Request() noexcept { requested_.store(true, std::memory_order_relaxed); }
  static bool IsRequested() noexcept { return requested_.load(std::memory_order_relaxed); }

 private:
  friend class ProcessEndOfTests;  // several tests ask for the end in one process
  friend class SearchDeadline;     // of tollmere-alarms, which gives up one search and goes on with the next

  static inline std::atomic<bool> requested_ = false;
  static_assert(std::atomic<bool>::is_always_lock_free);
};

// Throws EndOfProcess.
[[noreturn]] void ThrowEndOfProcess();

// Every loop that can run long calls this once an iteration. It leaves the work at hand by throwing
// EndOfProcess when the process is to end, and does nothing else: no timer fires in it. Costs one load.
inline void Yield() {
  if (ProcessEnd::IsRequested()) [[unlikely]] {
    ThrowEndOfProcess();
  }
}

}  // namespace tollmere
