// The end of the process, and how long-running work notices that it is requested.
#pragma once

#include <atomic>

namespace tollmere {

// Thrown by Yield once the end of the process is requested, and caught only by RunApplication. It is no
// std::exception, so that no handler of errors catches it.
struct EndOfProcess {};

// Whether the end of the process is requested. The agent never takes a request back.
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

// Every loop that can run long calls this once an iteration. Throws EndOfProcess if the end of the process is
// requested, and does nothing else: no timer fires in it. Costs one load.
inline void Yield() {
  if (ProcessEnd::IsRequested()) [[unlikely]] {
    ThrowEndOfProcess();
  }
}

}  // namespace tollmere
