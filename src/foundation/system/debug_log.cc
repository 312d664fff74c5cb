#include "foundation/system/debug_log.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <new>

namespace tollmere {
namespace {

bool IsNotPlain(char c) noexcept { return c < ' ' || c > '~'; }

// Writes to standard error without blocking. A pipe or a terminal is opened once more, since non-blocking
// mode on the inherited descriptor would change it for every process that shares it. If that is refused, as
// after a change of user, a pipe can still be asked for room. A terminal is then not written to, since it may
// block.
class LogStream {
 public:
  LogStream() noexcept {
    struct stat status {};
    if (fstat(STDERR_FILENO, &status) == 0) {
      type_ = status.st_mode & S_IFMT;
    }
    if (type_ == S_IFIFO || type_ == S_IFCHR) {
      own_descriptor_ = open("/proc/self/fd/2", O_WRONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
    }
  }

  void Write(std::string_view line) noexcept {
    if (broken_off_) {
      // The last line was cut off when the pipe was full. End it first, or write nothing.
      if (WriteSome("\n") != 1) {
        return;
      }
      broken_off_ = false;
    }
    std::string_view rest = line;
    while (!rest.empty()) {
      const ssize_t written = WriteSome(rest);
      if (written < 0 && errno == EINTR) {
        continue;
      }
      if (written <= 0) {
        broken_off_ = rest.size() < line.size();
        return;
      }
      rest.remove_prefix(static_cast<std::size_t>(written));
    }
  }

 private:
  ssize_t WriteSome(std::string_view bytes) const noexcept {
    if (type_ == S_IFSOCK) {
      return send(STDERR_FILENO, bytes.data(), bytes.size(), MSG_DONTWAIT | MSG_NOSIGNAL);
    }
    if (own_descriptor_ >= 0) {
      return write(own_descriptor_, bytes.data(), bytes.size());
    }
    pollfd polled{STDERR_FILENO, POLLOUT, 0};
    if (type_ == S_IFCHR || poll(&polled, 1, 0) != 1 || (polled.revents & POLLOUT) == 0) {
      return 0;
    }
    // A pipe that has room at all takes this much without waiting.
    constexpr std::size_t kAtomicWrite = 4096;
    return write(STDERR_FILENO, bytes.data(),
                 type_ == S_IFIFO ? std::min(bytes.size(), kAtomicWrite) : bytes.size());
  }

  mode_t type_ = 0;  // of standard error; S_IFCHR is a terminal or another such device
  int own_descriptor_ = -1;
  bool broken_off_ = false;
};

}  // namespace

void System::DebugLog(std::string_view text) noexcept {
  static LogStream stream;
  try {
    stream.Write(EscapeForLog(text) + "\n");
  } catch (const std::bad_alloc&) {
    // Out of memory: still write the line that names the error.
    char line[128];
    const std::size_t length = std::min(text.size(), sizeof line - 1);
    std::replace_copy_if(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(length), line, IsNotPlain,
                         '?');
    line[length] = '\n';
    stream.Write({line, length + 1});
  }
}

}  // namespace tollmere
