#include "foundation/system/file_bytes.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>

#include "foundation/system/descriptor.h"
#include "foundation/yield.h"

namespace tollmere {
namespace {

bool SameState(const struct stat& before, const struct stat& after) noexcept {
  const auto same = [](const timespec& a, const timespec& b) {
    return a.tv_sec == b.tv_sec && a.tv_nsec == b.tv_nsec;
  };
  return before.st_size == after.st_size && same(before.st_mtim, after.st_mtim) &&
         same(before.st_ctim, after.st_ctim);
}

// Non-blocking, so that a FIFO without a writer does not hold the caller up.
int OpenToRead(const std::string& path) noexcept {
  return open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY);
}

// Appends what follows in the file, until there is more than `limit` or nothing left. Returns 0 or an errno.
int ReadOn(const Descriptor& file, std::size_t limit, std::string& bytes) {
  std::array<char, 65'536> chunk;
  ssize_t count = 0;
  while (bytes.size() <= limit && (count = read(file.Get(), chunk.data(), chunk.size())) != 0) {
    if (count > 0) {
      bytes.append(chunk.data(), static_cast<std::size_t>(count));
    } else if (errno != EINTR) {
      return errno;
    }
    Yield();  // A mount may be slow.
  }
  return 0;
}

}  // namespace

int ReadFileBytes(const std::string& path, std::size_t limit, std::string& bytes) {
  bytes.clear();
  const Descriptor file(OpenToRead(path));
  struct stat before {};
  if (!file.IsOpen() || fstat(file.Get(), &before) != 0) {
    return errno;
  }
  if (!S_ISREG(before.st_mode)) {
    return EINVAL;
  }
  bytes.reserve(std::min(static_cast<std::size_t>(before.st_size), limit));
  if (const int error = ReadOn(file, limit, bytes); error != 0) {
    return error;
  }
  if (bytes.size() > limit) {
    return EFBIG;
  }
  struct stat after {};
  if (fstat(file.Get(), &after) != 0) {
    return errno;
  }
  return SameState(before, after) ? 0 : EBUSY;
}

std::string ReadHead(const std::string& path, std::size_t limit) {
  std::string head;
  if (const Descriptor file(OpenToRead(path)); file.IsOpen()) {
    ReadOn(file, limit, head);
  }
  head.resize(std::min(head.size(), limit));
  return head;
}

}  // namespace tollmere
