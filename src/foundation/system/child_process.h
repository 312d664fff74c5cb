// Programs started as processes of their own.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace tollmere {

// The environment variable that marks a started program.
inline constexpr const char* kStartMark = "TOLLMERE_HELPER_STARTED";

// What came of a start.
struct Start {
  int error;      // 0, or the errno of what failed
  pid_t process;  // of the program; 0 where nothing was left running
};

// Starts the program at `path`, with that path as its only argument. Of this process it has only the
// environment: it has a session of its own, working directory "/", standard streams on /dev/null, every
// signal at its default and none blocked, and no open descriptor. It outlives this process and leaves no
// zombie. Its environment begins with kStartMark, whose value is `mark`, a colon, and the program's own
// process number; what the program starts itself inherits the value, but has another number. An empty `mark`
// makes none. A program that has not started after 5 s is an error, ETIMEDOUT, but may still start. Throws
// EndOfProcess.
Start StartDetached(const std::string& path, const std::string& mark);

// What came of a program.
struct ProgramEnd {
  int status;  // its exit status; 128 and more when a signal ended it; -1 when it could not be started
  std::string errors;  // what it wrote to standard error, 64 KiB of it at most
};

// Runs `program`, found along PATH, as a child that ends with this process, and waits for it. Throws
// EndOfProcess when the end of the process is asked for meanwhile; the child has ended by then.
ProgramEnd RunAndWait(const std::string& program, const std::vector<std::string>& arguments);

inline constexpr std::int64_t kLongestWait = 5'000'000'000;

// Runs `action` in a copy of this process, which holds none of its descriptors, and waits for its end. False
// if it has not ended after `longest` nanoseconds; it is then killed, which takes effect when the system lets
// it. True also if no process could be started. Throws EndOfProcess.
bool EndsInTime(const std::function<void()>& action, std::int64_t longest = kLongestWait);

// The file that `program` names along PATH, or the empty string.
std::string FindAlongPath(const std::string& program);

}  // namespace tollmere
