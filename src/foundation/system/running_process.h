// What the system tells of one running process.
#pragma once

#include <sys/types.h>

#include <optional>
#include <string>
#include <vector>

namespace tollmere {

struct RunningProcess {
  pid_t number = 0;
  std::string folder;  // where the system tells of it: its own, or that of a thread that lives on
  std::string name;    // the first 15 bytes of the name of the file that was started, if it kept that name
  std::string executable;  // path of the file that it runs, or had until it was removed; empty where not told
  std::string file;        // another path of that file, which leads to it wherever it lies by now
  std::vector<std::string> arguments;  // the beginning of them; [0] is the name that it was started by

  // The path that one of the arguments means: a relative one counts from the process's own folder.
  // Empty where that folder is not told.
  std::string PathOf(const std::string& argument) const;
  // The value of a variable of the environment that the process was started with; empty where it is not
  // there or not told.
  std::string Variable(const std::string& variable) const;
};

// Nothing for a process that has ended, also if it is a zombie, and for one of another user.
std::optional<RunningProcess> LookAtProcess(pid_t number);

// True for a process of the current user that lives. Unlike LookAtProcess, this is not blocked by a process
// that is stuck in exec.
bool IsOwnAndAlive(pid_t number);

// When the process started: tells it from later ones with the same number. Empty if there is none.
std::string StartTimeOf(pid_t number);

// The numbers of the processes of all users.
std::vector<pid_t> AllProcesses();

// The items of a folder whose names are numbers.
std::vector<int> NumbersIn(const std::string& folder);

}  // namespace tollmere
