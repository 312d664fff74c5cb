#include "foundation/system/child_process.h"

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <csignal>
#include <cstdlib>
#include <limits>
#include <string_view>
#include <utility>

#include "foundation/system/descriptor.h"
#include "foundation/system/event_loop.h"
#include "foundation/system/running_process.h"
#include "foundation/text.h"

namespace tollmere {
namespace {

// A pipe that neither blocks nor is inherited. Not open, with errno set, if there is none to be had.
struct Pipe {
  Pipe() noexcept {
    int ends[2] = {-1, -1};
    if (pipe2(ends, O_CLOEXEC | O_NONBLOCK) == 0) {
      reading = Descriptor(ends[0]);
      writing = Descriptor(ends[1]);
    }
  }
  Descriptor reading;
  Descriptor writing;
};

constexpr std::size_t kMostErrorBytes = 65'536;  // what a pipe holds

// The open descriptors. Looked up before fork, since that allocates.
std::vector<int> OpenDescriptors() { return NumbersIn("/proc/self/fd"); }

// Between fork and exec only calls that a signal handler could make are allowed, and none of them may
// throw or allocate.

void ResetSignals() noexcept {
  struct sigaction action = {};
  action.sa_handler = SIG_DFL;
  for (int signal = 1; signal < NSIG; ++signal) {
    sigaction(signal, &action, nullptr);
  }
  sigset_t none;
  sigemptyset(&none);
  sigprocmask(SIG_SETMASK, &none, nullptr);
}

bool PointStandardStreamsAtNull() noexcept {
  const int null = open("/dev/null", O_RDWR);
  if (null < 0) {
    return false;
  }
  for (int stream = STDIN_FILENO; stream <= STDERR_FILENO; ++stream) {
    if (dup2(null, stream) < 0) {
      return false;
    }
  }
  if (null > STDERR_FILENO) {
    close(null);
  }
  return true;
}

// Not left to exec: a program that hangs there would keep them open.
void CloseAll(const std::vector<int>& descriptors, int except) noexcept {
  for (const int descriptor : descriptors) {
    if (descriptor > STDERR_FILENO && descriptor != except) {
      close(descriptor);
    }
  }
}

// What the processes of a start write into a pipe, which exec closes.
struct Report {
  pid_t process;
  int error;
};

void Send(int pipe, Report report) noexcept {
  [[maybe_unused]] const ssize_t written = write(pipe, &report, sizeof report);
}

// What the program is started with. It is made before fork.
class DetachedProgram {
 public:
  DetachedProgram(std::string path, const std::string& mark)
      : path_(std::move(path)), mark_(std::string(kStartMark) + "=" + mark + ":"), number_at_(mark_.size()) {
    mark_.append(std::numeric_limits<pid_t>::digits10 + 2, '\0');
    if (!mark.empty()) {
      environment_.push_back(mark_.data());
    }
    for (char** variable = environ; *variable != nullptr; ++variable) {
      if (!std::string_view(*variable).starts_with(std::string(kStartMark) + "=")) {
        environment_.push_back(*variable);
      }
    }
    environment_.push_back(nullptr);
  }
  DetachedProgram(const DetachedProgram&) = delete;
  DetachedProgram& operator=(const DetachedProgram&) = delete;

  // In the child: a second fork, so that init inherits the program and collects it.
  [[noreturn]] void Fork(int pipe) noexcept {
    CloseAll(descriptors_, pipe);
    const pid_t program = fork();
    if (program == 0) {
      Become(pipe);
    }
    if (program < 0) {
      Send(pipe, {0, errno});
    }
    _exit(0);
  }

 private:
  [[noreturn]] void Become(int pipe) noexcept {
    const pid_t process = getpid();
    Send(pipe, {process, 0});
    std::to_chars(mark_.data() + number_at_, mark_.data() + mark_.size(), process);
    char* const arguments[] = {path_.data(), nullptr};
    if (setsid() >= 0 && chdir("/") == 0 && PointStandardStreamsAtNull()) {
      ResetSignals();
      execve(path_.c_str(), arguments, environment_.data());
    }
    Send(pipe, {0, errno});
    _exit(127);
  }

  std::string path_;
  std::string mark_;
  std::size_t number_at_;
  std::vector<char*> environment_;
  std::vector<int> descriptors_ = OpenDescriptors();
};

void Collect(pid_t child) noexcept {
  while (waitpid(child, nullptr, 0) < 0 && errno == EINTR) {
  }
}

// Readable once the process has ended; -1 where the system has no such thing. Called by its number, since
// the C library's declaration is not one that C++ can link to everywhere.
int OpenProcessHandle(pid_t process) noexcept {
  return static_cast<int>(syscall(SYS_pidfd_open, process, 0));
}

// Kills and collects a child that has nothing left to do.
class Collected {
 public:
  explicit Collected(pid_t child) noexcept : child_(child) {}
  Collected(const Collected&) = delete;
  Collected& operator=(const Collected&) = delete;
  ~Collected() {
    kill(child_, SIGKILL);
    Collect(child_);
  }

