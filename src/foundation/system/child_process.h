// Programs started as processes of their own.
#pragma once

#include <string>
#include <vector>

namespace tollmere {

// Starts the program at `path`, with that path as its only argument, so that it has nothing of this
// process but the environment: a session of its own, working directory "/", standard streams on
// /dev/null, every signal at its default and none blocked, no open descriptor. It outlives this
// process and is nobody's zombie. Returns 0, or the errno of what failed; then nothing is left running.
int StartDetached(const std::string& path) noexcept;

// What came of a program.
struct ProgramEnd {
  int status;  // its exit status; 128 and more when a signal ended it; -1 when it could not be started
  std::string errors;  // what it wrote to standard error, 64 KiB of it at most
};

// Runs `program`, found along PATH, as a child that ends with this process, and waits for it. Throws
// EndOfProcess when the end of the process is asked for meanwhile; the child has ended by then.
ProgramEnd RunAndWait(const std::string& program, const std::vector<std::string>& arguments);

// The file that `program` names along PATH, or the empty string.
std::string FindAlongPath(const std::string& program);

}  // namespace tollmere
