// The built agent as a process of its own.
#pragma once

#include <sys/types.h>

#include <functional>
#include <map>
#include <string>
#include <vector>

namespace tollmere::testing {

// Waits, generously, for what is to come about; false when it has not.
bool Eventually(const std::function<bool()>& holds);

class AgentProcess {
 public:
  // Starts the agent with nothing but these variables in its environment, and its log in a pipe.
  explicit AgentProcess(const std::map<std::string, std::string>& environment);
  ~AgentProcess();
  AgentProcess(const AgentProcess&) = delete;
  AgentProcess& operator=(const AgentProcess&) = delete;

  pid_t Id() const { return process_; }
  // The lines logged so far.
  const std::vector<std::string>& Log();
  // True once that line has been logged.
  bool WaitForLine(const std::string& line);
  void CloseLog();
  // Sends the signal and waits for the end: the exit status, or 128 and more for a death by signal.
  int End(int signal);
  // Waits for the end of an agent that ends by itself.
  int WaitForEnd();

 private:
  pid_t process_ = -1;
  int log_ = -1;
  std::string unfinished_;
  std::vector<std::string> lines_;
};

}  // namespace tollmere::testing