 private:
  pid_t child_;
};

// Reads the reports until the pipe is closed or one tells of an error.
Start AwaitReports(int pipe) {
  const std::int64_t give_up = MonotonicClock() + kLongestWait;
  Start start{ECHILD, 0};  // until the program has reported
  while (true) {
    Report report{};
    const ssize_t length = read(pipe, &report, sizeof report);
    if (length == 0) {
      return start;
    }
    if (length > 0) {
      start = {report.error, report.process};
      if (report.error != 0) {
        return start;
      }
    } else if (MonotonicClock() >= give_up) {
      return {ETIMEDOUT, start.process};
    } else {
      WaitForDescriptor(pipe, give_up);
      Yield();
    }
  }
}

// The child's part of RunAndWait.
[[noreturn]] void BecomeAttended(const char* path, char* const* arguments, int errors, pid_t parent,
                                 const std::vector<int>& descriptors) noexcept {
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  // If the parent has already ended, too early for that signal, there is nothing to do.
  if (getppid() == parent && PointStandardStreamsAtNull() && dup2(errors, STDERR_FILENO) >= 0) {
    CloseAll(descriptors, -1);
    ResetSignals();
    execve(path, arguments, environ);
  }
  _exit(127);
}

// Waits for the end of a child. Kills it when the end of this process is requested.
int WaitOrEnd(pid_t child) {
  const Descriptor handle(OpenProcessHandle(child));
  int status = 0;
  // Without a handle on the child, only short sleeps are left.
  while (waitpid(child, &status, WNOHANG) == 0) {
    constexpr std::int64_t kShortSleep = 100'000'000;
    WaitForDescriptor(handle.Get(), handle.IsOpen() ? std::numeric_limits<std::int64_t>::max()
                                                    : MonotonicClock() + kShortSleep);
    if (ProcessEnd::IsRequested()) {
      kill(child, SIGKILL);
      Collect(child);
      ThrowEndOfProcess();
    }
  }
  return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

}  // namespace

Start StartDetached(const std::string& path, const std::string& mark) {
  Pipe pipe;
  if (!pipe.reading.IsOpen()) {
    return {errno, 0};
  }
  DetachedProgram program(path, mark);
  const pid_t child = fork();
  if (child == 0) {
    program.Fork(pipe.writing.Get());
  }
  if (child < 0) {
    return {errno, 0};
  }
  pipe.writing.Close();
  const Collected collected(child);
  return AwaitReports(pipe.reading.Get());
}

ProgramEnd RunAndWait(const std::string& program, const std::vector<std::string>& arguments) {
  const std::string path = FindAlongPath(program);
  // A program that writes more than it holds does not wait.
  Pipe errors;
  if (path.empty() || !errors.reading.IsOpen()) {
    return {-1, ""};
  }
  std::vector<char*> argv = {const_cast<char*>(program.c_str())};
  for (const std::string& argument : arguments) {
    argv.push_back(const_cast<char*>(argument.c_str()));
  }
  argv.push_back(nullptr);
  const pid_t parent = getpid();
  const std::vector<int> descriptors = OpenDescriptors();
  const pid_t child = fork();
  if (child == 0) {
    BecomeAttended(path.c_str(), argv.data(), errors.writing.Get(), parent, descriptors);
  }
  errors.writing.Close();
  if (child < 0) {
    return {-1, ""};
  }
  ProgramEnd end{WaitOrEnd(child), std::string(kMostErrorBytes, '\0')};
  end.errors.resize(static_cast<std::size_t>(
      std::max<ssize_t>(read(errors.reading.Get(), end.errors.data(), end.errors.size()), 0)));
  return end;
}

bool EndsInTime(const std::function<void()>& action, std::int64_t longest) {
  // Earlier children that did not end in time. They are collected when they have.
  static std::vector<pid_t> late;
  std::erase_if(late, [](pid_t child) { return waitpid(child, nullptr, WNOHANG) != 0; });
  Pipe pipe;
  if (!pipe.reading.IsOpen()) {
    return true;
  }
  const std::vector<int> descriptors = OpenDescriptors();
  const pid_t child = fork();
  if (child == 0) {
    CloseAll(descriptors, pipe.writing.Get());
    ResetSignals();
    try {
      action();
    } catch (...) {
      _exit(1);
    }
    _exit(0);
  }
  if (child < 0) {
    return true;
  }
  late.push_back(child);
  pipe.writing.Close();
  // The end of the child closes the pipe.
  const std::int64_t give_up = MonotonicClock() + longest;
  char none = 0;
  while (read(pipe.reading.Get(), &none, 1) != 0) {
    if (MonotonicClock() >= give_up) {
      kill(child, SIGKILL);  // It ends as soon as the system lets it.
      return false;
    }
    WaitForDescriptor(pipe.reading.Get(), give_up);
    Yield();
  }
  late.pop_back();
  Collect(child);
  return true;
}

std::string FindAlongPath(const std::string& program) {
  const char* path = std::getenv("PATH");
  for (const std::string_view folder : Split(path != nullptr ? path : "/usr/local/bin:/usr/bin:/bin", ":")) {
    std::string candidate = std::string(folder) + "/" + program;
    if (folder.starts_with('/') && access(candidate.c_str(), X_OK) == 0) {
      return candidate;
    }
  }
  return {};
}

}  // namespace tollmere
