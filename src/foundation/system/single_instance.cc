#include "foundation/system/single_instance.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <limits>
#include <string_view>

#include "foundation/system/debug_log.h"
#include "foundation/system/event_loop.h"
#include "foundation/yield.h"

namespace tollmere {
namespace {

// The path with the links in its folder resolved, as far as the folder exists.
std::string Resolve(const std::string& path) {
  const std::filesystem::path file = path;
  std::error_code error;
  const std::filesystem::path folder = std::filesystem::weakly_canonical(file.parent_path(), error);
  return error ? path : (folder / file.filename()).string();
}

// FNV-1a, in hexadecimal digits: the same in every build, since agents of two versions have to meet.
std::string Hash(std::string_view text) {
  std::uint64_t hash = 0xCBF29CE484222325U;
  for (const char c : text) {
    hash = (hash ^ static_cast<unsigned char>(c)) * 0x100000001B3U;
  }
  std::string digits;
  for (int shift = 60; shift >= 0; shift -= 4) {
    digits += "0123456789abcdef"[hash >> shift & 15U];
  }
  return digits;
}

// A name in the abstract namespace of Unix sockets: it has no file and disappears with the process that holds
// it. It is cut at 107 bytes.
class AbstractAddress {
 public:
  explicit AbstractAddress(const std::string& name) {
    address_.sun_family = AF_UNIX;
    const std::size_t length = std::min(name.size(), sizeof address_.sun_path - 1);
    std::copy_n(name.data(), length, address_.sun_path + 1);
    size_ = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + 1 + length);
  }

  // Takes the name. Not open, with errno set, on failure.
  Descriptor Listen() const noexcept {
    Descriptor listening(NewSocket());
    if (bind(listening.Get(), Generic(), size_) != 0 || listen(listening.Get(), SOMAXCONN) != 0) {
      return Descriptor();
    }
    return listening;
  }

  // A connection to the holder, which never answers it but breaks it by its end. Not open, with errno set, if
  // there is no holder.
  Descriptor Connect() const noexcept {
    Descriptor connection(NewSocket());
    return connect(connection.Get(), Generic(), size_) == 0 ? std::move(connection) : Descriptor();
  }

 private:
  static int NewSocket() noexcept { return socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0); }
  const sockaddr* Generic() const noexcept { return reinterpret_cast<const sockaddr*>(&address_); }

  sockaddr_un address_{};
  socklen_t size_ = 0;
};

// Any user can take a name, but only a process of this user is another agent.
bool IsHeldByThisUser(const Descriptor& connection) noexcept {
  ucred holder{};
  socklen_t size = sizeof holder;
  return getsockopt(connection.Get(), SOL_SOCKET, SO_PEERCRED, &holder, &size) == 0 &&
         holder.uid == geteuid();
}

}  // namespace

SingleInstance::SingleInstance(const std::string& path) {
  const AbstractAddress address("tollmere-helper." + std::to_string(geteuid()) + "." + Hash(Resolve(path)));
  constexpr std::int64_t kShortWait = 20'000'000;
  int refusals_left = 250;
  bool said = false;
  while (true) {
    Yield();
    socket_ = address.Listen();
    if (socket_.IsOpen() || errno != EADDRINUSE) {
      return;
    }
    const Descriptor connection = address.Connect();
    if (connection.IsOpen() && IsHeldByThisUser(connection)) {
      if (!said) {
        System::DebugLog("Another Tollmere Helper is at work on " + path + "; waiting for its end.");
        said = true;
      }
      WaitForDescriptor(connection.Get(), std::numeric_limits<std::int64_t>::max());
    } else if (!connection.IsOpen() && errno == ECONNREFUSED && refusals_left > 0) {
      // The holder is about to listen, or has just ended. If this goes on, it is no agent.
      --refusals_left;
      WaitForDescriptor(-1, MonotonicClock() + kShortWait);
    } else {
      return;
    }
  }
}

}  // namespace tollmere
