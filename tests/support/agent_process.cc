#include "support/agent_process.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <thread>

namespace tollmere::testing {

bool Eventually(const std::function<bool()>& holds) {
  const auto give_up = std::chrono::steady_clock::now() + std::chrono::seconds(60);
  while (!holds()) {
    if (std::chrono::steady_clock::now() > give_up) {
      return false;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  return true;
}

AgentProcess::AgentProcess(const std::map<std::string, std::string>& environment) {
  int log[2];
  if (pipe2(log, O_CLOEXEC) != 0) {
    return;
  }
  log_ = log[0];
  fcntl(log_, F_SETFL, O_NONBLOCK);
  std::vector<std::string> variables;
  for (const auto& [name, value] : environment) {
    variables.push_back(name + "=" + value);
  }
  std::vector<char*> envp;
  for (std::string& variable : variables) {
    envp.push_back(variable.data());
  }
  envp.push_back(nullptr);
  process_ = fork();
  if (process_ == 0) {
    dup2(log[1], STDERR_FILENO);
    execle(TOLLMERE_HELPER, TOLLMERE_HELPER, nullptr, envp.data());
    _exit(127);
  }
  close(log[1]);
}

AgentProcess::~AgentProcess() {
  End(SIGKILL);
  CloseLog();
}

const std::vector<std::string>& AgentProcess::Log() {
  char buffer[4096];
  for (ssize_t count = 0; log_ >= 0 && (count = read(log_, buffer, sizeof buffer)) > 0;) {
    unfinished_.append(buffer, static_cast<std::size_t>(count));
  }
  for (std::size_t end = 0; (end = unfinished_.find('\n')) != std::string::npos;) {
    lines_.push_back(unfinished_.substr(0, end));
    unfinished_.erase(0, end + 1);
  }
  return lines_;
}

bool AgentProcess::WaitForLine(const std::string& line) {
  return Eventually([&] { return std::find(Log().begin(), Log().end(), line) != Log().end(); });
}

void AgentProcess::CloseLog() {
  if (log_ >= 0) {
    close(log_);
  }
  log_ = -1;
}

int AgentProcess::End(int signal) {
  if (process_ > 0) {
    kill(process_, signal);
  }
  return WaitForEnd();
}

int AgentProcess::WaitForEnd() {
  int status = 0;
  if (process_ <= 0 || !Eventually([&] { return waitpid(process_, &status, WNOHANG) != 0; })) {
    return -1;
  }
  process_ = -1;
  return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

}  // namespace tollmere::testing
