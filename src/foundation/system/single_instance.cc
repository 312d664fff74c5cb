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

// The file with its folder as it is without links, as far as that exists.
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

// An address in the abstract namespace of Unix sockets: a name without a file, which goes with the process
// that holds it. It has room for 107 bytes, and a path may be longer.
class AbstractAddress {
 public:
  explicit AbstractAddress(const std::string& name) {
    address_.sun_family = AF_UNIX;
    const std::size_t length = std::min(name.size(), sizeof address_.sun_path - 1);
    std::copy_n(name.data(), length, address_.sun_path + 1);
    size_ = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + 1 + length);
  }

  // Holds the name; not open, with errno set, where that cannot be had.
  Descriptor Listen() const noexcept {
    Descriptor listening(NewSocket());
    if (bind(listening.Get(), Generic(), size_) != 0 || listen(listening.Get(), SOMAXCONN) != 0) {
      return Descriptor();
    }
    return listening;
  }

  // A connection to the holder, which never answers but whose end breaks it. Not open, with errno set, where
  // there is none.
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

// Whoever holds a name can be any user: only our own is taken for another agent.
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
      // Another agent is about to listen, or has just ended. One that goes on like this is none.
      --refusals_left;
      WaitForDescriptor(-1, MonotonicClock() + kShortWait);
    } else {
      return;
    }
  }
}

}  // namespace tollmere
