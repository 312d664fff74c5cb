#include "foundation/system/child_process.h"

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdlib>
#include <limits>
#include <string_view>

#include "foundation/system/descriptor.h"
#include "foundation/system/event_loop.h"
#include "foundation/text.h"

namespace tollmere {
namespace {

constexpr std::size_t kMostErrorBytes = 65'536;  // what a pipe holds

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

// Those that this process opened close by themselves on exec; this is for what it inherited.
void CloseOtherDescriptorsOnExec() noexcept {
  if (close_range(STDERR_FILENO + 1, UINT_MAX, CLOSE_RANGE_CLOEXEC) != 0) {
    const long limit = sysconf(_SC_OPEN_MAX);
    for (int descriptor = STDERR_FILENO + 1; descriptor < limit; ++descriptor) {
      fcntl(descriptor, F_SETFD, FD_CLOEXEC);
    }
  }
}

[[noreturn]] void ReportErrno(int report) noexcept {
  const int error = errno;
  [[maybe_unused]] const ssize_t written = write(report, &error, sizeof error);
  _exit(127);
}

[[noreturn]] void BecomeDetached(const char* path, int report) noexcept {
  char* const arguments[] = {const_cast<char*>(path), nullptr};
  if (setsid() >= 0 && chdir("/") == 0 && PointStandardStreamsAtNull()) {
    CloseOtherDescriptorsOnExec();
    ResetSignals();
    execve(path, arguments, environ);
  }
  ReportErrno(report);
}

// The child's part of StartDetached: a second fork, so that init inherits the program and collects it.
[[noreturn]] void ForkDetached(const char* path, int report) noexcept {
  const pid_t program = fork();
  if (program < 0) {
    ReportErrno(report);
  }
  if (program == 0) {
    BecomeDetached(path, report);
  }
  _exit(0);
}

int WaitFor(pid_t child) noexcept {
  int status = 0;
  while (waitpid(child, &status, 0) < 0) {
    if (errno != EINTR) {
      return -1;
    }
  }
  return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

// Readable once the process has ended; -1 where the system has no such thing. Called by its number, since
// the C library's declaration is not one that C++ can link to everywhere.
int OpenProcessHandle(pid_t process) noexcept {
  return static_cast<int>(syscall(SYS_pidfd_open, process, 0));
}

// What came through the pipe: an errno, or nothing when exec closed it.
int ReadReport(int report) noexcept {
  int error = 0;
  ssize_t length = 0;
  do {
    length = read(report, &error, sizeof error);
  } while (length < 0 && errno == EINTR);
  return length == static_cast<ssize_t>(sizeof error) ? error : 0;
}

// The child's part of RunAndWait.
[[noreturn]] void BecomeAttended(const char* path, char* const* arguments, int errors,
                                 pid_t parent) noexcept {
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  // Where the parent has ended already, too early for that signal, there is nothing to show.
  if (getppid() == parent && PointStandardStreamsAtNull() && dup2(errors, STDERR_FILENO) >= 0) {
    CloseOtherDescriptorsOnExec();
    ResetSignals();
    execve(path, arguments, environ);
  }
  _exit(127);
}

// Waits for the end of a child, and brings it about when the end of this process is asked for.
int WaitOrEnd(pid_t child) {
  const Descriptor handle(OpenProcessHandle(child));
  int status = 0;
  // Without a handle on the child there is nothing to wait with but short sleeps.
  while (waitpid(child, &status, WNOHANG) == 0) {
    constexpr std::int64_t kShortSleep = 100'000'000;
    WaitForDescriptor(handle.Get(), handle.IsOpen() ? std::numeric_limits<std::int64_t>::max()
                                                    : MonotonicClock() + kShortSleep);
    if (ProcessEnd::IsRequested()) {
      kill(child, SIGKILL);
      WaitFor(child);
      ThrowEndOfProcess();
    }
  }
  return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

}  // namespace

int StartDetached(const std::string& path) noexcept {
  int report[2];
  if (pipe2(report, O_CLOEXEC) != 0) {
    return errno;
  }
  const pid_t child = fork();
  if (child == 0) {
    ForkDetached(path.c_str(), report[1]);
  }
  const int fork_error = errno;
  close(report[1]);
  int error = fork_error;
  if (child > 0) {
    error = ReadReport(report[0]);
    WaitFor(child);
  }
  close(report[0]);
  return error;
}

ProgramEnd RunAndWait(const std::string& program, const std::vector<std::string>& arguments) {
  const std::string path = FindAlongPath(program);
  // A program that writes more than the pipe holds is not kept waiting for it.
  int errors[2] = {-1, -1};
  if (path.empty() || pipe2(errors, O_CLOEXEC | O_NONBLOCK) != 0) {
    return {-1, ""};
  }
  const Descriptor reading(errors[0]);
  Descriptor writing(errors[1]);
  std::vector<char*> argv = {const_cast<char*>(program.c_str())};
  for (const std::string& argument : arguments) {
    argv.push_back(const_cast<char*>(argument.c_str()));
  }
  argv.push_back(nullptr);
  const pid_t parent = getpid();
  const pid_t child = fork();
  if (child == 0) {
    BecomeAttended(path.c_str(), argv.data(), writing.Get(), parent);
  }
  writing.Close();
  if (child < 0) {
    return {-1, ""};
  }
  ProgramEnd end{WaitOrEnd(child), std::string(kMostErrorBytes, '\0')};
  end.errors.resize(static_cast<std::size_t>(
      std::max<ssize_t>(read(reading.Get(), end.errors.data(), end.errors.size()), 0)));
  return end;
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
